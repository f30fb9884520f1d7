#include <win32/time.h>

#include <atomic>
#include <ctime>

#include "../private/switches.h"

namespace win32
{
namespace
{
const long long kNanoseconds = 1000000000; // a second

std::atomic<long long> sFrequency(kNanoseconds);
std::atomic<bool> sCounterWorks(true);

// Nanoseconds since the machine started.
long long SinceStart()
{
    timespec now;
    clock_gettime(CLOCK_BOOTTIME, &now);
    return now.tv_sec * kNanoseconds + now.tv_nsec;
}
} // namespace

unsigned int GetTickCount()
{
    return static_cast<unsigned int>(SinceStart() / 1000000);
}

int QueryPerformanceCounter(long long* counts)
{
    if (!sCounterWorks.load(std::memory_order_relaxed))
        return 0;
    *counts = SinceStart();
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
    SetPerformanceCounter(kNanoseconds, true);
}
} // namespace win32
