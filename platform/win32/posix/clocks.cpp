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

// Without the clock that counts the machine's sleep, as in some sandboxes, reads the clock that
// does not. Returns false without either.
bool ReadNanosecondsSinceStart(long long* nanoseconds)
{
    timespec now = {};
    if (clock_gettime(CLOCK_BOOTTIME, &now) != 0 && clock_gettime(CLOCK_MONOTONIC, &now) != 0)
        return false;
    *nanoseconds = now.tv_sec * kNanosecondsPerSecond + now.tv_nsec;
    return true;
}
} // namespace

unsigned int GetTickCount()
{
    long long nanoseconds = 0;
    ReadNanosecondsSinceStart(&nanoseconds);
    return static_cast<unsigned int>(nanoseconds / kNanosecondsPerMillisecond);
}

long long SystemFrequency()
{
    return kNanosecondsPerSecond;
}

bool ReadSystemCounter(long long* counts)
{
    return ReadNanosecondsSinceStart(counts);
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
