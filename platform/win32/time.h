// Clocks, under the operating system's own names. Any thread.

#ifndef WIN32_TIME_H
#define WIN32_TIME_H

#include <platform/base/export.h>

namespace win32
{
// Milliseconds since the machine started, its sleep included; begins anew at 0
// after 49.7 days.
PLATFORM_EXPORT unsigned int GetTickCount();

// The performance counter, which counts from the machine's start, and its counts
// per second. Non-zero on success.
PLATFORM_EXPORT int QueryPerformanceCounter(long long* counts);
PLATFORM_EXPORT int QueryPerformanceFrequency(long long* countsPerSecond);
} // namespace win32

#endif
