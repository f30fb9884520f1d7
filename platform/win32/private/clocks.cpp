// The time of day and the performance counter, which switches replace.

#include <win32/clocks.h>

#include <atomic>
#include <chrono>

#include <platform/base/switched_function.h>

#include "switches.h"
#include "system.h"

namespace win32
{
namespace
{
const long long kMillisecondsPerSecond = 1000;
const long long kNanosecondsPerSecond = 1000000000;

// The counter of a switch, which counts nanoseconds; by default the system's own.
std::atomic<bool> sIsCounterSet(false);
std::atomic<long long> sFrequency(0);
std::atomic<bool> sCounterWorks(true);

typedef platform::SwitchedFunction<long long()> WallClock;
WallClock& sWallClock = *new WallClock;

long long MillisecondsSince1970()
{
    using namespace std::chrono;
    if (const auto clock = sWallClock.Get())
        return (*clock)();
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

long long ToNanoseconds(long long counts)
{
    const long long frequency = SystemFrequency();
    return counts / frequency * kNanosecondsPerSecond +
           counts % frequency * kNanosecondsPerSecond / frequency;
}
} // namespace

int QueryPerformanceCounter(long long* counts)
{
    long long now = 0;
    if (!sCounterWorks.load(std::memory_order_relaxed) || !ReadSystemCounter(&now))
        return 0;
    *counts = sIsCounterSet.load(std::memory_order_relaxed) ? ToNanoseconds(now) : now;
    return 1;
}

int QueryPerformanceFrequency(long long* countsPerSecond)
{
    const bool isSet = sIsCounterSet.load(std::memory_order_relaxed);
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
    sIsCounterSet = true;
}

void ResetPerformanceCounter()
{
    sIsCounterSet = false;
    sCounterWorks = true;
}

void _ftime64(_timeb64* now)
{
    const long long time = MillisecondsSince1970();
    const long long milliseconds =
        (time % kMillisecondsPerSecond + kMillisecondsPerSecond) % kMillisecondsPerSecond;
    now->time = (time - milliseconds) / kMillisecondsPerSecond;
    now->millitm = static_cast<unsigned short>(milliseconds);
}

long long _time64(long long* seconds)
{
    _timeb64 now;
    _ftime64(&now);
    if (seconds)
        *seconds = now.time;
    return now.time;
}

void SetWallClock(const WallClock::Function& milliseconds)
{
    sWallClock.Set(milliseconds);
}
} // namespace win32
