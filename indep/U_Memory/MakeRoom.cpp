// Making room for a block by purge requests.

#include "indep/U_Memory/Budget.h"

#include <atomic>

#include <tolv/memory.h>
#include <wril/wril.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "indep/frame/Guard.h"

namespace
{
const char* const kMakeRoomTag = "MAKE_ROOM_FOR_BLOCK";

// Two separate values: a thread that allocates during a change may read one callback with the
// refcon of the other. The host sets both once, before the allocations that should call the
// callback.
std::atomic<U_PurgeRequestCallback> sPurgeCallback(nullptr);
std::atomic<void*> sPurgeRefcon(nullptr);

// Calls of the purge callback that the memory log has not counted.
std::atomic<U_u64> sPurgeRequests(0);

// Asks the host to purge, and again for as long as use falls.
class PurgeRun
{
public:
    PurgeRun(U_PurgeRequestCallback callback, void* refcon, U_u64 request, bool recycled)
        : mCallback(callback), mRefcon(refcon), mRequest(request), mRecycled(recycled)
    {
    }

    U_Status Run()
    {
        mPrepurge = Up_LimitsInForce().mPrepurge;
        U_Status failure = 0;
        while (!failure && !mDone)
            failure = Round();
        return failure;
    }

private:
    U_Status Round()
    {
        const bool first = !mMeasured;
        const U_u64 previous = mUsed;
        mMeasured = true;
        if (U_Status failure = Up_GetMemoryStat(U_MemStat_InUse, &mUsed, !mRecycled))
            return failure;
        if (Up_Fits(mUsed, mRequest, mPrepurge))
        {
            mDone = true;
            LogSafely([&] {
                WRIL_sprintf(0, "U", kMakeRoomTag,
                             "DONE. Under threshold with inUse=%lld, prepurgelimit=%lld, "
                             "request=%lld, recycled=%d",
                             static_cast<U_i64>(mUsed), static_cast<U_i64>(mPrepurge),
                             static_cast<U_i64>(mRequest), mRecycled);
            });
            return 0;
        }
        const U_u64 amount = Amount();
        if (first || mUsed < previous)
            return AskHost(amount);
        PurgePool(amount);
        return 0;
    }

    // Returns the bytes that must be freed so that the request fits.
    U_u64 Amount() const
    {
        return mUsed < mPrepurge ? mRequest - (mPrepurge - mUsed)
                                 : Up_AddSizes(mUsed - mPrepurge, mRequest);
    }

    U_Status AskHost(U_u64 amount)
    {
        LogSafely([&] {
            WRIL_sprintf(0, "U", kMakeRoomTag,
                         "Issuing Purge Request\tblock_request:\t%llu\tamt_to_purge:\t%lld",
                         mRequest, static_cast<U_i64>(amount));
        });
        sPurgeRequests.fetch_add(1, std::memory_order_relaxed);
        return mCallback(mRefcon, mRequest, amount, &mFlag);
    }

    // Called when use did not fall. Shrinks the recycled pool if the host has set the flag and the
    // block itself is not taken from the pool.
    void PurgePool(U_u64 amount)
    {
        if (!mFlag || mRecycled)
        {
            mDone = true;
            LogSafely([&] {
                WRIL_sprintf(0, "U", kMakeRoomTag,
                             "DONE. Purge not freeing anything (but maybe recycled memory), "
                             "recycled=%d",
                             mRecycled);
            });
        }
        else if (U_PurgeRecycledMemory(amount) < amount)
        {
            mDone = true;
            LogSafely([&] {
                WRIL_Log(0, "U", kMakeRoomTag, "DONE. Purge recycled not freeing anything");
            });
        }
    }

    const U_PurgeRequestCallback mCallback;
    void* const mRefcon;
    const U_u64 mRequest;
    const bool mRecycled;
    U_u64 mPrepurge = 0; // kept for the whole run
    U_u64 mUsed = 0;
    bool mMeasured = false;
    bool mFlag = false;
    bool mDone = false;
};
} // namespace

U_Status Up_MakeRoomForBlock(U_u64 request, bool recycled)
{
    const U_PurgeRequestCallback callback = sPurgeCallback.load(std::memory_order_acquire);
    void* refcon = sPurgeRefcon.load(std::memory_order_relaxed);
    TOLV_SyncMemUsageWithOS();
    if (!callback)
        return 0;
    return PurgeRun(callback, refcon, request, recycled).Run();
}

U_u64 Up_TakePurgeRequests()
{
    return sPurgeRequests.exchange(0, std::memory_order_relaxed);
}

U_Status U_SetPurgeRequestCallback(U_PurgeRequestCallback callback, void* refcon)
{
    sPurgeRefcon.store(refcon, std::memory_order_relaxed);
    sPurgeCallback.store(callback, std::memory_order_release);
    return 0;
}

U_Status U_GetPurgeRequestCallback(U_PurgeRequestCallback* callback, void** refcon)
{
    if (callback)
        *callback = sPurgeCallback.load(std::memory_order_acquire);
    if (refcon)
        *refcon = sPurgeRefcon.load(std::memory_order_relaxed);
    return 0;
}

void Up_ClearPurgeRequestCallback()
{
    U_SetPurgeRequestCallback(nullptr, nullptr);
}
