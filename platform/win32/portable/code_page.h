// Code pages: the tables of those with one or two bytes a character, and the conversions of
// UTF-8.
//
// The first use of a code page makes its tables from ICU's converter and from
// code_page_tables.inc. The tables are never freed, and are made and read without a lock. In
// all code pages, bytes below 0x80 are ASCII.

#ifndef WIN32_PORTABLE_CODE_PAGE_H
#define WIN32_PORTABLE_CODE_PAGE_H

#include <memory>

#include "conversion.h"

namespace win32
{
struct CodePage
{
    bool mIsLead[256] = {};              // true for a byte that begins a character of two bytes
    Unit mDefaultUnit = '?';             // for a sequence of bytes that is no character
    Byte mDefaultByte = '?';             // for a unit without bytes
    Unit mSingles[256] = {};             // by byte
    std::unique_ptr<Unit[][256]> mPairs; // by lead byte less 0x80 and second byte; null: none
    Unit mBytes[0x10000] = {};           // by unit: its bytes or its best fit; 0: none

    // `bytes` above 0xFF are a lead byte and its second byte.
    Unit& UnitOf(Unit bytes)
    {
        return bytes > 0xFF ? mPairs[(bytes >> 8) - 0x80][bytes & 0xFF] : mSingles[bytes];
    }
    Unit UnitOf(Unit bytes) const { return const_cast<CodePage*>(this)->UnitOf(bytes); }

    // Returns true if mBytes contains only the best fit of a unit.
    bool HasOnlyBestFit(Unit unit) const { return UnitOf(mBytes[unit]) != unit; }
};

// Return true for a code page that has tables, and for a byte that leads in such a page. They
// don't make the tables. False for UTF-8 and for unknown code pages.
bool IsKnownCodePage(unsigned int codePage);
bool IsLeadByte(unsigned int codePage, Byte byte);

// Returns the tables; null without memory, or without ICU's data.
//
// REQUIRES: IsKnownCodePage(codePage).
const CodePage* FindCodePage(unsigned int codePage);

// Convert UTF-8 to UTF-16, and UTF-16 to UTF-8. A capacity of 0 asks for the count alone.
//
// Returns: the count of characters written or needed, or kTooSmall with the characters that
// fit written.
std::size_t FromUTF8(const Byte* bytes, std::size_t length, Unit* units, std::size_t capacity);
std::size_t ToUTF8(const Unit* units, std::size_t length, Byte* bytes, std::size_t capacity);
} // namespace win32

#endif
