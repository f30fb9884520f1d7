#include <win32/clocks.h>

#include <atomic>
#include <ctime>

#include <platform/base/thread_local.h>

#include "../private/switches.h"

namespace win32
{
namespace
{
const long long kNanosecondsPerSecond = 1000000000;
const long long kNanosecondsPerMillisecond = 1000000;

std::atomic<long long> sFrequency(kNanosecondsPerSecond);
std::atomic<bool> sCounterWorks(true);

PLATFORM_THREAD_LOCAL(std::tm, tRecord);

long long NanosecondsSinceStart()
{
    timespec now;
    clock_gettime(CLOCK_BOOTTIME, &now);
    return now.tv_sec * kNanosecondsPerSecond + now.tv_nsec;
}
} // namespace

unsigned int GetTickCount()
{
    return static_cast<unsigned int>(NanosecondsSinceStart() / kNanosecondsPerMillisecond);
}

int QueryPerformanceCounter(long long* counts)
{
    if (!sCounterWorks.load(std::memory_order_relaxed))
        return 0;
    *counts = NanosecondsSinceStart();
    return 1;
}

int QueryPerformanceFrequency(long long* countsPerSecond)
{
    const long long frequency = sFrequency.load(std::memory_order_relaxed);
    if (frequency < 0)
        return 0;
    *countsPerSecond = frequency;
    return 1;
}

void SetPerformanceCounter(long long frequency, bool works)
{
    sFrequency = frequency;
    sCounterWorks = works;
}

void ResetPerformanceCounter()
{
    SetPerformanceCounter(kNanosecondsPerSecond, true);
}

std::tm* _gmtime64(const long long* seconds)
{
    const std::time_t time = *seconds;
    return time < 0 ? nullptr : gmtime_r(&time, &tRecord);
}

std::tm* _localtime64(const long long* seconds)
{
    const std::time_t time = *seconds;
    return time < 0 ? nullptr : localtime_r(&time, &tRecord);
}
} // namespace win32
