// The user's locale, under the operating system's own names. Any thread.

#ifndef WIN32_LOCALE_H
#define WIN32_LOCALE_H

#include <platform/base/export.h>

namespace win32
{
const unsigned int kLocaleUserDefault = 1024; // stands for the user's locale

// Items: the marks of a number.
const unsigned int kLocaleDecimalMark = 14;
const unsigned int kLocaleThousandsMark = 15;

// Stores an item's text and terminator; GetLocaleInfoA in the active code page.
// size is in characters; 0 asks for the count alone. Both return the count with
// the terminator, or 0 with the reason in GetLastError: 87 for a locale other
// than the user's, a negative size or a null buffer; 1004 for an item that isn't
// known; 122 if the buffer is too small, whose contents then mean nothing.
PLATFORM_EXPORT int GetLocaleInfoW(unsigned int locale, unsigned int item, unsigned short* buffer,
                                   int size);
PLATFORM_EXPORT int GetLocaleInfoA(unsigned int locale, unsigned int item, char* buffer, int size);
} // namespace win32

#endif
