#include "indep/U_Memory/AllocationLoop.h"

#include <tolv/memory.h>
#include <wril/wril.h>

#include "U_Budget.h"
#include "U_Threads.h"
#include "indep/U_Memory/Budget.h"
#include "indep/U_Memory/LibraryHeap.h"
#include "indep/frame/Guard.h"

namespace
{
const char* const kFailedTag = "ALLOC_OP_FAILED";

// If the attempt fails, the claim ends before anything else runs.
void* AttemptUnder(Claim* claim, const AllocationAttempt& attempt)
{
    void* const block = attempt(claim);
    if (claim)
        claim->End();
    return block;
}

// The rounds after a first attempt that failed.
class Recovery
{
public:
    Recovery(const AllocationRequest& request, Claim* claim) : mRequest(request), mClaim(claim) {}

    void* Run(const AllocationAttempt& attempt)
    {
        void* block = nullptr;
        U_u16 attempts = 1;
        MakeRoom();
        bool progress = true; // a second attempt is made also if use did not fall
        while (!block && progress)
        {
            const U_u64 previous = mMeasure;
            if (mClaim)
                mClaim->Renew();
            block = AttemptUnder(mClaim, attempt);
            if (!block)
                MakeRoom();
            progress = mMeasure < previous;
            ++attempts;
        }
        LogSafely([&] {
            WRIL_sprintf(0, "U", "ALLOC_OP_FAILED_RECOVERY_STAT", "success:%s, retries:%d",
                         block ? "t" : "f", attempts - 1);
        });
        return block;
    }

    U_Status MeasureError() const { return mMeasureError; }

private:
    // The room under the limit is added to the request, so that the purge frees the size of the
    // block although the block fits under the limit: the heap has just refused the block.
    void MakeRoom()
    {
        LogFailedAttempt();
        if (U_IsOnMainThread())
            U_CompactMem();
        TOLV_SyncMemUsageWithOS();
        if (!mMeasureError)
            mMeasureError = U_GetMemoryStat(
                mRequest.mRecycled ? U_MemStat_RoomForRecycled : U_MemStat_RoomToPrepurge, &mRoom);
        Up_MakeRoomForBlock(Up_AddSizes(mRoom, mRequest.mSize), mRequest.mRecycled);
        Measure();
    }

    // After an error the last measurement is kept, which ends the loop.
    void Measure()
    {
        U_u64 use = 0;
        if (!mMeasureError)
            mMeasureError = Up_GetMemoryStat(U_MemStat_InUseLowMemory, &use, !mRequest.mRecycled);
        if (!mMeasureError)
            mMeasure = use;
    }

    void LogFailedAttempt() const
    {
        LogSafely([&] {
            WRIL_sprintf(0, "U", kFailedTag,
                         "Fragmentation or other resource constraint\treqsize Kb:%d",
                         static_cast<int>(mRequest.mSize >> 10));
        });
        if (mRequest.mOpName)
            LogSafely([&] { WRIL_sprintf(0, "U", kFailedTag, "OpName:%s", mRequest.mOpName); });
    }

    const AllocationRequest& mRequest;
    Claim* mClaim; // null: the block is not measured
    U_u64 mRoom = 0;
    U_u64 mMeasure = 0;
    U_Status mMeasureError = 0;
};

// `okay`: true if the budget allowed the block.
void ReportUnableToRecover(const AllocationRequest& request, bool okay)
{
    LogSafely([&] {
        WRIL_sprintf(0, "U", "ALLOC_FAILED_UNABLE_TO_RECOVER", "what:%s",
                     request.mOpName ? request.mOpName : "Unidentified caller.");
    });
    if (request.mOpName)
        Up_ReportAllocFailure(request.mLocation, request.mSize, request.mOpName, okay);
}

void* Refuse(const AllocationRequest& request)
{
    LogSafely([&] {
        WRIL_sprintf(0, "U", "Up_AllocateShared", "Up_OkayToAllocBlock did not say ok, size=%lld",
                     static_cast<U_i64>(request.mSize));
    });
    ReportUnableToRecover(request, false);
    return nullptr;
}

// Reports a size that no block can have.
[[gnu::cold]] void* RefuseSize(const AllocationRequest& request)
{
    if (request.mOpName)
        Up_ReportAllocFailure(request.mLocation, request.mSize, nullptr, false);
    return nullptr;
}

// The rounds after a failed first attempt. Not inlined, so that an attempt that succeeds does not
// pay for the recovery's stack frame.
[[gnu::noinline]] void* Recover(const AllocationRequest& request, Claim* claim,
                                const AllocationAttempt& attempt)
{
    Recovery recovery(request, claim);
    void* block = recovery.Run(attempt);
    if (!block)
        ReportUnableToRecover(request, true);
    else if (!recovery.MeasureError())
        return Cleared(block, request);
    return block;
}
} // namespace

void* Up_AllocateMeasured(const AllocationRequest& request, const AllocationAttempt& attempt)
{
    if (request.mSize > kLargestBlock)
        return RefuseSize(request);
    Claim claim(request.mSize, request.mGrowth, request.mRecycled);
    bool okay = false;
    if (Up_MeasureAndDecide(claim, &okay))
        return nullptr;
    if (!okay)
        return Refuse(request);
    void* const block = AttemptUnder(&claim, attempt);
    if (!block)
        return Recover(request, &claim, attempt);
    return Cleared(block, request);
}

void* Up_RecoverUnmeasured(const AllocationRequest& request, const AllocationAttempt& attempt)
{
    return Recover(request, nullptr, attempt);
}
