#include <win32/memory.h>

#include <atomic>
#include <cstdint>

#include <malloc.h>

#include "../private/switches.h"
#include "windows_api.h"

namespace win32
{
namespace
{
static_assert(kMemCommit == MEM_COMMIT && kMemReserve == MEM_RESERVE &&
              kMemRelease == MEM_RELEASE && kMemTopDown == MEM_TOP_DOWN);
static_assert(kPageNoAccess == PAGE_NOACCESS && kPageReadWrite == PAGE_READWRITE);

const std::size_t kGranularity = 0x10000; // bytes; reservations start on multiples

// Set by a switch; with 0 the system's figure is used.
std::atomic<unsigned long long> sTotalPhysical(0);
std::atomic<unsigned long long> sAvailablePhysical(0);

std::atomic<unsigned int> sCompactions(0);

// Returns KiB; 0 if the system does not know. The figure is kept: it does not change while the
// process runs, and the budget reads it often.
unsigned long long InstalledMemory()
{
    static const unsigned long long sInstalled = [] {
        ULONGLONG kilobytes = 0;
        if (::GetPhysicallyInstalledSystemMemory(&kilobytes) && kilobytes)
            return kilobytes;
        // Some firmware does not list the memory. The system knows the part that it manages.
        ::MEMORYSTATUSEX status = {};
        status.dwLength = sizeof(status);
        return ::GlobalMemoryStatusEx(&status) ? status.ullTotalPhys >> 10 : 0;
    }();
    return sInstalled;
}
} // namespace

void* VirtualAlloc(void* address, std::size_t size, unsigned int type, unsigned int protection)
{
    return ::VirtualAlloc(address, size, type, protection);
}

int VirtualFree(void* address, std::size_t size, unsigned int type)
{
    // The system rounds the address down to a page.
    if (reinterpret_cast<std::uintptr_t>(address) % kGranularity != 0)
        return Fail(kErrorInvalidAddress);
    return ::VirtualFree(address, size, type);
}

int _heapmin()
{
    return ::_heapmin();
}

void* GetProcessHeap()
{
    return ::GetProcessHeap();
}

unsigned int HeapCompactCount()
{
    return sCompactions.load(std::memory_order_relaxed);
}

std::size_t HeapCompact(void* heap, unsigned int flags)
{
    if (heap != ::GetProcessHeap())
        return 0;
    sCompactions.fetch_add(1, std::memory_order_relaxed);
    return ::HeapCompact(heap, flags);
}

int GetPhysicallyInstalledSystemMemory(unsigned long long* kilobytes)
{
    const unsigned long long total = sTotalPhysical.load(std::memory_order_relaxed);
    *kilobytes = total ? total >> 10 : InstalledMemory();
    return *kilobytes != 0;
}

int GlobalMemoryStatusEx(MEMORYSTATUSEX* status)
{
    ::MEMORYSTATUSEX system = {};
    system.dwLength = sizeof(system);
    if (!status || status->dwLength < sizeof(*status) || !::GlobalMemoryStatusEx(&system))
        return 0;
    const unsigned long long total = sTotalPhysical.load(std::memory_order_relaxed);
    const unsigned long long available = sAvailablePhysical.load(std::memory_order_relaxed);
    status->ullTotalPhys = total ? total >> 10 << 10 : system.ullTotalPhys;
    status->ullAvailPhys = available ? available : system.ullAvailPhys;
    status->dwMemoryLoad = system.dwMemoryLoad;
    if (!status->ullTotalPhys)
        return 0;
    if (total || available)
    {
        const unsigned long long free = status->ullAvailPhys * 100 / status->ullTotalPhys;
        status->dwMemoryLoad = free < 100 ? static_cast<unsigned int>(100 - free) : 0;
    }
    return 1;
}

void SetPhysicalMemory(unsigned long long total, unsigned long long available)
{
    sTotalPhysical = total;
    sAvailablePhysical = available;
}

// The system's own function reads the memory, and so removes the guard of a page.
int IsBadReadPtr(const void* address, std::size_t size)
{
    const std::uintptr_t start = reinterpret_cast<std::uintptr_t>(address);
    if (size > UINTPTR_MAX - start)
        return 1;
    for (std::uintptr_t next = start; next < start + size;)
    {
        ::MEMORY_BASIC_INFORMATION range = {};
        if (!::VirtualQuery(reinterpret_cast<const void*>(next), &range, sizeof(range)) ||
            range.State != MEM_COMMIT || (range.Protect & (PAGE_NOACCESS | PAGE_GUARD)) != 0)
            return 1;
        next = reinterpret_cast<std::uintptr_t>(range.BaseAddress) + range.RegionSize;
    }
    return 0;
}
} // namespace win32
