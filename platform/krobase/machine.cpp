#include "machine.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <thread>

#include <platform/base/switched_function.h>
#include <win32/memory.h>

#include "high_precision_time.h"
#include "private/switches.h"

namespace krobase
{
namespace utility
{
namespace
{
typedef platform::SwitchedFunction<unsigned long long()> Clock;
Clock& sClock = *new Clock;
} // namespace

unsigned long long TotalPhysicalMemory()
{
    unsigned long long kilobytes = 0;
    return win32::GetPhysicallyInstalledSystemMemory(&kilobytes) ? kilobytes << 10 : 0;
}

int CPUCount()
{
    return static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
}

// The address of the frame, since an address sanitizer may move a local variable to the heap.
char* StackAddress()
{
    return static_cast<char*>(__builtin_frame_address(0));
}

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
