// Memory, under the operating system's own names: address space, the heap of the process and
// the memory of the machine.
//
//     const unsigned int type = win32::kMemReserve | win32::kMemCommit;
//     void* const block = win32::VirtualAlloc(nullptr, 1 << 20, type, win32::kPageReadWrite);
//     if (block)
//         win32::VirtualFree(block, 0, win32::kMemRelease);
//
// Thread safety: all functions may be called on any thread.

#ifndef WIN32_MEMORY_H
#define WIN32_MEMORY_H

#include <cstddef>

#include <platform/base/export.h>

#include "errors.h"

namespace win32
{
const unsigned int kMemCommit = 0x1000;
const unsigned int kMemReserve = 0x2000;
const unsigned int kMemRelease = 0x8000;
const unsigned int kMemTopDown = 0x100000;
const unsigned int kPageNoAccess = 0x01;
const unsigned int kPageReadWrite = 0x04;

// Reserves `size` bytes of address space from a boundary of 64 KiB that the system chooses.
// `address` is null. `type` is kMemReserve, alone or with kMemCommit and kMemTopDown.
// `protection` is kPageNoAccess, or with kMemCommit kPageReadWrite, which makes zeroed memory.
//
// Returns: the start of the range, or null. Then GetLastError returns
//  - 87 for other arguments that are refused. Windows allows more than these;
//  - 8 if there is no such range.
PLATFORM_EXPORT void* VirtualAlloc(void* address, std::size_t size, unsigned int type,
                                   unsigned int protection);

// Releases a reservation. `size` is 0 and `type` is kMemRelease.
//
// Returns: non-zero on success, or 0. Then GetLastError returns
//  - 87 for other arguments;
//  - 487 if no reservation starts at `address`;
//  - 8 if the system has too many ranges to release one.
PLATFORM_EXPORT int VirtualFree(void* address, std::size_t size, unsigned int type);

// Returns free memory of the C runtime to the system. Returns 0 on success.
PLATFORM_EXPORT int _heapmin();

// Returns the heap of the process, for HeapCompact.
PLATFORM_EXPORT void* GetProcessHeap();

// Returns free memory of the heap to the system. Returns the bytes of the heap that are still
// free; 0 for another heap than the process's.
PLATFORM_EXPORT std::size_t HeapCompact(void* heap, unsigned int flags);

struct MEMORYSTATUSEX
{
    unsigned int dwLength;           // set to the size of the structure before the call
    unsigned int dwMemoryLoad;       // the part in use, in percent
    unsigned long long ullTotalPhys; // bytes
    unsigned long long ullAvailPhys; // bytes
};

// Stores the size of the machine's physical memory in KiB. The system is called only the first
// time.
//
// Returns: 0 on failure.
PLATFORM_EXPORT int GetPhysicallyInstalledSystemMemory(unsigned long long* kilobytes);

// Stores the use of the machine's physical memory.
//
// Returns: 0 on failure.
PLATFORM_EXPORT int GlobalMemoryStatusEx(MEMORYSTATUSEX* status);

// Returns non-zero if the process cannot read `size` bytes from `address` on. For diagnosis of
// a pointer that may be invalid: other threads may change the answer at any time. Nothing is read
// of a page that guards a stack.
PLATFORM_EXPORT int IsBadReadPtr(const void* address, std::size_t size);
} // namespace win32

#endif
