#include "indep/U_Memory/Memory.h"

#include <atomic>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "U_MemServices.h"
#include "U_Threads.h"
#include "indep/U_Memory/Budget.h"
#include "indep/frame/Guard.h"

namespace
{
const U_i32 kPresumedAppSize = 0x8700000; // bytes

MEM_HeapRef sHeap = nullptr; // written by birth; stays, so that what is left can be freed

std::atomic<U_i64> sFrameAllocation(0); // bytes

U_u64 BytesInUse()
{
    return MEM_GetMemUsage() + U_GetRecycledMemorySize();
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
    // A log that fails mustn't keep the rest from being undone.
    Contained([] { MEM_DumpLeaks(sHeap); });
    Up_ClearPurgeRequestCallback();
    MEM_AccountAllocation(-kPresumedAppSize);
}

MEM_HeapRef UHeap()
{
    return sHeap;
}

void Up_AddFrameAllocation(U_i64 delta)
{
    sFrameAllocation.fetch_add(delta, std::memory_order_relaxed);
}

U_i64 Up_FrameAllocation()
{
    return sFrameAllocation.load(std::memory_order_relaxed);
}

U_Status U_PresumedAppSize(U_u64* out)
{
    if (out)
        *out = kPresumedAppSize;
    return 0;
}
