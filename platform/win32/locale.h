// The user's locale, under the operating system's own names: the marks of numbers, and dates
// and times as text.
//
//     const win32::SYSTEMTIME time = {2005, 3, 0, 1, 15, 4, 5, 6};
//     unsigned short text[64];
//     const int size = win32::GetDateFormatW(win32::kLocaleUserDefault, win32::kDateLongDate,
//                                            &time, nullptr, text, 64);
//     if (size == 0)
//         text[0] = 0;
//
// Thread safety: all functions may be called on any thread.
//
// A date picture is the format of a date. Its letters are replaced by parts of the date, in
// the language, with the calendar and the digits of the user's locale:
//
//   d, dd           the day of the month, in at least one or two digits
//   ddd, dddd       the name of the day of the week, short or full
//   M, MM           the number of the month, in at least one or two digits
//   MMM, MMMM       the name of the month, short or full
//   yy              the last two digits of the year
//   yyyy            the year in full
//   g, gg           the era
//
// Text between apostrophes is literal, and two apostrophes in such text are one. All other
// characters are themselves. Systems differ in y, yyy and Y: on Windows y is the last two digits
// without a leading zero and Y is itself; elsewhere each of them is the year in full. Elsewhere
// than on Windows, empty text between apostrophes does not end a run of a letter: d''d is dd.

#ifndef WIN32_LOCALE_H
#define WIN32_LOCALE_H

#include <platform/base/export.h>

#include "errors.h"

namespace win32
{
const unsigned int kLocaleUserDefault = 1024; // the user's locale, the only one known

// Items of GetLocaleInfoW: the marks of a number.
const unsigned int kLocaleDecimalMark = 14;
const unsigned int kLocaleThousandsMark = 15;

// Store the text of an item and a terminator, GetLocaleInfoA in the active code page. `size`
// is the capacity in characters; with 0 they store nothing.
//
// Returns: the count of characters with the terminator, or 0. Then GetLastError returns
//  - 87 for a locale other than the user's, a negative size or a null buffer;
//  - 1004 for an unknown item;
//  - 122 if the buffer is too small. The contents of the buffer are unspecified.
PLATFORM_EXPORT int GetLocaleInfoW(unsigned int locale, unsigned int item, unsigned short* buffer,
                                   int size);
PLATFORM_EXPORT int GetLocaleInfoA(unsigned int locale, unsigned int item, char* buffer, int size);

// Units of 100 nanoseconds since 1601, UTC.
struct FILETIME
{
    unsigned int dwLowDateTime;
    unsigned int dwHighDateTime;
};

struct SYSTEMTIME
{
    unsigned short wYear; // Gregorian, 1601 to 30827
    unsigned short wMonth;
    unsigned short wDayOfWeek; // Sunday is 0
    unsigned short wDay;
    unsigned short wHour;
    unsigned short wMinute;
    unsigned short wSecond;
    unsigned short wMilliseconds;
};

// Returns: non-zero on success; 0, with 87 in GetLastError, for a time of more than 63 bits.
PLATFORM_EXPORT int FileTimeToSystemTime(const FILETIME* fileTime, SYSTEMTIME* time);

const unsigned int kDateShortDate = 1; // numbers only, with the year in full
const unsigned int kDateLongDate = 2;  // with the names of the day and the month
const unsigned int kTimeNoSeconds = 2;

// Write a date by a picture, or in a form of the locale if `picture` is null; and a time of
// day in the form of the locale. For dates, the flags 0 mean kDateShortDate. wDayOfWeek is
// ignored. `size` is the capacity in units; with 0 they store nothing.
//
// Returns: the count of units with the terminator, or 0. Then GetLastError returns
//  - 87 for a locale other than the user's, a time that does not exist, a negative size, a
//    null buffer, or any picture of a time;
//  - 1004 for other flags, or a picture of a date together with flags;
//  - 122 if the buffer is too small. The contents of the buffer are unspecified;
//  - 8 without memory;
//  - 120 if the system lacks the function.
PLATFORM_EXPORT int GetDateFormatW(unsigned int locale, unsigned int flags, const SYSTEMTIME* time,
                                   const unsigned short* picture, unsigned short* buffer, int size);
PLATFORM_EXPORT int GetTimeFormatW(unsigned int locale, unsigned int flags, const SYSTEMTIME* time,
                                   const unsigned short* picture, unsigned short* buffer, int size);

// Receives a date picture, the number of its calendar, which is 1 for the Gregorian calendar, and
// the caller's `param`. Returns 0 to end the enumeration.
typedef int (*DateFormatCallback)(unsigned short* picture, unsigned int calendar, long long param);

// Calls `callback` with each picture of short or of long dates of the user's locale, first with
// the picture that GetDateFormatW uses. `localeName` is null, which means the user's locale.
// Exceptions of the callback reach the caller.
//
// Returns: non-zero on success, or 0. Then GetLastError returns
//  - 87 for a locale name or a null callback;
//  - 1004 for other flags than kDateShortDate or kDateLongDate;
//  - 8 without memory;
//  - 120 if the system lacks the function.
PLATFORM_EXPORT int EnumDateFormatsExEx(DateFormatCallback callback,
                                        const unsigned short* localeName, unsigned int flags,
                                        long long param);

// Returns a module that the process has loaded, by its name in either case; null if there is none.
// Every process has "kernel32.dll", the only module on systems other than Windows.
PLATFORM_EXPORT void* GetModuleHandleA(const char* name);

// Returns a function of a module, to be cast to the type of the function; null if the module
// lacks it. EnumDateFormatsExEx is the only function that is known.
typedef void (*ModuleFunction)();
PLATFORM_EXPORT ModuleFunction GetProcAddress(void* module, const char* name);
} // namespace win32

#endif
