// Memory, under the operating system's own names. Any thread.

#ifndef WIN32_MEMORY_H
#define WIN32_MEMORY_H

#include <cstddef>

#include <platform/base/export.h>

namespace win32
{
const unsigned int kMemCommit = 0x1000;
const unsigned int kMemReserve = 0x2000;
const unsigned int kMemRelease = 0x8000;
const unsigned int kMemTopDown = 0x100000;
const unsigned int kPageNoAccess = 0x01;
const unsigned int kPageReadWrite = 0x04;

// Reserves size bytes of address space from a 64 KiB boundary, where the
// system likes. type is kMemReserve, with kMemCommit and kMemTopDown or without;
// protection is kPageNoAccess, or kPageReadWrite for what is committed: zeroed
// memory. Null on failure, with the reason in GetLastError: 87 for other arguments,
// 8 if there is no such range. address must be null.
PLATFORM_EXPORT void* VirtualAlloc(void* address, std::size_t size, unsigned int type,
                                   unsigned int protection);

// Releases a reservation; size is 0 and type kMemRelease. Non-zero on success; 0
// with the reason in GetLastError: 87 for other arguments, 487 for an address at
// which none begins, 8 if the system has too many ranges to release one.
PLATFORM_EXPORT int VirtualFree(void* address, std::size_t size, unsigned int type);

// Gives free memory of the runtime back to the system. 0 on success.
PLATFORM_EXPORT int _heapmin();

// The process's heap, for HeapCompact, which gives its free memory back.
PLATFORM_EXPORT void* GetProcessHeap();
PLATFORM_EXPORT std::size_t HeapCompact(void* heap, unsigned int flags);

struct MEMORYSTATUSEX
{
    unsigned int dwLength; // to be set to the structure's size
    unsigned int dwMemoryLoad;
    unsigned long long ullTotalPhys;
    unsigned long long ullAvailPhys;
};

// The machine's physical memory in units of 1 KiB. 0 on failure. Costs no call
// to the system but for the first.
PLATFORM_EXPORT int GetPhysicallyInstalledSystemMemory(unsigned long long* kilobytes);

// Fills in the machine's physical memory. 0 on failure.
PLATFORM_EXPORT int GlobalMemoryStatusEx(MEMORYSTATUSEX* status);

// Whether the process can't read size bytes from the address on, by then: for
// diagnosis of a pointer that may be anything.
PLATFORM_EXPORT int IsBadReadPtr(const void* address, std::size_t size);
} // namespace win32

#endif
