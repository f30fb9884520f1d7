#include "machine.h"

#include <win32/memory.h>

namespace krobase
{
namespace utility
{
unsigned long long TotalPhysicalMemory()
{
    win32::MEMORYSTATUSEX status = {};
    status.dwLength = sizeof(status);
    return win32::GlobalMemoryStatusEx(&status) ? status.ullTotalPhys : 0;
}
} // namespace utility
} // namespace krobase
