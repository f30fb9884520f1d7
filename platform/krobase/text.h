// UTF-16 and UTF-8 strings.
//
//     const krobase::utility::UTF16String text(20, 'x');
//     const krobase::utility::UTF16String head =
//         krobase::utility::TruncateStringToNumChars(text, 8, true);
//     const krobase::utility::UTF8String bytes = krobase::utility::UTF16to8(head);
//
// Thread safety: all functions may be called on any thread.
//
// Throws: std::bad_alloc.

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

// Returns the longest head of the text that has at most `count` code units, or if
// `countCharacters` is true at most `count` characters. The head ends after a whole character:
// a surrogate pair is never split.
PLATFORM_EXPORT UTF16String TruncateStringToNumChars(const UTF16String& text, unsigned int count,
                                                     bool countCharacters);

// Converts to UTF-8. A single half of a surrogate pair becomes U+FFFD.
PLATFORM_EXPORT UTF8String UTF16to8(const UTF16String& text);
} // namespace utility
} // namespace krobase

#endif
