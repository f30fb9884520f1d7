// The code pages with one or two bytes a character, as tables. They are made
// out of ICU's converters when a page is first asked for, stay for good, and
// are made and read without a lock.

#ifndef WIN32_POSIX_CODE_PAGE_H
#define WIN32_POSIX_CODE_PAGE_H

#include <memory>

#include "conversion.h"

namespace win32
{
struct CodePage
{
    bool mIsAscii = false;               // bytes below 0x80 are ASCII
    bool mIsLead[256] = {};              // whether a byte begins a character of two
    Unit mDefaultUnit = '?';             // for a sequence of bytes that is no character
    Byte mDefaultByte = '?';             // for a unit without an equivalent
    Unit mSingles[256] = {};             // by byte
    std::unique_ptr<Unit[][256]> mPairs; // by lead byte less 0x80 and second byte; null: none
    Unit mBytes[0x10000] = {};           // by unit; above 0xFF lead byte and second; 0: none
};

// Whether the page can be asked for, and whether a byte leads in it, without
// the tables. False for UTF-8 and what isn't known.
bool IsKnownCodePage(unsigned int codePage);
bool IsLeadByte(unsigned int codePage, Byte byte);

// A known page's tables; null without memory, or without ICU's data.
const CodePage* FindCodePage(unsigned int codePage);
} // namespace win32

#endif
