// The recycled pool in the budget: room for recycled blocks, and shrunk for other blocks if the
// host sets the flag.

#include <tuple>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include <tolv/memory.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/PurgeHost.h"

namespace
{
typedef std::vector<std::string> Lines;

class RecycledBudget : public BornLibrary
{
protected:
    void SetUp() override
    {
        BornLibrary::SetUp();
        U_FreeRecycledPtr(U_AllocateRecycledPtr(0, nullptr, kMiB));
        mPool = U_GetRecycledMemorySize();
        ASSERT_GE(mPool, kMiB);
    }

    // Sets the prepurge limit `excess` bytes below use with the pool.
    void SetPrepurgeBelowUse(U_u64 excess)
    {
        MEM_SetMemUsageLimits(InUse() - excess, InUse() + 100 * kMiB);
        mLog.Clear();
    }

    U_u64 mPool = 0;
};
} // namespace

TEST_F(RecycledBudget, ThePoolCountsAsRoomAndShrinksByTheExcess)
{
    const U_u64 used = InUse();
    SetPrepurgeBelowUse(1000);
    void* block = U_AllocateRecycledPtr(0, nullptr, 4000);
    ASSERT_TRUE(block);
    EXPECT_THAT(mLog.Texts("MEM"),
                testing::ElementsAre(testing::AllOf(
                    testing::HasSubstr("(including recycled). used:\t" +
                                       std::to_string(used - mPool) + "\trequest:\t4000"),
                    testing::HasSubstr("amoutToPurge=1000"))));
    EXPECT_EQ(U_GetRecycledMemorySize(), mPool - 1000);
    U_FreeRecycledPtr(block);
}

TEST_F(RecycledBudget, IfTheHostEmptiesThePoolUseIsPurged)
{
    const ScPurgeHost host([](bool*) { U_PurgeRecycledMemory(~0ull); });
    const U_u64 excess = mPool - 100000; // more than half, so that the host is asked
    SetPrepurgeBelowUse(excess);
    const std::string used = std::to_string(InUse() - mPool);
    const std::string prepurge = std::to_string(InUse() - excess);
    void* block = U_AllocateRecycledPtr(0, nullptr, 4000);
    EXPECT_TRUE(block);
    const std::string request = std::to_string(4000 + excess);
    const std::string amount = std::to_string(4000 + excess - 100000);
    EXPECT_EQ(
        mLog.Texts("MAKE_ROOM_FOR_BLOCK"),
        (Lines{"Issuing Purge Request\tblock_request:\t" + request + "\tamt_to_purge:\t" + amount,
               "DONE. Purge not freeing anything (but maybe recycled memory), recycled=1",
               "DONE. Under threshold with inUse=" + used + ", prepurgelimit=" + prepurge +
                   ", request=1, recycled=0"}));
    U_FreeRecycledPtr(block);
}

TEST_F(RecycledBudget, ARecycledRunKeepsThePoolDespiteTheFlag)
{
    const ScPurgeHost host([](bool* flag) { *flag = true; });
    SetPrepurgeBelowUse(mPool + 1000);
    bool over = false;
    EXPECT_EQ(U_CheckRAMPurgeLimit(&over, 0, nullptr), 0);
    EXPECT_TRUE(over);
    EXPECT_EQ(U_GetRecycledMemorySize(), mPool);
}

TEST_F(RecycledBudget, TheFlagOfTheHostLastsForTheRun)
{
    void* held = U_AllocatePtrQuiet(kMiB);
    std::vector<bool> flags; // at the start of each call
    const ScPurgeHost host([&](bool* flag) {
        flags.push_back(*flag);
        *flag = true;
        U_FreePtr(std::exchange(held, nullptr));
    });
    // The host frees 1 MiB of about 2.8 MiB. Then use stalls, and the pool has only 1 MiB.
    SetPrepurgeBelowUse(0);
    void* block = U_AllocatePtrQuiet(5000);
    EXPECT_TRUE(block);
    EXPECT_EQ(flags, (std::vector<bool>{false, true}));
    EXPECT_EQ(U_GetRecycledMemorySize(), 0u);
    EXPECT_EQ(mLog.Texts("MAKE_ROOM_FOR_BLOCK").back(),
              "DONE. Purge recycled not freeing anything");
    U_FreePtr(block);
}

TEST_F(RecycledBudget, TheCheckLeavesThePoolOut)
{
    SetPrepurgeBelowUse(mPool - 1000); // use without the pool is 1000 bytes under the limit
    for (const U_u64 needed : {1000, 1001})
    {
        bool over = false;
        bool hit = false;
        EXPECT_EQ(U_CheckRAMPurgeLimit(&over, needed, &hit), 0);
        EXPECT_EQ(over, needed > 1000);
        EXPECT_EQ(hit, needed > 1000);
    }
}

TEST_F(RecycledBudget, AboveThePrepurgeLimitTheMaximumIsForUseWithoutThePool)
{
    const std::tuple<U_u64, bool, bool> rows[] = {
        {4000, true, true}, {4001, true, false}, {4000, false, false}};
    for (const auto& [size, recycled, isAllocated] : rows)
    {
        SCOPED_TRACE(testing::Message() << size << recycled);
        const ScPurgeHost host;
        const U_u64 pool = U_GetRecycledMemorySize();
        const U_u64 use = InUse() - pool;
        MEM_SetMemUsageLimits(use, use + 4000);
        void* const fromPool = recycled ? U_AllocateRecycledPtr(0, nullptr, size) : nullptr;
        void* const plain = recycled ? nullptr : U_AllocatePtrQuiet(size);
        EXPECT_EQ(fromPool || plain, isAllocated);
        const double wanted = static_cast<double>(size) + 0.02 * static_cast<double>(use);
        EXPECT_EQ(host.mRequests.back().amount, static_cast<U_u64>(wanted) + (recycled ? 0 : pool));
        U_FreeRecycledPtr(fromPool);
        U_FreePtr(plain);
    }
}
