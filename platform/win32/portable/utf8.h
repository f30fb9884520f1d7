// UTF-8 to UTF-16 and back. What is ill-formed becomes U+FFFD: each longest
// head of a sequence that could have gone on, each other byte, and each half of
// a surrogate pair.

#ifndef WIN32_PORTABLE_UTF8_H
#define WIN32_PORTABLE_UTF8_H

#include "conversion.h"

namespace win32
{
// The counts that Count and Fill give for the two directions.
std::size_t CountFromUTF8(const Byte* bytes, std::size_t length);
std::size_t FromUTF8(const Byte* bytes, std::size_t length, Unit* units, std::size_t capacity);
std::size_t CountToUTF8(const Unit* units, std::size_t length);
std::size_t ToUTF8(const Unit* units, std::size_t length, Byte* bytes, std::size_t capacity);
} // namespace win32

#endif
