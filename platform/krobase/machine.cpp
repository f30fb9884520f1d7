#include "machine.h"

#include <algorithm>
#include <thread>

#include <win32/memory.h>

namespace krobase
{
namespace utility
{
unsigned long long TotalPhysicalMemory()
{
    unsigned long long kilobytes = 0;
    return win32::GetPhysicallyInstalledSystemMemory(&kilobytes) ? kilobytes << 10 : 0;
}

int CPUCount()
{
    return static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
}

// The frame's own address: that of a local may lie in a checker's memory.
char* StackAddress()
{
    return static_cast<char*>(__builtin_frame_address(0));
}
} // namespace utility
} // namespace krobase
