// Clocks, under the names of the operating system and of the C runtime.
//
//     const long long now = win32::_time64(nullptr);
//     char text[32] = "";
//     if (const std::tm* local = win32::_localtime64(&now))
//         std::strftime(text, sizeof(text), "%Y-%m-%d %H:%M", local);
//
// Thread safety: all functions may be called on any thread.

#ifndef WIN32_CLOCKS_H
#define WIN32_CLOCKS_H

#include <ctime>

#include <platform/base/export.h>

namespace win32
{
// Returns the milliseconds since the machine started, its sleep included unless the system lacks a
// clock that counts its sleep. The count starts again at 0 after 49.7 days.
PLATFORM_EXPORT unsigned int GetTickCount();

// Store the performance counter, which counts from the start of the machine, and its counts
// per second.
//
// Returns: non-zero on success.
PLATFORM_EXPORT int QueryPerformanceCounter(long long* counts);
PLATFORM_EXPORT int QueryPerformanceFrequency(long long* countsPerSecond);

// Returns the time of day in seconds since 1970, UTC, and stores it in *seconds too, unless
// `seconds` is null.
PLATFORM_EXPORT long long _time64(long long* seconds);

struct _timeb64
{
    long long time;         // seconds since 1970, UTC
    unsigned short millitm; // milliseconds after `time`, 0 to 999
};

// Stores the time of day.
PLATFORM_EXPORT void _ftime64(_timeb64* now);

// Convert seconds since 1970 to the fields of a calendar, in UTC and in the local time zone.
//
// Returns: a record of the calling thread, which the next call of either function on that
// thread overwrites; null for a time before 1970 or too late for the record.
PLATFORM_EXPORT std::tm* _gmtime64(const long long* seconds);
PLATFORM_EXPORT std::tm* _localtime64(const long long* seconds);
} // namespace win32

#endif
