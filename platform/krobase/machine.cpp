#include "machine.h"

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
} // namespace utility
} // namespace krobase
