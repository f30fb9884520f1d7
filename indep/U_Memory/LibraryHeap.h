// The library's heap, and birth and death of the memory subsystem.

#ifndef INDEP_U_MEMORY_LIBRARY_HEAP_H
#define INDEP_U_MEMORY_LIBRARY_HEAP_H

#include <tolv/memory.h>

#include "U_Types.h"

const U_u64 kLargestBlock = 0x7FFFFFFF; // bytes; a request must fit a signed 32-bit size

// Makes the heap, charges the application's presumed size, and reads the settings.
void Up_InitializeMemorySubsystem();

// Logs the settings. Returns 0, or 4 without a heap. Throws the exceptions of the log sink.
U_Status Up_CheckMemorySubsystem();

// Logs the blocks that are left in the heap, and undoes the initialisation.
void Up_TerminateMemorySubsystem();

// Returns the library's heap, null before the first birth.
MEM_HeapRef UHeap();

#endif
