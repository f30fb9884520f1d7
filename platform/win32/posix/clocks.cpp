#include <win32/clocks.h>

#include <atomic>
#include <chrono>
#include <ctime>

#include <platform/base/switched_function.h>
#include <platform/base/thread_local.h>

#include "../private/switches.h"

namespace win32
{
namespace
{
const long long kNanosecondsPerSecond = 1000000000;
const long long kNanosecondsPerMillisecond = 1000000;
const long long kMillisecondsPerSecond = 1000;

std::atomic<long long> sFrequency(kNanosecondsPerSecond);
std::atomic<bool> sCounterWorks(true);

typedef platform::SwitchedFunction<long long()> WallClock;
WallClock& sWallClock = *new WallClock;

PLATFORM_THREAD_LOCAL std::tm tRecord = {};

long long NanosecondsSinceStart()
{
    timespec now;
    clock_gettime(CLOCK_BOOTTIME, &now);
    return now.tv_sec * kNanosecondsPerSecond + now.tv_nsec;
}

long long MillisecondsSince1970()
{
    using namespace std::chrono;
    if (const auto clock = sWallClock.Get())
        return (*clock)();
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
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

void SetWallClock(const WallClock::Function& milliseconds)
{
    sWallClock.Set(milliseconds);
}
} // namespace win32
