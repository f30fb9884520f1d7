// The limits, the budget's settings, and the attention to low memory.

#include "U_Budget.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <string>

#include <krobase/debug.h>
#include <krobase/machine.h>
#include <platform/base/integer_text.h>
#include <tolv/memory.h>
#include <win32/memory.h>
#include <wril/wril.h>

#include "indep/U_Memory/Budget.h"
#include "indep/errors/Report.h"

namespace
{
const U_u64 kLeastGap = 0x100000; // bytes between the two limits
const U_i64 kDefaultFudgeBuffer = 262144000;

U_i64 sFudgeBuffer = kDefaultFudgeBuffer; // bytes; written by birth
bool sGoDirect = true;                    // only logged
std::atomic<U_u32> sPayAttention(0);

std::string Setting(const char* key, const std::string& defaultText)
{
    return krobase::debug::DebugDatabase::Instance().GetEntry(key, defaultText.c_str());
}

void Lower(U_u64& limit, U_u64 override)
{
    if (override && override < limit)
        limit = override;
}

// The limits as they are stored: the maximum is the larger value, and the gap is kept. If little
// memory is free, the prepurge limit is lowered so that the fudge buffer stays free.
struct NormalLimits
{
    NormalLimits(U_u64 prepurge, U_u64 maximum) : mMaximum(std::max(prepurge, maximum))
    {
        // If the maximum is below the gap, the difference wraps, so the prepurge limit is kept.
        mPrepurge = std::min(prepurge, mMaximum - kLeastGap);
        U_i64 free = 0;
        if (!Up_FreeAboveFudgeBuffer(&free))
            return;
        U_u64 use = 0;
        Up_GetMemoryStat(U_MemStat_InUse, &use, true);
        mPrepurge = Up_LoweredPrepurge(mPrepurge, use, free);
    }

    U_u64 mMaximum;
    U_u64 mPrepurge;
};
} // namespace

void Up_ReadBudgetSettings()
{
    const std::string fudgeBuffer =
        Setting("MemoryFudgeBuffer2", std::to_string(kDefaultFudgeBuffer));
    sFudgeBuffer = 0; // for a text that is no number
    platform::ReadInteger(fudgeBuffer.c_str(), &sFudgeBuffer);
    sGoDirect = Setting("MemoryAccountDirect2", "true") == "true";
}

void Up_LogBudgetSettings()
{
    WRIL_sprintf(0, "U", "Up_InitializeMemorySubsystem", "fudgebuffer=%lld, goDirect=%d",
                 sFudgeBuffer, sGoDirect);
}

bool Up_FreeAboveFudgeBuffer(U_i64* bytes)
{
    win32::MEMORYSTATUSEX status = {};
    status.dwLength = sizeof(status);
    if (sFudgeBuffer == 0 || !U_GetPayAttentionToLowMemory() ||
        !win32::GlobalMemoryStatusEx(&status))
        return false;
    *bytes = static_cast<U_i64>(status.ullAvailPhys - static_cast<U_u64>(sFudgeBuffer));
    return true;
}

U_u64 Up_LoweredPrepurge(U_u64 prepurge, U_u64 used, U_i64 free)
{
    if (prepurge == 0 || free >= static_cast<U_i64>(prepurge - used))
        return prepurge;
    const U_i64 lowered = static_cast<U_i64>(used) + free;
    return lowered > 0 ? static_cast<U_u64>(lowered) : 1;
}

MemoryLimits Up_LimitsInForce()
{
    MemoryLimits limits;
    MemoryLimits overrides;
    MEM_GetMemUsageLimits(&limits.mPrepurge, &limits.mMaximum);
    MEM_GetMemUsageLimitsOverride(&overrides.mPrepurge, &overrides.mMaximum);
    Lower(limits.mPrepurge, overrides.mPrepurge);
    Lower(limits.mMaximum, overrides.mMaximum);
    if (limits.mPrepurge == 0)
    {
        const U_u64 physical = krobase::utility::TotalPhysicalMemory();
        limits = {static_cast<U_u64>(0.7 * static_cast<double>(physical)), physical};
    }
    return limits;
}

U_Status U_GetMemUsageLimits(U_u64* prepurge, U_u64* maximum)
{
    if (!prepurge || !maximum)
        return BadArgument("U_GetMemUsageLimits: no place for a limit");
    const MemoryLimits limits = Up_LimitsInForce();
    *prepurge = limits.mPrepurge;
    *maximum = limits.mMaximum;
    return 0;
}

U_Status U_SetMemUsageLimits(U_u64 prepurge, U_u64 maximum)
{
    const NormalLimits limits(prepurge, maximum);
    return MEM_SetMemUsageLimits(limits.mPrepurge, limits.mMaximum);
}

U_Status U_SetMemUsageLimitsOverride(U_u64 prepurge, U_u64 maximum)
{
    const NormalLimits limits(prepurge, maximum);
    return MEM_SetMemUsageLimitsOverride(limits.mPrepurge, limits.mMaximum);
}

bool U_GetPayAttentionToLowMemory()
{
    return sPayAttention.load() != 0;
}

void U_SetPayAttentionToLowMemory(bool pay)
{
    sPayAttention.store(pay ? 1 : 0);
}
