// The limits, the decision about a block, and the statistics.

#include <cstdlib>
#include <limits>

#include <gmock/gmock.h>

#include <control.h>
#include <tolv/memory.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "U_Lifecycle.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/NoMemory.h"

namespace
{
struct Pair
{
    U_u64 prepurge;
    U_u64 maximum;
};

class Budget : public BornLibrary
{
protected:
    static Pair Limits()
    {
        Pair limits = {};
        EXPECT_EQ(U_GetMemUsageLimits(&limits.prepurge, &limits.maximum), 0);
        return limits;
    }

    static U_u64 Stat(U_u32 which)
    {
        U_u64 value = 1234567;
        EXPECT_EQ(U_GetMemoryStat(which, &value), 0);
        return value;
    }

    // Whether a block of that size is had. Frees it again.
    static bool Had(U_u64 size)
    {
        void* block = U_AllocatePtrQuiet(size);
        U_FreePtr(block);
        return block != nullptr;
    }

    // Whether the last call measured: the limits stand below use, so that a
    // measured block is told in the log.
    bool Measured()
    {
        const bool measured = !mLog.Texts("MEM").empty();
        mLog.Clear();
        return measured;
    }

    static bool MallocGives(U_u64 size)
    {
        void* volatile block = std::malloc(size); // or the pair is optimised away
        std::free(block);
        return block != nullptr;
    }

    // Fills the pool with bytes of blocks given back.
    static void FillPool(U_u64 bytes)
    {
        const U_u64 before = U_GetRecycledMemorySize();
        void* block = U_AllocateRecycledPtr(0, nullptr, bytes);
        U_FreeRecycledPtr(block);
        ASSERT_GE(U_GetRecycledMemorySize(), before + bytes);
    }
};
} // namespace

TEST_F(Budget, LimitsAreNormalised)
{
    struct Row
    {
        Pair set;
        Pair stored;
    };
    const Row rows[] = {
        {{100 * kMiB, 50 * kMiB}, {99 * kMiB, 100 * kMiB}},
        {{100 * kMiB, 200 * kMiB}, {100 * kMiB, 200 * kMiB}},
        {{100 * kMiB, 101 * kMiB}, {100 * kMiB, 101 * kMiB}},
        {{100 * kMiB, 101 * kMiB - 1}, {100 * kMiB - 1, 101 * kMiB - 1}},
        {{10, 20}, {10, 20}},    // no room for the gap
        {{10, kMiB}, {0, kMiB}}, // 0 is read as never set
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(testing::Message() << row.set.prepurge << " " << row.set.maximum);
        EXPECT_EQ(U_SetMemUsageLimits(row.set.prepurge, row.set.maximum), 0);
        Pair stored = {};
        MEM_GetMemUsageLimits(&stored.prepurge, &stored.maximum);
        EXPECT_EQ(stored.prepurge, row.stored.prepurge);
        EXPECT_EQ(stored.maximum, row.stored.maximum);
        EXPECT_EQ(U_SetMemUsageLimitsOverride(row.set.prepurge, row.set.maximum), 0);
        MEM_GetMemUsageLimitsOverride(&stored.prepurge, &stored.maximum);
        EXPECT_EQ(stored.prepurge, row.stored.prepurge);
        EXPECT_EQ(stored.maximum, row.stored.maximum);
    }
}

TEST_F(Budget, OverridesHoldWhereTheyAreLower)
{
    struct Row
    {
        Pair base;
        Pair override;
        Pair effective;
    };
    const Pair base = {200, 400};
    const Pair machine = {7 * 8192 / 10, 8192};
    const Row rows[] = {
        {base, {0, 0}, {200, 400}},     {base, {100, 300}, {100, 300}},
        {base, {100, 0}, {100, 400}},   {base, {0, 300}, {200, 300}},
        {base, {201, 401}, {200, 400}}, {base, {300, 300}, {200, 300}},
        {{0, 0}, {100, 300}, machine}, // there is nothing to be lower than
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(testing::Message() << row.override.prepurge << " " << row.override.maximum);
        MEM_SetMemUsageLimits(row.base.prepurge * kMiB, row.base.maximum * kMiB);
        MEM_SetMemUsageLimitsOverride(row.override.prepurge * kMiB, row.override.maximum * kMiB);
        EXPECT_EQ(Limits().prepurge / kMiB, row.effective.prepurge);
        EXPECT_EQ(Limits().maximum, row.effective.maximum * kMiB);
    }
}

TEST_F(Budget, LimitsNeverSetComeFromTheMachine)
{
    EXPECT_EQ(Limits().prepurge, static_cast<U_u64>(0.7 * static_cast<double>(kPhysicalMemory)));
    EXPECT_EQ(Limits().maximum, kPhysicalMemory);
    EXPECT_EQ(U_GetMemUsageLimits(nullptr, nullptr), 3);
}

TEST_F(Budget, ABlockMayPassThePrepurgeLimitButNotTheMaximum)
{
    struct Row
    {
        U_u64 prepurge; // above use
        U_u64 maximum;
        U_u64 size;
        bool had;
        bool purges;
    };
    const Row rows[] = {
        {10000, 20000, 10000, true, false},
        {10000, 20000, 10001, true, true},
        {10000, 20000, 20000, true, true},
        {10000, 20000, 20001, false, true},
        {0, 0, 2048, false, true},
        {0, 0, 2047, true, false}, // small blocks are measured one in 256
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(testing::Message() << row.size);
        Had(4096); // starts the count of small blocks
        SetLimitsAboveUse(row.prepurge, row.maximum);
        mLog.Clear();
        EXPECT_EQ(Had(row.size), row.had);
        EXPECT_EQ(Measured(), row.purges);
    }
}

TEST_F(Budget, ARefusedBlockIsToldInTheLog)
{
    SetLimitsAboveUse(0, 100);
    const U_u64 used = InUse();
    const U_u64 wanted = static_cast<U_u64>(5000 + 0.02 * static_cast<double>(Limits().prepurge));
    mLog.Clear();
    EXPECT_EQ(U_AllocatePtr(1, "Refused", 5000), nullptr);
    EXPECT_EQ(mLog.Texts(), (std::vector<std::string>{
                                "MEM: Amount Requested above tracked usage thresh. used:\t" +
                                    std::to_string(used) + "\trequest:\t" + std::to_string(wanted) +
                                    "\tthresh:" + std::to_string(Limits().prepurge),
                                "Up_AllocateShared: Up_OkayToAllocBlock did not say ok, size=5000",
                                "ALLOC_FAILED_UNABLE_TO_RECOVER: what:Refused"}));
}

TEST_F(Budget, OneSmallBlockIn256IsMeasured)
{
    for (int start : {0, 100})
    {
        SetLimitsAboveUse(0, 0);
        mLog.Clear();
        for (int i = 0; i < start; ++i)
            EXPECT_TRUE(Had(100));
        EXPECT_FALSE(Had(2048)) << "measured, and starts the count again";
        EXPECT_TRUE(Measured());
        for (int i = 1; i <= 255; ++i)
            ASSERT_TRUE(Had(100)) << i;
        EXPECT_FALSE(Measured());
        EXPECT_FALSE(Had(100)) << "the 256th";
        EXPECT_TRUE(Measured());
        EXPECT_TRUE(Had(100)) << "the count starts again";
    }
    Had(4096);
}

TEST_F(Budget, NothingIsMeasuredWhileDisabled)
{
    SetLimitsAboveUse(0, 0);
    {
        U_ScDisableProactivePrePurging outer;
        {
            U_ScDisableProactivePrePurging inner;
            outer = inner; // copies nothing
        }
        EXPECT_TRUE(Had(1000000));
        EXPECT_TRUE(mLog.Texts().empty());
    }
    EXPECT_FALSE(Had(1000000));
}

TEST_F(Budget, LowMemoryLowersThePrepurgeLimit)
{
    const U_u64 used = InUse();
    const U_u64 fudge = 262144000;
    struct Row
    {
        bool pays;
        U_u64 available;
        U_u64 prepurge;
    };
    const U_u64 asked = used + 1000 * kMiB;
    const Row rows[] = {
        {false, fudge, asked},
        {true, fudge + 1000 * kMiB, asked},
        {true, fudge + 100 * kMiB, used + 100 * kMiB},
        {true, fudge - 10 * kMiB, used - 10 * kMiB},
        {true, fudge - used + 2, 2},
        {true, fudge - used, 1}, // 0 would be read as never set
        {true, 1, 1},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(testing::Message() << row.pays << " " << row.available);
        U_SetPayAttentionToLowMemory(row.pays);
        EXPECT_EQ(U_GetPayAttentionToLowMemory(), row.pays);
        platform::SetPhysicalMemory(kPhysicalMemory, row.available);
        U_SetMemUsageLimits(asked, asked + 500 * kMiB);
        EXPECT_EQ(Limits().prepurge, row.prepurge);
        U_SetMemUsageLimitsOverride(asked, asked + 500 * kMiB);
        Pair stored = {};
        MEM_GetMemUsageLimitsOverride(&stored.prepurge, &stored.maximum);
        EXPECT_EQ(stored.prepurge, row.prepurge);
        MEM_SetMemUsageLimitsOverride(0, 0);

        MEM_SetMemUsageLimits(asked, asked + 500 * kMiB);
        EXPECT_EQ(Stat(U_MemStat_InUse), used);
        EXPECT_EQ(Limits().prepurge, asked) << "just asking changes nothing";
        EXPECT_EQ(Stat(U_MemStat_InUseLowMemory), used);
        EXPECT_EQ(Limits().prepurge, row.prepurge);
        EXPECT_EQ(Limits().maximum, asked + 500 * kMiB);
        platform::SetPhysicalMemory(kPhysicalMemory, kAvailableMemory);
        EXPECT_EQ(Limits().prepurge, row.prepurge) << "it stays lowered";
    }

    // What was never set has no limit to be lowered, and refuses nothing.
    platform::SetPhysicalMemory(kPhysicalMemory, 1);
    for (int setting = 0; setting < 2; ++setting)
    {
        MEM_SetMemUsageLimits(0, 0);
        if (setting)
            U_SetMemUsageLimits(0, 0);
        EXPECT_EQ(Stat(U_MemStat_InUseLowMemory), used);
        EXPECT_EQ(Limits().maximum, kPhysicalMemory);
        EXPECT_TRUE(Had(100000));
    }
}

TEST_F(Budget, TheFudgeBufferIsASettingReadAtBirth)
{
    struct Row
    {
        const char* setting;
        U_u64 room; // that low memory leaves, in MiB
    };
    for (const Row& row : {Row{"104857600", 300}, Row{"0", 1000}})
    {
        SCOPED_TRACE(row.setting);
        ASSERT_EQ(U_Death(), 0);
        platform::SetDebugSetting("MemoryFudgeBuffer2", row.setting);
        ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
        U_SetPayAttentionToLowMemory(true);
        platform::SetPhysicalMemory(kPhysicalMemory, 400 * kMiB);
        const U_u64 used = InUse();
        U_SetMemUsageLimits(used + 1000 * kMiB, used + 2000 * kMiB);
        EXPECT_EQ(Limits().prepurge, used + row.room * kMiB);
    }
}

TEST_F(Budget, StatisticsTellUseAndRoom)
{
    FillPool(kMiB);
    const U_u64 pool = U_GetRecycledMemorySize();
    SetLimitsAboveUse(10 * kMiB, 30 * kMiB);
    void* block = U_AllocatePtrQuiet(kMiB);
    EXPECT_EQ(Stat(U_MemStat_InUse), MEM_GetMemUsage() + pool);
    EXPECT_EQ(Stat(U_MemStat_RoomToPrepurge), 9 * kMiB);
    EXPECT_EQ(Stat(U_MemStat_RoomToMaximum), 29 * kMiB);
    EXPECT_EQ(Stat(U_MemStat_RoomForRecycled), 9 * kMiB + pool);
    EXPECT_EQ(Stat(U_MemStat_InUseByLibrary), MEM_GetMemUsage());
    U_AccountFrameAllocation(4 * static_cast<U_i64>(kMiB));
    EXPECT_EQ(Stat(U_MemStat_InUseWithoutFrames), MEM_GetMemUsage() + pool - 4 * kMiB);
    U_AccountFrameAllocation(-4 * static_cast<U_i64>(kMiB));
    EXPECT_EQ(Stat(8), 0u);

    MEM_SetMemUsageLimits(1000, 2000);
    EXPECT_EQ(Stat(U_MemStat_RoomToPrepurge), 0u);
    EXPECT_EQ(Stat(U_MemStat_RoomToMaximum), 0u);
    U_FreePtr(block);

    platform::SetUsageError(-50);
    U_u64 value = 0;
    for (U_u32 which : {0u, 1u, 2u, 3u, 5u, 6u, 7u})
        EXPECT_EQ(U_GetMemoryStat(which, &value), -50) << which;
    EXPECT_EQ(U_GetMemoryStat(0, nullptr), 3);
}

TEST_F(Budget, TheLargestBlockIsWhatMallocGives)
{
    if (kHugeBlocksAreSlow)
        GTEST_SKIP();
    U_u64 largest = 0;
    bool gives = false;
    bool givesMore = true;
    {
        const ScAddressSpaceLimit limited(300 * kMiB);
        largest = Stat(U_MemStat_LargestBlock);
        gives = MallocGives(largest);
        givesMore = MallocGives(largest + 1024);
    }
    EXPECT_TRUE(gives) << largest;
    EXPECT_FALSE(givesMore) << largest;
    EXPECT_LT(Stat(U_MemStat_LargestBlock), 0xC0000000) << "where malloc gives more";
    EXPECT_GT(Stat(U_MemStat_LargestBlock), largest);
}

TEST_F(Budget, UseByTheLibraryStopsAboveZero)
{
    FillPool(kMiB);
    struct Row
    {
        unsigned long long (*bytesInUse)();
        U_u64 byLibrary;
    };
    const Row rows[] = {
        {[] { return U_GetRecycledMemorySize() + 1000; }, 1000},
        {[] { return U_GetRecycledMemorySize(); }, 0}, // exactly zero stays
        {[] { return U_GetRecycledMemorySize() - 1000; }, 1},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.byLibrary);
        const TOLV_U_Callbacks callbacks = {row.bytesInUse, nullptr, nullptr};
        TOLV_Install_U_Callback(&callbacks);
        EXPECT_EQ(Stat(U_MemStat_InUseByLibrary), row.byLibrary);
    }
}

TEST_F(Budget, AccountingChargesAndChecksItsRange)
{
    const U_u64 used = InUse();
    const U_i64 large = 5ll << 32;
    U_AccountAllocation(1000);
    U_AccountSystemAllocation(large);
    U_AccountFrameAllocation(large);
    EXPECT_EQ(InUse(), used + 1000 + 2 * static_cast<U_u64>(large));
    U_AccountFrameAllocation(-large);
    U_AccountSystemAllocation(-large);
    U_AccountAllocation(-1000);
    const U_i64 most = std::numeric_limits<U_i64>::max();
    U_AccountSystemAllocation(most); // a host's mistake must be undoable
    U_AccountSystemAllocation(-most);
    EXPECT_EQ(InUse(), used);
    EXPECT_EQ(U_AccountAllocationEx(0x7FFFFFFF, true), 0);
    EXPECT_EQ(InUse(), used + 0x7FFFFFFF);
    EXPECT_TRUE(mAlerts.Texts().empty());
    EXPECT_EQ(U_AccountAllocationEx(0x80000000, true), 3);
    EXPECT_THAT(mAlerts.Texts(), testing::ElementsAre(testing::HasSubstr("U_AccountAllocationEx")));
    EXPECT_EQ(InUse(), used + 0x7FFFFFFF);
    EXPECT_EQ(U_AccountAllocationEx(0x17FFFFFFF, false), 0) << "the low 32 bits";
    EXPECT_EQ(InUse(), used);
}
