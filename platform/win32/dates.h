// Dates and times as text, under the operating system's own names. Any thread.
//
// A picture tells how a date is written: d and dd the day, ddd and dddd its name in
// short and in full; M, MM, MMM, MMMM the month in the same way; yy the year's last
// two digits, yyyy (or y, yyy) all of them; gg the era. Y counts as y. Text stands
// between '; other characters are as they are.
//
// The locale's names, order, calendar and digits are those of the user's locale.

#ifndef WIN32_DATES_H
#define WIN32_DATES_H

#include <platform/base/export.h>

#include "locale.h"

namespace win32
{
// 100 nanoseconds since 1601, UTC.
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

// Non-zero on success; 0, with 87 in GetLastError, for a time of more than 63 bits.
PLATFORM_EXPORT int FileTimeToSystemTime(const FILETIME* fileTime, SYSTEMTIME* time);

const unsigned int kDateShortDate = 1; // all in numbers, the year in full
const unsigned int kDateLongDate = 2;  // with the names of day and month
const unsigned int kTimeNoSeconds = 2;

// Write a date by a picture, or without one (null) in the locale's short or long
// form as flags tells, 0 being short; and the time of day in the locale's form. The
// time's day of the week is ignored. size is in units; 0 asks for the count
// alone. Return the count with the terminator, or 0 with the reason in
// GetLastError: 87 for a locale other than the user's, a time that there isn't, a
// picture with flags, for the time any picture, a negative size or a null buffer;
// 1004 for other flags; 122 if the buffer is too small, which is left as it is; 8
// without memory; 120 if the system lacks the function.
PLATFORM_EXPORT int GetDateFormatW(unsigned int locale, unsigned int flags, const SYSTEMTIME* time,
                                   const unsigned short* picture, unsigned short* buffer, int size);
PLATFORM_EXPORT int GetTimeFormatW(unsigned int locale, unsigned int flags, const SYSTEMTIME* time,
                                   const unsigned short* picture, unsigned short* buffer, int size);

// Calls back with the picture of each short or long date of the user's locale, the
// only one known (a null name), until the callback returns 0. There is one. The
// calendar is always 1. Non-zero on success; 0 with the reason in GetLastError: 87
// for another locale or a null callback; 1004 for other flags; 8 without memory; 120
// if the system lacks the function.
typedef int (*DateFormatCallback)(unsigned short* picture, unsigned int calendar, long long param);
PLATFORM_EXPORT int EnumDateFormatsExEx(DateFormatCallback callback,
                                        const unsigned short* localeName, unsigned int flags,
                                        long long param);
} // namespace win32

#endif
