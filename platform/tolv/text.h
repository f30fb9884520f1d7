// Bytes of multibyte text, and facts about the script, with Macintosh numbering.
//
// Thread safety: all functions may be called on any thread.

#ifndef TOLV_TEXT_H
#define TOLV_TEXT_H

#include <platform/base/export.h>

// The types of a byte in multibyte text. No character starts at a byte whose
// type is above 0, and one ends at a byte of type 0 or 1.
const short kSingleByte = 0;
const short kFirstByte = -1;
const short kLastByte = 1;
const short kMiddleByte = 2; // in a character of three or four bytes

// Returns the type of the byte at an offset, in the active code page. Reads no byte after the
// offset, so the text needs no terminator. A terminator, and a byte that belongs to no character,
// is a single byte.
PLATFORM_EXPORT short CharByte(const char* text, int offset);

// The same in a script's own encoding: 0 Roman, 1 Japanese, 2 traditional
// Chinese, 3 Korean, 7 Cyrillic, 25 simplified Chinese; any other number means
// the active code page.
PLATFORM_EXPORT short CharacterByteType(const char* text, int offset, short script);

// Selector 36: returns non-zero if the system's script is a double-byte script. Any other selector
// returns 0.
PLATFORM_EXPORT int GetScriptManagerVariable(short selector);

#endif
