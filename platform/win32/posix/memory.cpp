#include <win32/memory.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <new>

#include <malloc.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/sysinfo.h>
#include <sys/uio.h>
#include <unistd.h>

#include <platform/base/immortal.h>
#include <platform/base/locks.h>
#include <platform/base/quiet_new.h>

#include "../private/system.h"

namespace win32
{
namespace
{
const std::size_t kGranularity = 0x10000; // bytes; reservations start on multiples

platform::Mutex sReservationsLock;

std::map<void*, std::size_t>& Reservations() PLATFORM_REQUIRES(sReservationsLock)
{
    static platform::Immortal<std::map<void*, std::size_t>> reservations;
    return *reservations;
}

// Maps the size and one granule more, and unmaps the ends that are not aligned.
void* MapAligned(std::size_t size, int protection)
{
    const std::size_t span = size + kGranularity;
    if (span < size)
        return nullptr;
    void* mapped =
        mmap(nullptr, span, protection, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mapped == MAP_FAILED)
        return nullptr;
    char* start = static_cast<char*>(mapped);
    const std::size_t over = reinterpret_cast<std::uintptr_t>(start) % kGranularity;
    const std::size_t before = over ? kGranularity - over : 0;
    if (before)
        munmap(start, before);
    munmap(start + before + size, span - before - size);
    return start + before;
}

void* FailWithNull(unsigned int error)
{
    SetLastError(error);
    return nullptr;
}

// Returns bytes; 0 if the system has no figure.
unsigned long long AvailableMemory()
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> info(std::fopen("/proc/meminfo", "r"),
                                                               &std::fclose);
    unsigned long long kilobytes = 0;
    char line[128];
    while (info && std::fgets(line, sizeof(line), info.get()))
    {
        if (std::sscanf(line, "MemAvailable: %llu", &kilobytes) == 1)
            return kilobytes << 10;
    }
    return 0;
}

// Returns whether the kernel can read the memory as signal masks, which it reads before it refuses
// the operation on them. No sandbox forbids this call, since threads of the C library need it. A
// checker of the process takes the memory for masks, so this is the second choice.
bool CanReadByMask(const char* start, std::size_t size)
{
    const std::size_t kMask = _NSIG / 8; // bytes, a power of 2, so that no mask is in two pages
    const int kNoOperation = -1;
    const std::uintptr_t first = reinterpret_cast<std::uintptr_t>(start);
    for (std::uintptr_t mask = first / kMask * kMask; mask < first + size; mask += kMask)
    {
        // For the kernel, null is no mask.
        if (!mask || (syscall(SYS_rt_sigprocmask, kNoOperation, mask, nullptr, kMask) != 0 &&
                      errno == EFAULT))
            return false;
    }
    return true;
}
} // namespace

void* VirtualAlloc(void* address, std::size_t size, unsigned int type, unsigned int protection)
{
    const bool access = protection == kPageReadWrite;
    const std::size_t kPage = 0x1000;
    if (address || !size || (type & kMemReserve) == 0 ||
        (type & ~(kMemReserve | kMemCommit | kMemTopDown)) != 0 ||
        (access ? (type & kMemCommit) == 0 : protection != kPageNoAccess))
        return FailWithNull(kErrorInvalidParameter);
    if (size > SIZE_MAX - kGranularity)
        return FailWithNull(kErrorNotEnoughMemory);
    const std::size_t whole = (size + kPage - 1) / kPage * kPage;
    void* start = MapAligned(whole, access ? PROT_READ | PROT_WRITE : PROT_NONE);
    if (!start)
        return FailWithNull(kErrorNotEnoughMemory);
    try
    {
        const platform::ScLock lock(sReservationsLock);
        Reservations()[start] = whole;
        return start;
    }
    catch (const std::bad_alloc&)
    {
        munmap(start, whole);
        return FailWithNull(kErrorNotEnoughMemory);
    }
}

int VirtualFree(void* address, std::size_t size, unsigned int type)
{
    if (size || type != kMemRelease)
        return Fail(kErrorInvalidParameter);
    const platform::ScLock lock(sReservationsLock);
    const auto found = Reservations().find(address);
    if (found == Reservations().end())
        return Fail(kErrorInvalidAddress);
    if (munmap(address, found->second) != 0)
        return Fail(kErrorNotEnoughMemory); // the system can't split its range once more
    Reservations().erase(found);
    return 1;
}

int _heapmin()
{
    malloc_trim(0);
    return 0;
}

void* GetProcessHeap()
{
    static char sProcessHeap; // represents the C library's heap, which has no address
    return &sProcessHeap;
}

std::size_t CompactProcessHeap(unsigned int)
{
    malloc_trim(0);
    return mallinfo2().fordblks;
}

unsigned long long InstalledMemory()
{
    struct sysinfo info;
    return sysinfo(&info) == 0 ? static_cast<unsigned long long>(info.totalram) * info.mem_unit : 0;
}

MemoryUse FindMemoryUse()
{
    return {InstalledMemory(), AvailableMemory()};
}

int IsBadReadPtr(const void* address, std::size_t size)
{
    // The kernel reads the memory, and fails where a read here would fault.
    char scratch[256];
    const char* next = static_cast<const char*>(address);
    while (size > 0)
    {
        const std::size_t piece = std::min(size, sizeof(scratch));
        const iovec to = {scratch, piece};
        const iovec from = {const_cast<char*>(next), piece};
        const ssize_t count = process_vm_readv(getpid(), &to, 1, &from, 1, 0);
        const bool isRefused = count < 0 && errno != EFAULT; // by a sandbox, or without memory
        if (isRefused ? !CanReadByMask(next, piece) : count != static_cast<ssize_t>(piece))
            return 1;
        next += piece;
        size -= piece;
    }
    return 0;
}
} // namespace win32
