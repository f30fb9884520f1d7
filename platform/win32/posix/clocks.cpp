#include <win32/clocks.h>

#include <ctime>

#include <platform/base/thread_local.h>

#include "../private/system.h"

namespace win32
{
namespace
{
const long long kNanosecondsPerSecond = 1000000000;
const long long kNanosecondsPerMillisecond = 1000000;

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

long long SystemFrequency()
{
    return kNanosecondsPerSecond;
}

bool ReadSystemCounter(long long* counts)
{
    *counts = NanosecondsSinceStart();
    return true;
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
