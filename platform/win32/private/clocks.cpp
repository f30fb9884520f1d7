// The time of day, which a switch replaces.

#include <win32/clocks.h>

#include <chrono>

#include <platform/base/switched_function.h>

#include "switches.h"

namespace win32
{
namespace
{
const long long kMillisecondsPerSecond = 1000;

typedef platform::SwitchedFunction<long long()> WallClock;
WallClock& sWallClock = *new WallClock;

long long MillisecondsSince1970()
{
    using namespace std::chrono;
    if (const auto clock = sWallClock.Get())
        return (*clock)();
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}
} // namespace

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
