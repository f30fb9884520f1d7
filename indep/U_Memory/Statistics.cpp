#include "U_Budget.h"

#include <cstdlib>

#include <tolv/memory.h>

#include "U_Alloc.h"
#include "U_MemServices.h"
#include "indep/U_Memory/Budget.h"
#include "indep/U_Memory/LibraryHeap.h"
#include "indep/errors/Report.h"

namespace
{
// A lowered prepurge limit is kept until the host sets limits again.
void LowerLimitIfMemoryIsLow(U_u64 used)
{
    U_i64 free = 0;
    if (!Up_FreeAboveFudgeBuffer(&free))
        return;
    MemoryLimits limits;
    MEM_GetMemUsageLimits(&limits.mPrepurge, &limits.mMaximum);
    const U_u64 lowered = Up_LoweredPrepurge(limits.mPrepurge, used, free);
    if (lowered != limits.mPrepurge)
        MEM_SetMemUsageLimits(lowered, limits.mMaximum);
}

U_Status InUse(U_u64* out, bool lowerLimit, bool countRecycled)
{
    UseParts parts;
    const U_Status failure = Up_MeasureUse(out, &parts);
    if (lowerLimit)
        LowerLimitIfMemoryIsLow(*out);
    if (!countRecycled)
        *out -= parts.mPool;
    return failure;
}

U_Status InUseWithoutFrames(U_u64* out)
{
    UseParts parts;
    parts.mWantsFrames = true;
    const U_Status failure = Up_MeasureUse(out, &parts);
    LowerLimitIfMemoryIsLow(*out);
    *out -= static_cast<U_u64>(parts.mFrames);
    return failure;
}

U_Status RoomUnderLimit(U_u64* out, bool underMaximum, bool countRecycled)
{
    U_u64 used = 0;
    if (U_Status failure = InUse(&used, false, countRecycled))
        return failure;
    const MemoryLimits limits = Up_LimitsInForce();
    const U_u64 limit = underMaximum ? limits.mMaximum : limits.mPrepurge;
    *out = limit > used ? limit - used : 0;
    return 0;
}

bool MallocCanGive(std::size_t size)
{
    // Volatile, since the compiler may remove a malloc that is freed at once.
    void* volatile block = std::malloc(size);
    const bool given = block != nullptr;
    std::free(block);
    return given;
}

U_u64 LargestBlock()
{
    std::size_t low = 0;
    std::size_t high = 0xC0000000;
    const std::size_t kPrecision = 1024;
    while (high - low > kPrecision)
    {
        const std::size_t middle = low + (high - low) / 2;
        (MallocCanGive(middle) ? low : high) = middle;
    }
    return low;
}

// Returns the difference, or 1 instead of a negative difference.
U_u64 Less(U_u64 value, U_u64 part)
{
    return part > value ? 1 : value - part;
}

U_Status InUseByLibrary(U_u64* out)
{
    UseParts parts;
    const U_Status failure = Up_MeasureUse(out, &parts);
    *out = Less(*out, parts.mPool);
    *out = Less(*out, U_GetSizeOfExternalMemoryManagers());
    return failure;
}
} // namespace

U_Status Up_GetMemoryStat(U_u32 which, U_u64* out, bool countRecycled)
{
    *out = 0;
    switch (which)
    {
    case U_MemStat_InUse:
        return InUse(out, false, countRecycled);
    case U_MemStat_InUseLowMemory:
        return InUse(out, true, countRecycled);
    case U_MemStat_RoomToPrepurge:
        return RoomUnderLimit(out, false, countRecycled);
    case U_MemStat_RoomToMaximum:
        return RoomUnderLimit(out, true, countRecycled);
    case U_MemStat_LargestBlock:
        *out = LargestBlock();
        return 0;
    case U_MemStat_RoomForRecycled:
        return RoomUnderLimit(out, false, false);
    case U_MemStat_InUseByLibrary:
        return InUseByLibrary(out);
    case U_MemStat_InUseWithoutFrames:
        return InUseWithoutFrames(out);
    default:
        return 0;
    }
}

U_Status U_GetMemoryStat(U_u32 which, U_u64* out)
{
    if (!out)
        return BadArgument("U_GetMemoryStat: no place for the figure");
    return Up_GetMemoryStat(which, out, true);
}
