// The limits, the decision about a block, and the statistics.

#include <cstdlib>
#include <limits>
#include <tuple>
#include <utility>

#include <gmock/gmock.h>

#include <tolv/memory.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "U_Lifecycle.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/NoMemory.h"

namespace
{
typedef BornLibrary Budget;

U_u64 Prepurge()
{
    U_u64 prepurge = 0;
    U_u64 maximum = 0;
    EXPECT_EQ(U_GetMemUsageLimits(&prepurge, &maximum), 0);
    return prepurge;
}

bool MallocSucceeds(U_u64 size)
{
    void* volatile block = std::malloc(size); // volatile, so that the compiler keeps the pair
    std::free(block);
    return block != nullptr;
}
} // namespace

TEST_F(Budget, AMaximumBelowThePrepurgeLimitIsRaised)
{
    EXPECT_EQ(U_SetMemUsageLimits(100 * kMiB, 50 * kMiB), 0);
    EXPECT_EQ(Prepurge(), 99 * kMiB);
    U_SetMemUsageLimits(10, 20);
    EXPECT_EQ(Prepurge(), 10u) << "no room for the gap";
    U_SetMemUsageLimits(100 * kMiB, 101 * kMiB);
    EXPECT_EQ(Prepurge(), 100 * kMiB);
    MEM_SetMemUsageLimitsOverride(50 * kMiB, 0);
    EXPECT_EQ(Prepurge(), 50 * kMiB);
}

TEST_F(Budget, ARefusedBlockIsLogged)
{
    SetLimitsAboveUse(0, 100);
    const U_u64 used = InUse();
    const U_u64 wanted = static_cast<U_u64>(5000 + 0.02 * static_cast<double>(Prepurge()));
    mLog.Clear();
    EXPECT_EQ(U_AllocatePtr(1, "Refused", 5000), nullptr);
    EXPECT_EQ(mLog.Texts(),
              (Texts{"MEM: Amount Requested above tracked usage thresh. used:\t" +
                         std::to_string(used) + "\trequest:\t" + std::to_string(wanted) +
                         "\tthresh:" + std::to_string(Prepurge()),
                     "Up_AllocateShared: Up_OkayToAllocBlock did not say ok, size=5000",
                     "ALLOC_FAILED_UNABLE_TO_RECOVER: what:Refused"}));
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

TEST_F(Budget, LowMemoryLowersThePrepurgeLimitToOneAtTheLeast)
{
    const U_u64 used = InUse();
    const U_u64 fudge = 262144000;
    const U_u64 asked = used + 1000 * kMiB;
    const std::pair<U_u64, U_u64> rows[] = {
        // the machine's free memory, the limit
        {fudge - 10 * kMiB, used - 10 * kMiB},
        {fudge - used, 1}, // 0 would be read as never set
        {1, 1},
    };
    U_SetPayAttentionToLowMemory(true);
    for (const auto& [available, prepurge] : rows)
    {
        platform::SetPhysicalMemory(kPhysicalMemory, available);
        MEM_SetMemUsageLimits(asked, asked + 500 * kMiB);
        EXPECT_EQ(Stat(U_MemStat_InUse), used);
        EXPECT_EQ(Prepurge(), asked) << "statistic 0 changes no limit";
        EXPECT_EQ(Stat(U_MemStat_InUseLowMemory), used);
        EXPECT_EQ(Prepurge(), prepurge);
    }

    // Limits that were never set are not lowered, and refuse no block.
    U_SetMemUsageLimits(0, 0);
    EXPECT_EQ(Stat(U_MemStat_InUseLowMemory), used);
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
        EXPECT_EQ(mLog.Texts("Up_InitializeMemorySubsystem"), Texts{line});
        U_SetPayAttentionToLowMemory(true);
        platform::SetPhysicalMemory(kPhysicalMemory, 400 * kMiB);
        const U_u64 used = InUse();
        U_SetMemUsageLimits(used + 1000 * kMiB, used + 2000 * kMiB);
        EXPECT_EQ(Prepurge(), used + room * kMiB);
    }
}

TEST_F(Budget, AStatisticFailsWithItsMeasurementAndAnUnknownOneIsZero)
{
    EXPECT_EQ(Stat(8), 0u);
    platform::SetUsageError(-50);
    U_u64 value = 0;
    for (U_u32 which : {0u, 1u, 2u, 3u, 5u, 6u, 7u})
        EXPECT_EQ(U_GetMemoryStat(which, &value), -50) << which;
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
