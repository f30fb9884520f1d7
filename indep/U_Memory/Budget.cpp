// The decision whether a block may be allocated.

#include "indep/U_Memory/Budget.h"

#include <algorithm>
#include <atomic>

#include <krobase/recycled_memory.h>
#include <platform/base/thread_local.h>
#include <tolv/memory.h>
#include <wril/wril.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "U_MemServices.h"
#include "indep/frame/Guard.h"

using krobase::utility::MemoryRecycler;

namespace
{
const U_u64 kSmallBlock = 2048;         // bytes
const U_u32 kSmallBlocksPerCheck = 256; // one of so many smaller blocks is measured
const double kPurgeAhead = 0.02;        // of the prepurge limit

const MEM_Pool kPool = {&MemoryRecycler::GetCurrentPoolSize, &MemoryRecycler::GetMostPoolSize};

std::atomic<U_u32> sPrePurgingDisabled(0);

// All threads write the counter, so it has two cache lines of its own: processors fetch lines in
// pairs.
struct alignas(2 * platform::kCacheLine) SmallBlockCounter
{
    std::atomic<U_u32> mCount{0};
};
SmallBlockCounter sSmallBlocks;

// Decides on a block that would pass the prepurge limit: asks the host to purge, and then compares
// with the maximum limit, since the host may have nothing left to purge.
U_Status DecideAbovePrepurge(Claim& claim, const MemoryLimits& limits, bool* okay)
{
    const U_u64 wanted = static_cast<U_u64>(static_cast<double>(claim.Size()) +
                                            kPurgeAhead * static_cast<double>(limits.mPrepurge));
    LogSafely([&] {
        WRIL_sprintf(0, "U", "MEM",
                     "Amount Requested above tracked usage thresh. used:\t%llu\trequest:\t%llu"
                     "\tthresh:%llu",
                     claim.Use(), wanted, limits.mPrepurge);
    });
    Up_MakeRoomForBlock(wanted, claim.IsRecycled());
    return claim.TryUnder(limits.mMaximum, okay);
}

// For a recycled block that fits if the pool is not counted: shrinks the pool by the bytes that use
// with the pool exceeds the prepurge limit.
U_Status ShrinkPoolForRecycled(U_u64 size, U_u64 prepurge)
{
    Claim total(0, 0, false);
    bool fits = false;
    if (U_Status failure = total.TryUnder(prepurge, &fits))
        return failure;
    if (fits)
        return 0;
    U_u64 used = 0;
    if (U_Status failure = Up_GetMemoryStat(U_MemStat_InUse, &used, false))
        return failure;
    const U_u64 excess = total.Use() - prepurge;
    LogSafely([&] {
        WRIL_sprintf(0, "U", "MEM",
                     "Amount Requested above tracked usage thresh (including recycled). used:\t%llu"
                     "\trequest:\t%llu\tthresh:%llu, amoutToPurge=%lld",
                     used, size, prepurge, static_cast<U_i64>(excess));
    });
    Up_MakeRoomForBlock(size + excess, true);
    if (U_GetRecycledMemorySize() > excess)
        U_PurgeRecycledMemory(excess);
    else
        Up_MakeRoomForBlock(1, false);
    return 0;
}

// Decides on a recycled block beside which the pool does not fit under the prepurge limit.
U_Status DecideRecycled(Claim& claim, const MemoryLimits& limits, bool* okay)
{
    bool fits = false;
    if (U_Status failure = claim.TryUnder(limits.mPrepurge, &fits))
        return failure;
    if (!fits)
        return DecideAbovePrepurge(claim, limits, okay);
    if (U_Status failure = ShrinkPoolForRecycled(claim.Size(), limits.mPrepurge))
        return failure;
    *okay = true;
    return 0;
}
} // namespace

// External managers are measured once in each comparison. The pool is read in the step of the
// comparison, since blocks move between the pool and the tracked use.
U_Status Claim::Try(U_u64 limit, const MEM_Pool* pool, bool* fits)
{
    *fits = false;
    const U_u64 managers = U_GetSizeOfExternalMemoryManagers();
    if (U_Status failure =
            MEM_ClaimUsage(Up_AddSizes(mSize, managers), mGrowth, limit, pool, &mClaim))
        return failure;
    *fits = mClaim.mFits;
    mUse = mClaim.mUsage + managers;
    return 0;
}

U_Status Claim::TryUnder(U_u64 limit, bool* fits)
{
    return Try(limit, mRecycled ? nullptr : &kPool, fits);
}

U_Status Claim::TryUnderWithPool(U_u64 limit, bool* fits)
{
    return Try(limit, &kPool, fits);
}

void Claim::Renew()
{
    bool fits = false;
    TryUnder(mCeiling, &fits);
}

void Claim::Cancel()
{
    MEM_EndClaim(&mClaim);
    mClaim = MEM_Claim();
}

bool Up_IsMeasured(U_u64 size)
{
    if (sPrePurgingDisabled.load(std::memory_order_relaxed))
        return false;
    return size >= kSmallBlock ||
           sSmallBlocks.mCount.fetch_add(1, std::memory_order_relaxed) + 1 >= kSmallBlocksPerCheck;
}

U_Status Up_MeasureAndDecide(Claim& claim, bool* okay)
{
    *okay = false;
    // Threads that allocate large blocks only do not write the counter, whose cache line they
    // share.
    if (sSmallBlocks.mCount.load(std::memory_order_relaxed) != 0)
        sSmallBlocks.mCount.store(0, std::memory_order_relaxed);
    const MemoryLimits limits = Up_LimitsInForce();
    claim.SetCeiling(std::max(limits.mPrepurge, limits.mMaximum));
    // If the pool fits beside the block, one comparison is enough for a recycled block, too.
    if (U_Status failure = claim.TryUnderWithPool(limits.mPrepurge, okay))
        return failure;
    if (*okay)
        return 0;
    return claim.IsRecycled() ? DecideRecycled(claim, limits, okay)
                              : DecideAbovePrepurge(claim, limits, okay);
}

U_Status U_DisableProactivePrePurging()
{
    const U_Status result = TOLV_DisableProactivePrePurging();
    sPrePurgingDisabled.fetch_add(1);
    return result;
}

U_Status U_EnableProactivePrePurging()
{
    const U_Status result = TOLV_EnableProactivePrePurging();
    sPrePurgingDisabled.fetch_sub(1);
    return result;
}

U_ScDisableProactivePrePurging::U_ScDisableProactivePrePurging()
{
    U_DisableProactivePrePurging();
}

U_ScDisableProactivePrePurging::~U_ScDisableProactivePrePurging()
{
    U_EnableProactivePrePurging();
}

U_ScDisableProactivePrePurging&
U_ScDisableProactivePrePurging::operator=(const U_ScDisableProactivePrePurging&)
{
    return *this;
}
