// The limits, the decision about a block, and the statistics.

#include <cstdlib>
#include <limits>
#include <tuple>
#include <utility>

#include <gmock/gmock.h>

#include <platform/control.h>
#include <tolv/memory.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "U_Lifecycle.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/NoMemory.h"

namespace
{
typedef std::pair<U_u64, U_u64> Pair; // the prepurge and the maximum limit

typedef BornLibrary Budget;

template <class Get> Pair Read(Get get)
{
    Pair limits;
    EXPECT_EQ(get(&limits.first, &limits.second), 0);
    return limits;
}

Pair Limits()
{
    return Read(&U_GetMemUsageLimits);
}

U_u64 Prepurge()
{
    return Limits().first;
}

bool MallocSucceeds(U_u64 size)
{
    void* volatile block = std::malloc(size); // volatile, so that the compiler keeps the pair
    std::free(block);
    return block != nullptr;
}
} // namespace

TEST_F(Budget, LimitsAreNormalised)
{
    const std::pair<Pair, Pair> rows[] = {
        {{100 * kMiB, 50 * kMiB}, {99 * kMiB, 100 * kMiB}},
        {{100 * kMiB, 101 * kMiB}, {100 * kMiB, 101 * kMiB}},
        {{100 * kMiB, 101 * kMiB - 1}, {100 * kMiB - 1, 101 * kMiB - 1}},
        {{10, 20}, {10, 20}},    // no room for the gap
        {{10, kMiB}, {0, kMiB}}, // 0 is read as never set
    };
    for (const auto& [set, expected] : rows)
    {
        EXPECT_EQ(U_SetMemUsageLimits(set.first, set.second), 0);
        EXPECT_EQ(U_SetMemUsageLimitsOverride(set.first, set.second), 0);
        EXPECT_EQ(Read(&MEM_GetMemUsageLimits), expected);
        EXPECT_EQ(Read(&MEM_GetMemUsageLimitsOverride), expected);
    }
}

TEST_F(Budget, OverridesApplyWhereTheyAreLower)
{
    const Pair base = {200, 400};
    const std::tuple<Pair, Pair, Pair> rows[] = {
        // the limits, the overrides and the result, all in MiB
        {base, {0, 0}, {200, 400}},
        {base, {100, 300}, {100, 300}},
        {base, {100, 0}, {100, 400}},
        {base, {0, 300}, {200, 300}},
        {base, {201, 401}, {200, 400}},
        {{0, 0}, {100, 300}, {7 * 8192 / 10, 8192}}, // the machine's
    };
    for (const auto& [set, lower, effective] : rows)
    {
        MEM_SetMemUsageLimits(set.first * kMiB, set.second * kMiB);
        MEM_SetMemUsageLimitsOverride(lower.first * kMiB, lower.second * kMiB);
        EXPECT_EQ(Pair(Limits().first / kMiB, Limits().second / kMiB), effective);
    }
    EXPECT_EQ(U_GetMemUsageLimits(nullptr, nullptr), 3);
}

TEST_F(Budget, ABlockMayPassThePrepurgeLimitButNotTheMaximum)
{
    const std::tuple<U_u64, bool, bool> rows[] = {
        // size, allocated, above the prepurge limit
        {10000, true, false},
        {10001, true, true},
        {20000, true, true},
        {20001, false, true},
    };
    for (const auto& [size, isAllocated, isOver] : rows)
    {
        SCOPED_TRACE(size);
        SetLimitsAboveUse(10000, 20000);
        mLog.Clear();
        EXPECT_EQ(CanAllocate(size), isAllocated);
        EXPECT_EQ(mLog.Texts("MEM").empty(), !isOver);
    }
}

TEST_F(Budget, ARefusedBlockIsLogged)
{
    SetLimitsAboveUse(0, 100);
    const U_u64 used = InUse();
    const U_u64 wanted = static_cast<U_u64>(5000 + 0.02 * static_cast<double>(Prepurge()));
    mLog.Clear();
    EXPECT_EQ(U_AllocatePtr(1, "Refused", 5000), nullptr);
    EXPECT_EQ(mLog.Texts(), (std::vector<std::string>{
                                "MEM: Amount Requested above tracked usage thresh. used:\t" +
                                    std::to_string(used) + "\trequest:\t" + std::to_string(wanted) +
                                    "\tthresh:" + std::to_string(Prepurge()),
                                "Up_AllocateShared: Up_OkayToAllocBlock did not say ok, size=5000",
                                "ALLOC_FAILED_UNABLE_TO_RECOVER: what:Refused"}));
}

TEST_F(Budget, OneSmallBlockIn256IsMeasured)
{
    SetLimitsAboveUse(0, 0);
    for (int round = 0; round < 2; ++round)
    {
        EXPECT_FALSE(CanAllocate(2048)) << "measured, and starts the count";
        for (int i = 1; i <= 255; ++i)
            ASSERT_TRUE(CanAllocate(2047)) << i;
        EXPECT_FALSE(CanAllocate(100)) << "the 256th";
        for (int i = 0; i < 100; ++i)
            ASSERT_TRUE(CanAllocate(100)) << "the count starts again";
    }
    CanAllocate(4096);
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
        EXPECT_TRUE(CanAllocate(1000000));
        EXPECT_TRUE(mLog.Texts().empty());
    }
    EXPECT_FALSE(CanAllocate(1000000));
}

TEST_F(Budget, LowMemoryLowersThePrepurgeLimit)
{
    const U_u64 used = InUse();
    const U_u64 fudge = 262144000;
    const U_u64 asked = used + 1000 * kMiB;
    const std::tuple<bool, U_u64, U_u64> rows[] = {
        {false, fudge, asked},
        {true, fudge + 1000 * kMiB, asked},
        {true, fudge + 100 * kMiB, used + 100 * kMiB},
        {true, fudge - 10 * kMiB, used - 10 * kMiB},
        {true, fudge - used, 1}, // 0 would be read as never set
        {true, 1, 1},
    };
    for (const auto& [pays, available, prepurge] : rows)
    {
        SCOPED_TRACE(testing::Message() << pays << " " << available);
        U_SetPayAttentionToLowMemory(pays);
        platform::SetPhysicalMemory(kPhysicalMemory, available);
        U_SetMemUsageLimits(asked, asked + 500 * kMiB);
        EXPECT_EQ(Prepurge(), prepurge);
        MEM_SetMemUsageLimits(asked, asked + 500 * kMiB);
        EXPECT_EQ(Stat(U_MemStat_InUse), used);
        EXPECT_EQ(Prepurge(), asked) << "statistic 0 changes no limit";
        EXPECT_EQ(Stat(U_MemStat_InUseLowMemory), used);
        EXPECT_EQ(Prepurge(), prepurge);
        platform::SetPhysicalMemory(kPhysicalMemory, kAvailableMemory);
        EXPECT_EQ(Prepurge(), prepurge) << "the limit is still lowered";
    }

    // Limits that were never set are not lowered, and refuse no block.
    platform::SetPhysicalMemory(kPhysicalMemory, 1);
    U_SetMemUsageLimits(0, 0);
    EXPECT_EQ(Stat(U_MemStat_InUseLowMemory), used);
    EXPECT_EQ(Limits().second, kPhysicalMemory);
    EXPECT_TRUE(CanAllocate(100000));
}

TEST_F(Budget, BirthReadsTheSettings)
{
    // The fudge buffer, the room in MiB that it leaves, and the line of the log.
    const std::tuple<const char*, U_u64, const char*> rows[] = {
        {"104857600", 300, "fudgebuffer=104857600, goDirect=0"},
        {"0", 1000, "fudgebuffer=0, goDirect=0"},
    };
    platform::SetDebugSetting("MemoryAccountDirect2", "TRUE");
    for (const auto& [setting, room, line] : rows)
    {
        ASSERT_EQ(U_Death(), 0);
        platform::SetDebugSetting("MemoryFudgeBuffer2", setting);
        mLog.Clear();
        ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
        EXPECT_EQ(mLog.Texts("Up_InitializeMemorySubsystem"), std::vector<std::string>{line});
        U_SetPayAttentionToLowMemory(true);
        platform::SetPhysicalMemory(kPhysicalMemory, 400 * kMiB);
        const U_u64 used = InUse();
        U_SetMemUsageLimits(used + 1000 * kMiB, used + 2000 * kMiB);
        EXPECT_EQ(Prepurge(), used + room * kMiB);
    }
}

TEST_F(Budget, StatisticsReturnUseAndRoom)
{
    U_FreeRecycledPtr(U_AllocateRecycledPtr(0, nullptr, kMiB));
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

TEST_F(Budget, TheLargestBlockIsTheLargestOfMalloc)
{
    if (kHugeBlocksAreSlow)
        GTEST_SKIP();
    SKIP_UNLESS_MEMORY_CAN_BE_LIMITED();
    U_u64 largest = 0;
    bool succeeds = false;
    bool succeedsWithMore = true;
    {
        const ScAddressSpaceLimit limited(300 * kMiB);
        largest = Stat(U_MemStat_LargestBlock);
        succeeds = MallocSucceeds(largest);
        succeedsWithMore = MallocSucceeds(largest + 1024);
    }
    EXPECT_TRUE(succeeds) << largest;
    EXPECT_FALSE(succeedsWithMore) << largest;
    EXPECT_LT(Stat(U_MemStat_LargestBlock), 0xC0000000) << "the search ends below 3 GiB";
    EXPECT_GT(Stat(U_MemStat_LargestBlock), largest);
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
    U_AccountSystemAllocation(most); // a host can undo a wrong charge
    U_AccountSystemAllocation(-most);
    EXPECT_EQ(InUse(), used);
    EXPECT_EQ(U_AccountAllocationEx(0x7FFFFFFF, true), 0);
    EXPECT_TRUE(mAlerts.Texts().empty());
    EXPECT_EQ(U_AccountAllocationEx(0x80000000, true), 3);
    EXPECT_THAT(mAlerts.Texts(), testing::ElementsAre(testing::HasSubstr("U_AccountAllocationEx")));
    EXPECT_EQ(InUse(), used + 0x7FFFFFFF);
    EXPECT_EQ(U_AccountAllocationEx(0x17FFFFFFF, false), 0) << "the low 32 bits";
    EXPECT_EQ(InUse(), used);
}
