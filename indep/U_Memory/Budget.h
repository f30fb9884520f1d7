// Decisions of the budget, for the allocation loop and the statistics.

#ifndef INDEP_U_MEMORY_BUDGET_H
#define INDEP_U_MEMORY_BUDGET_H

#include "U_Types.h"

// Whether a block of size bytes may be allocated, after making room for it if
// need be. recycled: the block comes out of the recycled pool, which then
// counts as room. Returns an error of the measurement, with *okay false.
U_Status Up_OkayToAllocBlock(U_i32 size, bool* okay, bool recycled);

// Asks the host to purge until request bytes fit under the prepurge limit, or
// until use no longer falls. Returns the error that ended it.
U_Status Up_MakeRoomForBlock(U_u64 request, bool recycled);

// U_GetMemoryStat with the recycled pool counted as use or not.
U_Status Up_GetMemoryStat(U_u32 which, U_u64* out, bool countRecycled);

// Physical memory above the fudge buffer, in bytes, negative if it is touched.
// False if the library pays no attention to low memory or the system doesn't
// tell.
bool Up_FreeAboveFudgeBuffer(U_i64* bytes);

// The prepurge limit that leaves the fudge buffer, free being what the function above
// tells: prepurge itself, or as much less as it takes. At least 1, since 0 reads as
// never set; what was never set stays so.
U_u64 Up_LoweredPrepurge(U_u64 prepurge, U_u64 used, U_i64 free);

// Whether more bytes fit beside used ones under a limit.
inline bool Up_Fits(U_u64 used, U_u64 more, U_u64 limit)
{
    return used <= limit && more <= limit - used;
}

// The sum of two sizes, the largest size if there is none as large.
inline U_u64 Up_AddSizes(U_u64 left, U_u64 right)
{
    return left + right < left ? ~U_u64(0) : left + right;
}

// Reads the budget's settings, starts the memory log if they ask for it, and then
// logs "fudgebuffer" and "goDirect".
void Up_ReadBudgetSettings();

void Up_ClearPurgeRequestCallback();

#endif
