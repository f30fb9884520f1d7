// The recycled pool in the budget: room for recycled blocks, and what a host
// that says so lets go of for others.

#include <vector>

#include <tolv/memory.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "tests/support/BornLibrary.h"

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

    // Use with the pool stands that far above the prepurge limit.
    void SetPrepurgeBelowUse(U_u64 excess)
    {
        MEM_SetMemUsageLimits(InUse() - excess, InUse() + 100 * kMiB);
        mLog.Clear();
    }

    U_u64 mPool = 0;
};
} // namespace

TEST_F(RecycledBudget, ThePoolIsRoomAndGivesWayByTheExcess)
{
    const U_u64 used = InUse();
    SetPrepurgeBelowUse(1000);
    void* block = U_AllocateRecycledPtr(0, nullptr, 4000);
    ASSERT_TRUE(block);
    EXPECT_EQ(mLog.Texts("MEM").size(), 1u);
    EXPECT_NE(mLog.Texts("MEM").front().find("(including recycled). used:\t" +
                                             std::to_string(used - mPool) + "\trequest:\t4000"),
              std::string::npos);
    EXPECT_NE(mLog.Texts("MEM").front().find("amoutToPurge=1000"), std::string::npos);
    EXPECT_EQ(U_GetRecycledMemorySize(), mPool - 1000);
    U_FreeRecycledPtr(block);
}

TEST_F(RecycledBudget, APoolThatTheHostEmptiesLeavesUseToBePurged)
{
    U_SetPurgeRequestCallback(
        [](void*, U_u64, U_u64, bool*) {
            U_PurgeRecycledMemory(~0ull);
            return 0;
        },
        nullptr);
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

TEST_F(RecycledBudget, ARecycledRunKeepsThePoolWhateverTheHostSays)
{
    U_SetPurgeRequestCallback(
        [](void*, U_u64, U_u64, bool* flag) {
            *flag = true;
            return 0;
        },
        nullptr);
    SetPrepurgeBelowUse(mPool + 1000);
    bool over = false;
    EXPECT_EQ(U_CheckRAMPurgeLimit(&over, 0, nullptr), 0);
    EXPECT_TRUE(over);
    EXPECT_EQ(U_GetRecycledMemorySize(), mPool);
}

TEST_F(RecycledBudget, TheHostsLeaveToShrinkThePoolLastsForTheRun)
{
    struct Host
    {
        void* held;
        std::vector<bool> flags; // as each round found them
    } host = {U_AllocatePtrQuiet(kMiB), {}};
    U_SetPurgeRequestCallback(
        [](void* refcon, U_u64, U_u64, bool* flag) {
            Host& asked = *static_cast<Host*>(refcon);
            asked.flags.push_back(*flag);
            *flag = true;
            U_FreePtr(asked.held);
            asked.held = nullptr;
            return 0;
        },
        &host);
    // The host frees 1 MiB of about 2.8; then use stalls and the pool gives
    // its one, which is less than what is left.
    SetPrepurgeBelowUse(0);
    void* block = U_AllocatePtrQuiet(5000);
    EXPECT_TRUE(block);
    EXPECT_EQ(host.flags, (std::vector<bool>{false, true}));
    EXPECT_EQ(U_GetRecycledMemorySize(), 0u);
    EXPECT_EQ(mLog.Texts("MAKE_ROOM_FOR_BLOCK").back(),
              "DONE. Purge recycled not freeing anything");
    U_FreePtr(block);
}

TEST_F(RecycledBudget, TheCheckLeavesThePoolOut)
{
    struct Row
    {
        U_u64 needed;
        bool frees;
        bool over;
        bool hit;
    };
    // Use without the pool stands 1000 bytes under the limit.
    for (const Row& row : {Row{1000, false, false, false}, Row{1001, false, true, true},
                           Row{1001, true, false, true}})
    {
        SCOPED_TRACE(testing::Message() << row.needed << row.frees);
        void* held = U_AllocatePtrQuiet(5000);
        void* none = nullptr;
        U_SetPurgeRequestCallback(
            [](void* refcon, U_u64, U_u64, bool*) {
                void*& block = *static_cast<void**>(refcon);
                U_FreePtr(block);
                block = nullptr;
                return 0;
            },
            row.frees ? &held : &none);
        SetPrepurgeBelowUse(mPool - 1000);
        bool over = !row.over;
        bool hit = !row.hit;
        EXPECT_EQ(U_CheckRAMPurgeLimit(&over, row.needed, &hit), 0);
        EXPECT_EQ(over, row.over);
        EXPECT_EQ(hit, row.hit);
        U_SetPurgeRequestCallback(nullptr, nullptr); // before its pointer goes
        U_FreePtr(held);
    }
}

TEST_F(RecycledBudget, AboveThePrepurgeLimitTheMaximumIsForUseWithoutThePool)
{
    struct Row
    {
        U_u64 size;
        bool recycled;
        bool had;
    };
    for (const Row& row : {Row{4000, true, true}, Row{4001, true, false}, Row{4000, false, false}})
    {
        SCOPED_TRACE(testing::Message() << row.size << row.recycled);
        U_u64 asked = 0;
        U_SetPurgeRequestCallback(
            [](void* refcon, U_u64, U_u64 amount, bool*) {
                *static_cast<U_u64*>(refcon) = amount;
                return 0;
            },
            &asked);
        const U_u64 pool = U_GetRecycledMemorySize();
        const U_u64 withoutPool = InUse() - pool;
        MEM_SetMemUsageLimits(withoutPool, withoutPool + 4000);
        void* const recycled = row.recycled ? U_AllocateRecycledPtr(0, nullptr, row.size) : nullptr;
        void* const plain = row.recycled ? nullptr : U_AllocatePtrQuiet(row.size);
        EXPECT_EQ(recycled || plain, row.had);
        const U_u64 wanted = static_cast<U_u64>(static_cast<double>(row.size) +
                                                0.02 * static_cast<double>(withoutPool));
        EXPECT_EQ(asked, wanted + (row.recycled ? 0 : pool));
        U_FreeRecycledPtr(recycled);
        U_FreePtr(plain);
    }
}
