#include "high_precision_time.h"

#include <algorithm>
#include <chrono>
#include <limits>

#include <platform/base/switched_function.h>

#include "private/clock_switch.h"

namespace krobase
{
namespace utility
{
namespace
{
typedef platform::SwitchedFunction<unsigned long long()> Clock;
Clock& sClock = *new Clock;
} // namespace

// A tick is a nanosecond.
unsigned long long HighPrecisionTime::GetTickCount()
{
    if (const auto clock = sClock.Get())
        return (*clock)();
    const std::chrono::nanoseconds ticks = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<unsigned long long>(ticks.count());
}

long long HighPrecisionTime::ConvertToNanos(unsigned long long ticks)
{
    const unsigned long long kMost = std::numeric_limits<long long>::max();
    return static_cast<long long>(std::min(ticks, kMost));
}

void SetTickClock(const Clock::Function& ticks)
{
    sClock.Set(ticks);
}
} // namespace utility
} // namespace krobase
