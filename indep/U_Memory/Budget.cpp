// May a block be allocated.

#include "indep/U_Memory/Budget.h"

#include <atomic>

#include <cache_line.h>
#include <tolv/memory.h>
#include <wril/wril.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "indep/frame/LogSafely.h"

namespace
{
const U_i32 kSmallBlock = 2048;         // bytes
const U_u32 kSmallBlocksPerCheck = 256; // of smaller blocks one in so many is measured
const double kPurgeAhead = 0.02;        // of the prepurge limit

std::atomic<U_u32> sPrePurgingDisabled(0);

// All threads write it, so it has a cache line to itself, with the neighbour that
// processors fetch along with it.
struct alignas(2 * platform::kCacheLine) SmallBlockCounter
{
    std::atomic<U_u32> mCount{0};
};
SmallBlockCounter sSmallBlocks;

bool IsUnmeasured(U_i32 size)
{
    return size < kSmallBlock &&
           sSmallBlocks.mCount.fetch_add(1, std::memory_order_relaxed) + 1 < kSmallBlocksPerCheck;
}

struct Measurement
{
    U_u64 mUsed = 0;
    U_u64 mPrepurge = 0;
    U_u64 mMaximum = 0;

    U_Status Take(bool recycled)
    {
        if (U_Status failure = U_GetMemUsageLimits(&mPrepurge, &mMaximum))
            return failure;
        return TakeUsed(recycled);
    }

    U_Status TakeUsed(bool recycled)
    {
        return Up_GetMemoryStat(U_MemStat_InUse, &mUsed, !recycled);
    }
};

// A block that would pass the prepurge limit: make room, and let the maximum
// limit decide, since the host may have nothing left to purge.
U_Status DecideAbovePrepurge(Measurement& now, U_u64 size, bool* okay, bool recycled)
{
    const U_u64 wanted = static_cast<U_u64>(static_cast<double>(size) +
                                            kPurgeAhead * static_cast<double>(now.mPrepurge));
    LogSafely([&] {
        WRIL_sprintf(0, "U", "MEM",
                     "Amount Requested above tracked usage thresh. used:\t%llu\trequest:\t%llu"
                     "\tthresh:%llu",
                     now.mUsed, wanted, now.mPrepurge);
    });
    Up_MakeRoomForBlock(wanted, recycled);
    if (U_Status failure = now.TakeUsed(recycled))
        return failure;
    *okay = Up_Fits(now.mUsed, size, now.mMaximum);
    return 0;
}

// A recycled block fits beside use without the pool; the pool itself gives way
// as far as it stands above the limit.
U_Status ShrinkPoolForRecycled(const Measurement& now, U_u64 size)
{
    U_u64 total = 0;
    if (U_Status failure = Up_GetMemoryStat(U_MemStat_InUse, &total, true))
        return failure;
    if (total <= now.mPrepurge)
        return 0;
    const U_u64 excess = total - now.mPrepurge;
    LogSafely([&] {
        WRIL_sprintf(0, "U", "MEM",
                     "Amount Requested above tracked usage thresh (including recycled). used:\t%llu"
                     "\trequest:\t%llu\tthresh:%llu, amoutToPurge=%lld",
                     now.mUsed, size, now.mPrepurge, static_cast<U_i64>(excess));
    });
    Up_MakeRoomForBlock(size + excess, true);
    if (U_GetRecycledMemorySize() > excess)
        U_PurgeRecycledMemory(excess);
    else
        Up_MakeRoomForBlock(1, false);
    return 0;
}

// Kept out of line, so that a block that isn't measured pays for nothing here.
[[gnu::noinline]] U_Status MeasureAndDecide(U_i32 size, bool* okay, bool recycled)
{
    *okay = false;
    sSmallBlocks.mCount.store(0, std::memory_order_relaxed);
    Measurement now;
    if (U_Status failure = now.Take(recycled))
        return failure;
    const U_u64 wanted = static_cast<U_u64>(size);
    if (!Up_Fits(now.mUsed, wanted, now.mPrepurge))
        return DecideAbovePrepurge(now, wanted, okay, recycled);
    if (recycled)
    {
        if (U_Status failure = ShrinkPoolForRecycled(now, wanted))
            return failure;
    }
    *okay = true;
    return 0;
}
} // namespace

U_Status Up_OkayToAllocBlock(U_i32 size, bool* okay, bool recycled)
{
    *okay = true;
    if (sPrePurgingDisabled.load(std::memory_order_relaxed) || IsUnmeasured(size))
        return 0;
    return MeasureAndDecide(size, okay, recycled);
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
