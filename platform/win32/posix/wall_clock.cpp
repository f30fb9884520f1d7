#include <win32/wall_clock.h>

#include <chrono>

#include <platform/base/switched_function.h>
#include <platform/base/thread_local.h>

#include "../private/switches.h"

namespace win32
{
namespace
{
typedef platform::SwitchedFunction<long long()> Clock;
Clock& sClock = *new Clock;

const long long kMilliseconds = 1000; // a second

long long Milliseconds()
{
    using namespace std::chrono;
    if (const auto clock = sClock.Get())
        return (*clock)();
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

PLATFORM_THREAD_LOCAL std::tm tRecord = {};
} // namespace

void _ftime64(_timeb64* now)
{
    const long long time = Milliseconds();
    const long long behind = (time % kMilliseconds + kMilliseconds) % kMilliseconds;
    now->time = (time - behind) / kMilliseconds;
    now->millitm = static_cast<unsigned short>(behind);
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

void SetWallClock(const Clock::Function& milliseconds)
{
    sClock.Set(milliseconds);
}
} // namespace win32
