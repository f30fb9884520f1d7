#include "indep/U_Memory/Memory.h"

#include <atomic>
#include <utility>

#include <thread_local.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "U_MemServices.h"
#include "U_Threads.h"
#include "indep/U_Memory/Budget.h"
#include "indep/frame/Guard.h"

namespace
{
const U_i32 kPresumedAppSize = 0x8700000; // bytes

MEM_HeapRef sHeap =
    nullptr; // written by birth; kept after death, so that blocks that are left can be freed

std::atomic<U_i64> sFrameAllocation(0); // bytes
std::atomic<U_u32> sFrameChanges(0);

// The place for the pool's size, for a measurement that runs on this thread.
PLATFORM_THREAD_LOCAL U_u64* tPoolOfMeasurement = nullptr;

// External managers, which are asked after the pool, may measure too, and may throw.
class ScPoolOfMeasurement
{
public:
    explicit ScPoolOfMeasurement(U_u64* place) : mOuter(std::exchange(tPoolOfMeasurement, place)) {}
    ~ScPoolOfMeasurement() { tPoolOfMeasurement = mOuter; }
    ScPoolOfMeasurement(const ScPoolOfMeasurement&) = delete;
    ScPoolOfMeasurement& operator=(const ScPoolOfMeasurement&) = delete;

private:
    U_u64* const mOuter;
};

U_u64 BytesInUse()
{
    const U_u64 pool = U_GetRecycledMemorySize();
    if (tPoolOfMeasurement)
        *tPoolOfMeasurement = pool;
    return MEM_GetMemUsage() + pool;
}

U_u64 BytesOfManagers()
{
    return U_GetSizeOfExternalMemoryManagers();
}
} // namespace

U_Status Up_InitializeMemorySubsystem()
{
    sHeap = MEM_NewHeap();
    MEM_AccountAllocation(kPresumedAppSize);
    const TOLV_U_Callbacks callbacks = {&BytesInUse, &BytesOfManagers, &U_IsOnMainThread};
    TOLV_Install_U_Callback(&callbacks);
    Up_ReadBudgetSettings();
    return sHeap ? 0 : U_Err_OutOfMemory;
}

void Up_TerminateMemorySubsystem()
{
    const TOLV_U_Callbacks none = {nullptr, nullptr, nullptr};
    TOLV_Install_U_Callback(&none);
    // The steps below are made even if the log fails.
    Contained([] { MEM_DumpLeaks(sHeap); });
    Up_ClearPurgeRequestCallback();
    MEM_AccountAllocation(-kPresumedAppSize);
}

MEM_HeapRef UHeap()
{
    return sHeap;
}

U_Status Up_MeasureUse(U_u64* total, U_u64* pool)
{
    *pool = U_GetRecycledMemorySize(); // unless BytesInUse reads it
    const ScPoolOfMeasurement place(pool);
    return TOLV_TotalMemoryUsed(total);
}

// In this order the use includes the counter's bytes at every moment, and the count of
// changes tells a measurement that one of the two has changed.
U_Status Up_AccountFrames(U_i64 delta)
{
    if (delta > 0)
    {
        const U_Status result = MEM_AccountSystemAllocation(delta);
        sFrameChanges.fetch_add(1, std::memory_order_acq_rel);
        sFrameAllocation.fetch_add(delta, std::memory_order_release);
        return result;
    }
    sFrameAllocation.fetch_add(delta, std::memory_order_release);
    sFrameChanges.fetch_add(1, std::memory_order_acq_rel);
    return MEM_AccountSystemAllocation(delta);
}

U_i64 Up_FrameAllocation()
{
    return sFrameAllocation.load(std::memory_order_acquire);
}

U_u32 Up_FrameChanges()
{
    return sFrameChanges.load(std::memory_order_acquire);
}

U_Status U_PresumedAppSize(U_u64* out)
{
    if (out)
        *out = kPresumedAppSize;
    return 0;
}
