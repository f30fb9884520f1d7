#include "indep/U_Memory/LibraryHeap.h"

#include <algorithm>
#include <limits>

#include <platform/base/thread_local.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "U_MemServices.h"
#include "U_Threads.h"
#include "indep/U_Memory/Budget.h"
#include "indep/errors/Report.h"
#include "indep/frame/Guard.h"

namespace
{
const U_i32 kPresumedAppSize = 0x8700000; // bytes
const U_i64 kMostCharge = std::numeric_limits<U_i32>::max();

// Written by birth. Kept after death, so that blocks that are left can be freed.
MEM_HeapRef sHeap = nullptr;

// The parts of the measurement that runs on this thread, null outside measurements.
PLATFORM_THREAD_LOCAL(UseParts*, tParts);

// Sets tParts in a scope. Scopes nest, since the function of an external manager may measure, and
// may throw.
class ScParts
{
public:
    explicit ScParts(UseParts* parts) : mOuter(tParts) { tParts = parts; }
    ~ScParts() { tParts = mOuter; }
    ScParts(const ScParts&) = delete;
    ScParts& operator=(const ScParts&) = delete;

private:
    UseParts* const mOuter;
};

// Takes the larger of two readings of the pool, so that a block that moves between the pool and the
// tracked use is counted at least once. Such a block may be counted twice.
U_u64 BytesInUse()
{
    U_i64 frames = 0;
    const U_u64 before = U_GetRecycledMemorySize();
    const U_u64 usage =
        tParts && tParts->mWantsFrames ? MEM_GetMemUsageWithFrames(&frames) : MEM_GetMemUsage();
    const U_u64 pool = std::max(before, U_GetRecycledMemorySize());
    if (tParts)
    {
        tParts->mPool = pool;
        tParts->mFrames = frames;
    }
    return usage + pool;
}

U_u64 BytesOfManagers()
{
    return U_GetSizeOfExternalMemoryManagers();
}
} // namespace

void Up_InitializeMemorySubsystem()
{
    sHeap = MEM_NewHeap();
    MEM_AccountAllocation(kPresumedAppSize);
    const TOLV_U_Callbacks callbacks = {&BytesInUse, &BytesOfManagers, &U_IsOnMainThread};
    TOLV_Install_U_Callback(&callbacks);
    Up_ReadBudgetSettings();
}

U_Status Up_CheckMemorySubsystem()
{
    Up_LogBudgetSettings();
    return sHeap ? 0 : U_Err_OutOfMemory;
}

void Up_TerminateMemorySubsystem()
{
    const TOLV_U_Callbacks none = {nullptr, nullptr, nullptr};
    TOLV_Install_U_Callback(&none);
    // The steps after this one run even if the log fails.
    GuardedNoexcept([] { MEM_DumpLeaks(sHeap); });
    Up_ClearPurgeRequestCallback();
    MEM_AccountAllocation(-kPresumedAppSize);
}

MEM_HeapRef UHeap()
{
    return sHeap;
}

// The parts are read first, since a function that a host installs in the host services in place of
// BytesInUse does not store them.
U_Status Up_MeasureUse(U_u64* total, UseParts* parts)
{
    parts->mPool = U_GetRecycledMemorySize();
    parts->mFrames = parts->mWantsFrames ? MEM_GetFrames() : 0;
    const ScParts measured(parts);
    return TOLV_TotalMemoryUsed(total);
}

U_Status U_PresumedAppSize(U_u64* out)
{
    if (out)
        *out = kPresumedAppSize;
    return 0;
}

U_Status U_AccountAllocation(U_i32 delta)
{
    return MEM_AccountAllocation(delta);
}

U_Status U_AccountAllocationEx(U_u64 size, bool add)
{
    if (!add)
        return MEM_AccountAllocation(static_cast<U_i32>(0u - static_cast<U_u32>(size)));
    if (size > static_cast<U_u64>(kMostCharge))
        return BadArgument("U_AccountAllocationEx: the size is out of range");
    return MEM_AccountAllocation(static_cast<U_i32>(size));
}

U_Status U_AccountFrameAllocation(U_i64 delta)
{
    return MEM_AccountFrames(delta);
}

U_Status U_AccountSystemAllocation(U_i64 delta)
{
    return MEM_AccountSystemAllocation(delta);
}
