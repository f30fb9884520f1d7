// The code pages with one or two bytes a character, as tables. The first use of a page
// makes its tables from ICU's converter and from code_page_tables.inc. The tables are
// never freed, and are made and read without a lock. In all pages, bytes below 0x80 are
// ASCII.

#ifndef WIN32_PORTABLE_CODE_PAGE_H
#define WIN32_PORTABLE_CODE_PAGE_H

#include <memory>

#include "conversion.h"

namespace win32
{
struct CodePage
{
    bool mIsLead[256] = {};              // whether a byte begins a character of two
    Unit mDefaultUnit = '?';             // for a sequence of bytes that is no character
    Byte mDefaultByte = '?';             // for a unit without bytes
    Unit mSingles[256] = {};             // by byte
    std::unique_ptr<Unit[][256]> mPairs; // by lead byte less 0x80 and second byte; null: none
    Unit mBytes[0x10000] = {};           // by unit, or of its best fit; 0: none

    // Bytes above 0xFF are a lead byte and its second.
    Unit& UnitOf(Unit bytes)
    {
        return bytes > 0xFF ? mPairs[(bytes >> 8) - 0x80][bytes & 0xFF] : mSingles[bytes];
    }
    Unit UnitOf(Unit bytes) const { return const_cast<CodePage*>(this)->UnitOf(bytes); }

    // True if mBytes holds only the best fit of a unit.
    bool HasOnlyBestFit(Unit unit) const { return UnitOf(mBytes[unit]) != unit; }
};

// Whether the page can be asked for, and whether a byte leads in it, without
// the tables. False for UTF-8 and what isn't known.
bool IsKnownCodePage(unsigned int codePage);
bool IsLeadByte(unsigned int codePage, Byte byte);

// A known page's tables; null without memory, or without ICU's data.
const CodePage* FindCodePage(unsigned int codePage);
} // namespace win32

#endif
