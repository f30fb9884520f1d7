// UTF-16 text. Any thread.

#ifndef KROBASE_TEXT_H
#define KROBASE_TEXT_H

#include <string>

#include <platform/base/export.h>

#include "small_block.h"

namespace krobase
{
namespace utility
{
typedef std::basic_string<unsigned short, std::char_traits<unsigned short>,
                          SmallBlockAllocator::STLAllocator<unsigned short>>
    UTF16String;
typedef std::basic_string<unsigned char, std::char_traits<unsigned char>,
                          SmallBlockAllocator::STLAllocator<unsigned char>>
    UTF8String;

// The longest head of text that has at most count units, or with
// countCharacters at most count characters, and ends behind a whole character:
// the halves of a surrogate pair stay together.
PLATFORM_EXPORT UTF16String TruncateStringToNumChars(const UTF16String& text, unsigned int count,
                                                     bool countCharacters);

// To UTF-8; half of a surrogate pair becomes U+FFFD.
PLATFORM_EXPORT UTF8String UTF16to8(const UTF16String& text);
} // namespace utility
} // namespace krobase

#endif
