// Characters in multibyte text of the active code page: byte types, boundaries and cuts.
// Thread-safe. No function reads a byte after the bytes that it is asked for.

#ifndef TEXT_CHARACTERS_H
#define TEXT_CHARACTERS_H

#include <algorithm>
#include <cstddef>
#include <limits>
#include <string_view>

#include "U_Types.h"

// Returns the type of the byte at an offset, as U_CharByte does.
// REQUIRES: a character starts at `text`.
int ByteType(const char* text, std::size_t offset);

// Returns the start of the next character after `position`, or the terminator.
// REQUIRES: a character starts at `start`, which is not after `position`; `position` is not
// the terminator.
const char* NextCharacter(const char* start, const char* position);

// Returns the length of the longest head that has at most `length` bytes and ends at the end
// of a character.
std::size_t WholeCharacters(const char* text, std::size_t length);

// Terminates `text` at the end of that head.
void CutAtCharacter(char* text, std::size_t length);

// Returns `count`, at most the largest count that the cuts of U_Encoding.h take.
inline unsigned int ClampedCount(std::size_t count)
{
    const std::size_t kMost = std::numeric_limits<unsigned int>::max();
    return static_cast<unsigned int>(std::min(count, kMost));
}

// ASCII text as UTF-8.
inline U_UTF8String UTF8Of(std::string_view ascii)
{
    return U_UTF8String(ascii.begin(), ascii.end());
}

#endif
