// The time of day, under the C runtime's own names. Any thread.
//
// Times are seconds since 1970, UTC.

#ifndef WIN32_WALL_CLOCK_H
#define WIN32_WALL_CLOCK_H

#include <ctime>

#include <platform/base/export.h>

namespace win32
{
// The time now; stored too unless seconds is null.
PLATFORM_EXPORT long long _time64(long long* seconds);

struct _timeb64
{
    long long time;
    unsigned short millitm; // milliseconds behind it
};

// The time now.
PLATFORM_EXPORT void _ftime64(_timeb64* now);

// A time in UTC and in the local zone. The record is the thread's and serves until
// its next call of either. Null for a time before 1970 or one too late for the
// record.
PLATFORM_EXPORT std::tm* _gmtime64(const long long* seconds);
PLATFORM_EXPORT std::tm* _localtime64(const long long* seconds);
} // namespace win32

#endif
