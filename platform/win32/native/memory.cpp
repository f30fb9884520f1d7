#include <win32/memory.h>

#include <cstdint>

#include <malloc.h>

#include "../private/system.h"
#include "windows_api.h"

namespace win32
{
namespace
{
static_assert(kMemCommit == MEM_COMMIT && kMemReserve == MEM_RESERVE &&
              kMemRelease == MEM_RELEASE && kMemTopDown == MEM_TOP_DOWN);
static_assert(kPageNoAccess == PAGE_NOACCESS && kPageReadWrite == PAGE_READWRITE);

const std::size_t kGranularity = 0x10000; // bytes; reservations start on multiples
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

std::size_t CompactProcessHeap(unsigned int flags)
{
    return ::HeapCompact(::GetProcessHeap(), flags);
}

// Some firmware does not list the memory. The system knows the part that it manages.
unsigned long long InstalledMemory()
{
    ULONGLONG kilobytes = 0;
    if (::GetPhysicallyInstalledSystemMemory(&kilobytes) && kilobytes)
        return kilobytes << 10;
    return FindMemoryUse().mTotal;
}

MemoryUse FindMemoryUse()
{
    ::MEMORYSTATUSEX status = {};
    status.dwLength = sizeof(status);
    if (!::GlobalMemoryStatusEx(&status))
        return {};
    return {status.ullTotalPhys, status.ullAvailPhys};
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
