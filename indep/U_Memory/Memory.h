// The heap, the frame allocation counter, and the memory subsystem's birth and death.

#ifndef INDEP_U_MEMORY_MEMORY_H
#define INDEP_U_MEMORY_MEMORY_H

#include <cstring>

#include <tolv/memory.h>

#include "U_Types.h"

const U_u64 kLargestBlock = 0x7FFFFFFF; // bytes; a request must fit a signed 32-bit size

// Makes the heap, charges the application's own footprint, and reads the settings.
void Up_InitializeMemorySubsystem();

// Logs the settings. Returns 0, or 4 if there is no heap.
U_Status Up_CheckMemorySubsystem();

// Logs the blocks that are left in the heap, and undoes the initialisation.
void Up_TerminateMemorySubsystem();

// The library's one heap.
MEM_HeapRef UHeap();

// Copies a block's bytes. An empty block may have no address.
inline void CopyBytes(void* to, const void* from, std::size_t size)
{
    if (to && from)
        std::memcpy(to, from, size);
}

// Charges frame or recycled memory to the tracked use and to the frame allocation counter,
// or takes the charge off both. Returns as MEM_AccountAllocation.
U_Status Up_AccountFrames(U_i64 delta);

#endif
