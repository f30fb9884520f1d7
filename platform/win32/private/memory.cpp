// The physical memory of the machine, which a switch replaces, and the heap of the process.

#include <win32/memory.h>

#include <atomic>

#include "switches.h"
#include "system.h"

namespace win32
{
namespace
{
// Set by a switch; with 0 the system's figure is used.
std::atomic<unsigned long long> sTotalPhysical(0);
std::atomic<unsigned long long> sAvailablePhysical(0);

// The system's figure, which does not change while the process runs. The budget reads the figure
// often. 0: the system has not returned the figure yet.
std::atomic<unsigned long long> sInstalled(0);

std::atomic<unsigned int> sCompactions(0);

// Rounds bytes down to whole KiB.
unsigned long long WholeKilobytes(unsigned long long bytes)
{
    return bytes >> 10 << 10;
}
} // namespace

int GetPhysicallyInstalledSystemMemory(unsigned long long* kilobytes)
{
    unsigned long long total = sTotalPhysical.load(std::memory_order_relaxed);
    if (!total)
        total = sInstalled.load(std::memory_order_relaxed);
    if (!total)
    {
        total = InstalledMemory();
        sInstalled.store(total, std::memory_order_relaxed);
    }
    *kilobytes = total >> 10;
    return *kilobytes != 0;
}

int GlobalMemoryStatusEx(MEMORYSTATUSEX* status)
{
    if (!status || status->dwLength < sizeof(*status))
        return 0;
    MemoryUse use = FindMemoryUse();
    if (const unsigned long long set = sTotalPhysical)
        use.mTotal = set;
    if (const unsigned long long set = sAvailablePhysical)
        use.mAvailable = set;
    use.mTotal = WholeKilobytes(use.mTotal);
    if (!use.mTotal || !use.mAvailable)
        return 0;
    status->ullTotalPhys = use.mTotal;
    status->ullAvailPhys = use.mAvailable;
    const unsigned long long free = use.mAvailable * 100 / use.mTotal;
    status->dwMemoryLoad = free < 100 ? static_cast<unsigned int>(100 - free) : 0;
    return 1;
}

void SetPhysicalMemory(unsigned long long total, unsigned long long available)
{
    sTotalPhysical = total;
    sAvailablePhysical = available;
}

std::size_t HeapCompact(void* heap, unsigned int flags)
{
    if (heap != GetProcessHeap())
        return 0;
    sCompactions.fetch_add(1, std::memory_order_relaxed);
    return CompactProcessHeap(flags);
}

unsigned int HeapCompactCount()
{
    return sCompactions.load(std::memory_order_relaxed);
}
} // namespace win32
