// Decisions of the budget, for the allocation loop and the statistics.

#ifndef INDEP_U_MEMORY_BUDGET_H
#define INDEP_U_MEMORY_BUDGET_H

#include <tolv/memory.h>

#include "U_Types.h"

// A charge to the tracked use for a block that the calling thread is about to allocate.
//
// The comparison with the limit and the claim are one atomic step, so two threads never get the
// same room. The charge for the block itself is paid out of the claim. Until that charge the
// thread's own measurements leave the claim out.
class Claim
{
public:
    // `size`: bytes that are compared with the limits. `growth`: bytes by which the block raises
    // the tracked use. `recycled`: the block may be taken from the recycled pool, which then does
    // not count as use.
    Claim(U_u64 size, U_u64 growth, bool recycled)
        : mSize(size), mGrowth(growth), mRecycled(recycled)
    {
    }
    ~Claim() { End(); }
    Claim(const Claim&) = delete;
    Claim& operator=(const Claim&) = delete;

    U_u64 Size() const { return mSize; }
    bool IsRecycled() const { return mRecycled; }

    // If use plus the size is at most the limit, makes the claim and sets *fits. Returns 0 or an
    // error of the measurement.
    // REQUIRES: the claim is new or has ended, or the size did not fit.
    U_Status TryUnder(U_u64 limit, bool* fits);

    // Works like TryUnder, and counts the recycled pool as use also for a recycled block.
    U_Status TryUnderWithPool(U_u64 limit, bool* fits);

    // Returns the use of the last comparison. Valid if the size did not fit.
    U_u64 Use() const { return mUse; }

    // Sets the limit for Renew.
    void SetCeiling(U_u64 limit) { mCeiling = limit; }

    // Claims again before one more attempt, if there is room below the ceiling. The attempt is
    // made in any case; an attempt without a claim may pass the maximum limit.
    void Renew();

    // Cancels the part of the claim that no charge was paid from.
    void End()
    {
        if (mClaim.mFits)
            Cancel();
    }

private:
    U_Status Try(U_u64 limit, const MEM_Pool* pool, bool* fits);
    void Cancel();

    const U_u64 mSize;
    const U_u64 mGrowth;
    const bool mRecycled;
    U_u64 mUse = 0;
    U_u64 mCeiling = 0;
    MEM_Claim mClaim;
};

// In bytes.
struct MemoryLimits
{
    U_u64 mPrepurge = 0;
    U_u64 mMaximum = 0;
};

// Returns the limits of U_GetMemUsageLimits.
MemoryLimits Up_LimitsInForce();

// Counts a block of that size. Returns whether the block is to be measured against the
// limits: a block of 2 KiB or more, or the 256th smaller block in a row, unless proactive
// purging is disabled.
bool Up_IsMeasured(U_u64 size);

// Decides whether the claim's block may be allocated, and makes the claim. Makes room first if the
// block does not fit under the prepurge limit. Returns 0 or an error of the measurement, with *okay
// false.
U_Status Up_MeasureAndDecide(Claim& claim, bool* okay);

// Decides like Up_MeasureAndDecide. A block that is not measured may be allocated.
inline U_Status Up_OkayToAllocBlock(Claim& claim, bool* okay)
{
    *okay = true;
    return Up_IsMeasured(claim.Size()) ? Up_MeasureAndDecide(claim, okay) : 0;
}

// Asks the host to purge until `request` bytes fit under the prepurge limit, or until use no longer
// falls. Returns 0 or the error that ended the run.
U_Status Up_MakeRoomForBlock(U_u64 request, bool recycled);

// Returns the count of calls of the purge callback since the last call of this function.
U_u64 Up_TakePurgeRequests();

// The parts of a measured use that a statistic subtracts. A second reading of a part could exceed
// the use.
struct UseParts
{
    U_u64 mPool = 0;           // the recycled pool
    U_i64 mFrames = 0;         // the frame allocation counter, if it is wanted
    bool mWantsFrames = false; // set by the caller
};

// Measures use with the recycled pool, and the parts of that use.
U_Status Up_MeasureUse(U_u64* total, UseParts* parts);

// Stores the statistic of U_GetMemoryStat. `countRecycled`: the recycled pool counts as use.
U_Status Up_GetMemoryStat(U_u32 which, U_u64* out, bool countRecycled);

// Stores the free physical memory less the fudge buffer, in bytes, which may be negative. Returns
// false if the library pays no attention to low memory or the system has no figure.
bool Up_FreeAboveFudgeBuffer(U_i64* bytes);

// Returns `prepurge`, lowered so that the fudge buffer stays free. `free`: the figure of
// Up_FreeAboveFudgeBuffer. The result is at least 1, since 0 means that no limit is set. A limit of
// 0 is not changed.
U_u64 Up_LoweredPrepurge(U_u64 prepurge, U_u64 used, U_i64 free);

// Returns whether the sum of `used` and `more` bytes is at most the limit.
inline bool Up_Fits(U_u64 used, U_u64 more, U_u64 limit)
{
    return used <= limit && more <= limit - used;
}

// Returns the sum of two sizes, or the largest size if the sum is larger.
inline U_u64 Up_AddSizes(U_u64 left, U_u64 right)
{
    return left + right < left ? ~U_u64(0) : left + right;
}

// Reads the budget's settings.
void Up_ReadBudgetSettings();

// Logs "fudgebuffer" and "goDirect".
void Up_LogBudgetSettings();

void Up_ClearPurgeRequestCallback();

#endif
