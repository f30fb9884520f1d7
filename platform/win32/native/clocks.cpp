#include <win32/clocks.h>

#include <atomic>

#include "../private/switches.h"
#include "windows_api.h"

namespace win32
{
namespace
{
const long long kNanosecondsPerSecond = 1000000000;

// The counter of a switch, which counts nanoseconds; by default the system's own.
std::atomic<bool> sIsSet(false);
std::atomic<long long> sFrequency(0);
std::atomic<bool> sCounterWorks(true);

long long SystemFrequency()
{
    LARGE_INTEGER frequency = {};
    return ::QueryPerformanceFrequency(&frequency) ? frequency.QuadPart : 0;
}

long long ToNanoseconds(long long counts)
{
    const long long frequency = SystemFrequency();
    return counts / frequency * kNanosecondsPerSecond +
           counts % frequency * kNanosecondsPerSecond / frequency;
}
} // namespace

unsigned int GetTickCount()
{
    return ::GetTickCount();
}

int QueryPerformanceCounter(long long* counts)
{
    LARGE_INTEGER now = {};
    if (!sCounterWorks.load(std::memory_order_relaxed) || !::QueryPerformanceCounter(&now))
        return 0;
    *counts = sIsSet.load(std::memory_order_relaxed) ? ToNanoseconds(now.QuadPart) : now.QuadPart;
    return 1;
}

int QueryPerformanceFrequency(long long* countsPerSecond)
{
    const bool isSet = sIsSet.load(std::memory_order_relaxed);
    const long long frequency =
        isSet ? sFrequency.load(std::memory_order_relaxed) : SystemFrequency();
    if (frequency < 0)
        return 0;
    *countsPerSecond = frequency;
    return 1;
}

void SetPerformanceCounter(long long frequency, bool works)
{
    sFrequency = frequency;
    sCounterWorks = works;
    sIsSet = true;
}

void ResetPerformanceCounter()
{
    sIsSet = false;
    sCounterWorks = true;
}

// The C runtime converts some hours before 1970, too.

std::tm* _gmtime64(const long long* seconds)
{
    return *seconds < 0 ? nullptr : ::_gmtime64(seconds);
}

std::tm* _localtime64(const long long* seconds)
{
    return *seconds < 0 ? nullptr : ::_localtime64(seconds);
}
} // namespace win32
