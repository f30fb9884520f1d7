// Text through the tables of a code page.

#ifndef WIN32_PORTABLE_CODE_PAGE_TEXT_H
#define WIN32_PORTABLE_CODE_PAGE_TEXT_H

#include "code_page.h"

namespace win32
{
// The character for units without an equivalent.
struct DefaultCharacter
{
    Unit mBytes;       // above 0xFF a lead byte and its second
    bool mForBestFits; // also for units that have no more than a best fit
    bool mUsed;
};

// The counts that Count and Fill give for the two directions.
std::size_t CountFromPage(const CodePage& page, const Byte* bytes, std::size_t length);
std::size_t FromPage(const CodePage& page, const Byte* bytes, std::size_t length, Unit* units,
                     std::size_t capacity);
std::size_t CountToPage(const CodePage& page, const Unit* units, std::size_t length,
                        DefaultCharacter& fallback);
std::size_t ToPage(const CodePage& page, const Unit* units, std::size_t length, Byte* bytes,
                   std::size_t capacity, DefaultCharacter& fallback);
} // namespace win32

#endif
