#include <atomic>

#include <win32/process.h>

#include "memory.h"
#include "private/switches.h"
#include "private/tracked_usage.h"

namespace
{
const int kBadParameter = -50;

// Two separate values without a lock: a thread that reads during a change may get one old
// and one new value.
struct Limits
{
    std::atomic<unsigned long long> mPrepurge{0};
    std::atomic<unsigned long long> mMaximum{0};

    int Get(unsigned long long* prepurge, unsigned long long* maximum) const
    {
        if (!prepurge || !maximum)
            return kBadParameter;
        *prepurge = mPrepurge.load(std::memory_order_acquire);
        *maximum = mMaximum.load(std::memory_order_relaxed);
        return 0;
    }

    int Set(unsigned long long prepurge, unsigned long long maximum)
    {
        // A reader that sees the first prepurge limit, which marks the limits as set, also
        // sees the maximum.
        mMaximum.store(maximum, std::memory_order_relaxed);
        mPrepurge.store(prepurge, std::memory_order_release);
        return 0;
    }
};

Limits sBase;
Limits sOverride;

// The functions of the library. Installed and removed while no other thread measures.
std::atomic<unsigned long long (*)()> sBytesInUse(nullptr);
std::atomic<unsigned long long (*)()> sExternalBytes(nullptr);
std::atomic<bool (*)()> sIsMainThread(nullptr);

std::atomic<unsigned long long> sSlop(0);
std::atomic<int> sPrePurgingDisabled(0); // kept but not read: this heap never purges by itself
std::atomic<short> sUsageError(0);
std::atomic<unsigned int> sSyncCount(0);
std::atomic<bool> sDialogsQuieted(false);
} // namespace

int MEM_AccountAllocation(int delta)
{
    tolv::AddUsage(tolv::MyRecord(), delta);
    return 0;
}

int MEM_AccountSystemAllocation(long long delta)
{
    tolv::AddUsage(tolv::MyRecord(), delta);
    return 0;
}

int MEM_AccountFrames(long long delta)
{
    tolv::AddFrames(tolv::MyRecord(), delta);
    return 0;
}

long long MEM_GetFrames()
{
    return tolv::Frames();
}

unsigned long long MEM_GetMemUsageWithFrames(long long* frames)
{
    return tolv::UsageWithFrames(tolv::tRecord, frames);
}

unsigned long long MEM_GetMemUsage()
{
    return tolv::UsageSeenBy(tolv::tRecord);
}

short MEM_ClaimUsage(unsigned long long size, unsigned long long growth, unsigned long long limit,
                     const MEM_Pool* pool, MEM_Claim* claim)
{
    if (!claim)
        return kBadParameter;
    *claim = MEM_Claim();
    if (const short failure = sUsageError.load(std::memory_order_relaxed))
        return failure;
    tolv::ThreadRecord* const record = tolv::MyRecord();
    claim->mOuter = record ? record->mClaimed : 0;
    claim->mFits = tolv::ClaimUsage(record, size, growth, limit, pool, &claim->mUsage);
    return 0;
}

void MEM_EndClaim(const MEM_Claim* claim)
{
    tolv::ThreadRecord* const record = tolv::tRecord;
    if (claim && claim->mFits && record)
        tolv::ReleaseClaim(*record, claim->mOuter);
}

int MEM_GetMemUsageLimits(unsigned long long* prepurge, unsigned long long* maximum)
{
    return sBase.Get(prepurge, maximum);
}

int MEM_SetMemUsageLimits(unsigned long long prepurge, unsigned long long maximum)
{
    return sBase.Set(prepurge, maximum);
}

int MEM_GetMemUsageLimitsOverride(unsigned long long* prepurge, unsigned long long* maximum)
{
    return sOverride.Get(prepurge, maximum);
}

int MEM_SetMemUsageLimitsOverride(unsigned long long prepurge, unsigned long long maximum)
{
    return sOverride.Set(prepurge, maximum);
}

void TOLV_Install_U_Callback(const TOLV_U_Callbacks* callbacks)
{
    if (!callbacks)
        return;
    sBytesInUse = callbacks->bytesInUse;
    sExternalBytes = callbacks->externalBytes;
    sIsMainThread = callbacks->isMainThread;
}

short TOLV_TotalMemoryUsed(unsigned long long* out)
{
    if (!out)
        return kBadParameter;
    const auto bytesInUse = sBytesInUse.load(std::memory_order_acquire);
    const auto externalBytes = sExternalBytes.load(std::memory_order_acquire);
    *out = bytesInUse ? bytesInUse() : MEM_GetMemUsage();
    if (externalBytes)
        *out += externalBytes();
    return sUsageError.load(std::memory_order_relaxed);
}

void TOLV_SyncMemUsageWithOS()
{
    sSyncCount.fetch_add(1, std::memory_order_relaxed);
    win32::PROCESS_MEMORY_COUNTERS counters = {};
    if (!win32::GetProcessMemoryInfo(win32::GetCurrentProcess(), &counters, sizeof(counters)))
        return;
    const unsigned long long resident = counters.WorkingSetSize;
    const unsigned long long tracked = MEM_GetMemUsage();
    sSlop.store(resident > tracked ? resident - tracked : 0, std::memory_order_relaxed);
}

short TOLV_GetSlop(unsigned long long* out)
{
    if (!out)
        return kBadParameter;
    *out = sSlop.load(std::memory_order_relaxed);
    return 0;
}

int TOLV_DisableProactivePrePurging()
{
    sPrePurgingDisabled.fetch_add(1);
    return 0;
}

int TOLV_EnableProactivePrePurging()
{
    sPrePurgingDisabled.fetch_sub(1);
    return 0;
}

void TOLV_QuietMemDialogs()
{
    sDialogsQuieted = true;
}

namespace tolv
{
void SetUsageError(short code)
{
    sUsageError = code;
}

unsigned int SyncMemUsageCount()
{
    return sSyncCount.load(std::memory_order_relaxed);
}

bool MemDialogsQuieted()
{
    return sDialogsQuieted;
}

void ResetSwitches()
{
    SetHeapFailure(boost::function<bool(unsigned long long)>());
    SetHeapChecks(nullptr);
    sUsageError = 0;
    sSyncCount = 0;
    sDialogsQuieted = false;
    ResetFlushEventsCount();
}
} // namespace tolv
