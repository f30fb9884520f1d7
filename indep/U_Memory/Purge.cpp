// The purge check, the purge loop for a host's own allocator, and compaction.

#include "U_Budget.h"

#include <platform/base/locks.h>
#include <win32/memory.h>
#include <wril/wril.h>

#include "indep/U_Memory/AllocationLoop.h"
#include "indep/U_Memory/Budget.h"
#include "indep/errors/Report.h"
#include "indep/frame/Guard.h"

namespace
{
const int kMostPurgeRounds = 3;

// Lets one thread compact at a time. Never destroyed: threads may run while the process
// exits.
platform::Mutex sCompactionLock;
} // namespace

U_Status U_CheckRAMPurgeLimit(bool* overLimit, U_u64 needed, bool* hitLimit)
{
    if (!overLimit)
        return BadArgument("U_CheckRAMPurgeLimit: no place for the answer");
    *overLimit = true;
    if (hitLimit)
        *hitLimit = true;

    const U_u64 prepurge = Up_LimitsInForce().mPrepurge;
    U_u64 used = 0;
    if (U_Status failure = Up_GetMemoryStat(U_MemStat_InUse, &used, false))
        return failure;
    if (Up_Fits(used, needed, prepurge))
    {
        *overLimit = false;
        if (hitLimit)
            *hitLimit = false;
        return 0;
    }

    LogSafely([&] {
        WRIL_sprintf(0, "U", "U_CheckRAMPurgeLimit",
                     "hit limit with inUse=%lld, needed=%lld, purgeLimit=%lld",
                     static_cast<U_i64>(used), static_cast<U_i64>(needed),
                     static_cast<U_i64>(prepurge));
    });
    U_Status failure = 0;
    for (int round = 0; round < kMostPurgeRounds && *overLimit; ++round)
    {
        Up_MakeRoomForBlock(Up_AddSizes(needed, 1), true);
        if (!failure)
            failure = Up_GetMemoryStat(U_MemStat_InUse, &used, false);
        if (!failure && Up_Fits(used, needed, prepurge))
            *overLimit = false;
    }
    return failure;
}

U_Status U_PurgeLoop(U_u64 size, U_PurgeLoopProcedure procedure, void* refcon, bool recycled)
{
    if (!procedure)
        return BadArgument("U_PurgeLoop: no procedure");
    U_Status result = U_Err_OutOfMemory;
    auto attempt = [&](Claim*) -> void* {
        bool okay = false;
        result = procedure(refcon, &okay);
        // Any address will do, since no block is cleared.
        return okay && result == 0 ? &result : nullptr;
    };
    // The host itself charges the memory of its procedure.
    const U_u64 growth = 0;
    Up_AllocateShared({0, nullptr, size, growth, kAsIs, recycled}, attempt);
    return result;
}

U_Status U_CompactMem()
{
    const platform::ScLock lock(sCompactionLock);
    win32::_heapmin();
    win32::HeapCompact(win32::GetProcessHeap(), 0);
    return 0;
}

U_Status U_PurgeHandlesAndCompact()
{
    return U_CompactMem();
}
