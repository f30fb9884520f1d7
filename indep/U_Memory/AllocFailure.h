// The user's sentence for a failed allocation.

#ifndef INDEP_U_MEMORY_ALLOC_FAILURE_H
#define INDEP_U_MEMORY_ALLOC_FAILURE_H

#include "U_Types.h"

// Reports that a block of size bytes couldn't be had. what names the operation
// and may be null. possibleFragmentation says that the budget allowed the block
// and the system still didn't deliver it. Runs once a thread at a time: a failure
// inside the report only leaves a line in the log. Any thread; throws
// nothing.
void Up_ReportAllocFailure(U_u32 location, U_u64 size, const char* what,
                           bool possibleFragmentation);

#endif
