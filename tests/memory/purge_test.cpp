// Making room: the host's callback, the recycled pool, and the end of a run.

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <tuple>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include <platform/control.h>
#include <tolv/memory.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/OnThreads.h"
#include "tests/support/PurgeHost.h"

namespace
{
typedef std::vector<std::string> Lines;

class Purge : public BornLibrary
{
protected:
    void TearDown() override
    {
        while (FreeOldest())
        {
        }
        BornLibrary::TearDown();
    }

    // Has so many blocks of 1 MiB.
    void Hold(std::size_t count)
    {
        while (mHeld.size() < count)
            mHeld.push_back(U_AllocatePtrQuiet(kMiB));
    }

    bool FreeOldest()
    {
        if (mHeld.empty())
            return false;
        U_FreePtr(mHeld.front());
        mHeld.pop_front();
        return true;
    }

    // Puts one block into the empty pool. Returns the bytes of the pool.
    static U_u64 Pool(U_u64 size)
    {
        U_PurgeRecycledMemory(~U_u64(0));
        U_FreeRecycledPtr(U_AllocateRecycledPtr(0, nullptr, size));
        return U_GetRecycledMemorySize();
    }

    // Sets the prepurge limit `excess` bytes below the use with the pool.
    void SetPrepurgeBelowUse(U_u64 excess)
    {
        MEM_SetMemUsageLimits(InUse() - excess, InUse() + 100 * kMiB);
        mLog.Clear();
    }

    // The lines that end a run.
    Lines Done() const
    {
        Lines done;
        for (const std::string& text : mLog.Texts("MAKE_ROOM_FOR_BLOCK"))
        {
            if (text.compare(0, 5, "DONE.") == 0)
                done.push_back(text);
        }
        return done;
    }

    static std::string UnderThreshold(U_u64 use, U_u64 prepurge, U_u64 request)
    {
        return "DONE. Under threshold with inUse=" + std::to_string(use) +
               ", prepurgelimit=" + std::to_string(prepurge) +
               ", request=" + std::to_string(request) + ", recycled=0";
    }

    std::deque<void*> mHeld;
};
} // namespace

TEST_F(Purge, AHostThatFreesAPartIsAskedForTheRest)
{
    Hold(100);
    const ScPurgeHost host([this](bool*) { FreeOldest(); });
    const auto& requests = host.mRequests;
    SetPrepurgeBelowUse(0);
    const U_u64 used = InUse();
    EXPECT_TRUE(CanAllocate(5000));
    ASSERT_GT(requests.size(), 1u);
    for (std::size_t i = 1; i < requests.size(); ++i)
    {
        EXPECT_EQ(requests[i].block, requests[0].block);
        EXPECT_EQ(requests[i].amount, requests[i - 1].amount - kMiB);
    }
    EXPECT_LE(requests.back().amount, kMiB);
    EXPECT_EQ(Done(),
              Lines{UnderThreshold(used - requests.size() * kMiB, used, requests[0].block)});
}

TEST_F(Purge, AStallShrinksThePoolIfTheHostSetsTheFlag)
{
    for (const bool flagged : {false, true})
    {
        SCOPED_TRACE(flagged);
        const U_u64 pool = Pool(4 * kMiB); // more than a request of about 2.8 MiB
        const ScPurgeHost host([flagged](bool* flag) {
            EXPECT_FALSE(*flag);
            *flag = flagged;
        });
        SetPrepurgeBelowUse(0);
        EXPECT_TRUE(CanAllocate(5000));
        ASSERT_EQ(host.mRequests.size(), 1u);
        EXPECT_EQ(U_GetRecycledMemorySize(), flagged ? pool - host.mRequests[0].amount : pool);
        const char* const line =
            flagged ? "DONE. Under threshold"
                    : "DONE. Purge not freeing anything (but maybe recycled memory), recycled=0";
        EXPECT_THAT(Done(), testing::ElementsAre(testing::StartsWith(line)));
    }
}

TEST_F(Purge, TheFlagOfTheHostLastsForTheRun)
{
    Hold(1);
    Pool(kMiB);
    std::vector<bool> flags; // at the start of each call
    const ScPurgeHost host([&](bool* flag) {
        flags.push_back(*flag);
        *flag = true;
        FreeOldest();
    });
    // The host frees 1 MiB of about 2.8 MiB. Then use stalls, and the pool has only 1 MiB.
    SetPrepurgeBelowUse(0);
    EXPECT_TRUE(CanAllocate(5000));
    EXPECT_EQ(flags, (std::vector<bool>{false, true}));
    EXPECT_EQ(U_GetRecycledMemorySize(), 0u);
    EXPECT_EQ(Done(), Lines{"DONE. Purge recycled not freeing anything"});
}

TEST_F(Purge, AnErrorOfTheHostEndsTheRunAndWithoutAHostNoneStarts)
{
    const U_u64 pool = Pool(kMiB);
    Hold(10);
    SetPrepurgeBelowUse(0);
    EXPECT_TRUE(CanAllocate(5000));
    EXPECT_EQ(mLog.Texts("MAKE_ROOM_FOR_BLOCK"), Lines());
    ScPurgeHost host([this](bool*) { FreeOldest(); });
    host.mResult = 7;
    EXPECT_TRUE(CanAllocate(5000));
    EXPECT_EQ(host.mRequests.size(), 1u);
    EXPECT_EQ(Done(), Lines());
    EXPECT_EQ(U_GetRecycledMemorySize(), pool);
}

// The check leaves the pool out of the use, and its runs keep the pool despite the host's flag.
TEST_F(Purge, TheCheckReturnsWhetherTheLimitWasHitAndStillIs)
{
    // Use is 10 MiB below the limit, and the host has 20 MiB. The rows: the bytes needed, whether
    // the host frees 1 MiB in each call, whether use is above the limit at the end, and the calls.
    const std::tuple<U_u64, bool, bool, std::size_t> rows[] = {
        {10 * kMiB, false, false, 0},    // exactly at the limit
        {10 * kMiB + 1, false, true, 3}, // three runs of one call each
        {13 * kMiB, true, false, 4},     // the check requests one byte more than needed
        {40 * kMiB, true, true, 23},     // the first run ends when the host has nothing left
        {~U_u64(0), false, true, 3},     // no sum wraps
    };
    const U_u64 pool = Pool(kMiB);
    for (const auto& [needed, hostFrees, isOver, requests] : rows)
    {
        SCOPED_TRACE(testing::Message() << needed << " " << hostFrees);
        Hold(20);
        const ScPurgeHost host([this, frees = hostFrees](bool* flag) {
            *flag = true;
            if (frees)
                FreeOldest();
        });
        const U_u64 used = InUse() - pool;
        MEM_SetMemUsageLimits(used + 10 * kMiB, used + 100 * kMiB);
        mLog.Clear();
        bool over = !isOver;
        bool hit = false;
        EXPECT_EQ(U_CheckRAMPurgeLimit(&over, needed, &hit), 0);
        EXPECT_EQ(over, isOver);
        EXPECT_EQ(hit, requests > 0);
        EXPECT_EQ(host.mRequests.size(), requests);
        EXPECT_EQ(U_GetRecycledMemorySize(), pool);
        Lines lines;
        if (hit)
            lines.push_back("hit limit with inUse=" + std::to_string(used) +
                            ", needed=" + std::to_string(static_cast<U_i64>(needed)) +
                            ", purgeLimit=" + std::to_string(used + 10 * kMiB));
        EXPECT_EQ(mLog.Texts("U_CheckRAMPurgeLimit"), lines);
    }
}

TEST_F(Purge, TheCheckReturnsOverTheLimitAfterAnError)
{
    MEM_SetMemUsageLimits(kMiB, 2 * kMiB);
    bool over = false;
    EXPECT_EQ(U_CheckRAMPurgeLimit(&over, 0, nullptr), 0);
    EXPECT_TRUE(over);
    platform::SetUsageError(-50);
    over = false;
    bool hit = false;
    EXPECT_EQ(U_CheckRAMPurgeLimit(&over, 0, &hit), -50);
    EXPECT_TRUE(over && hit);
    EXPECT_EQ(U_CheckRAMPurgeLimit(nullptr, 0, nullptr), 3);
}

TEST_F(Purge, SeveralThreadsRunTheCallbackAtOnce)
{
    struct Meeting
    {
        std::mutex mLock;
        std::condition_variable mCame;
        int mInside = 0;
    } meeting;
    U_SetPurgeRequestCallback(
        [](void* refcon, U_u64, U_u64, bool*) {
            Meeting& place = *static_cast<Meeting*>(refcon);
            std::unique_lock<std::mutex> lock(place.mLock);
            ++place.mInside;
            place.mCame.notify_all();
            EXPECT_TRUE(place.mCame.wait_for(lock, std::chrono::minutes(1),
                                             [&] { return place.mInside >= 3; }));
            return 0;
        },
        &meeting);
    SetPrepurgeBelowUse(0);
    OnThreads(3, [](int) { CanAllocate(5000); });
    U_SetPurgeRequestCallback(nullptr, nullptr);
}

TEST_F(Purge, ThePoolIsRoomForARecycledBlockAndShrinksByTheExcess)
{
    const U_u64 pool = Pool(kMiB);
    const U_u64 used = InUse() - pool;
    SetPrepurgeBelowUse(1000);
    void* block = U_AllocateRecycledPtr(0, nullptr, 4000);
    EXPECT_TRUE(block);
    EXPECT_THAT(mLog.Texts("MEM"),
                testing::ElementsAre(
                    testing::AllOf(testing::HasSubstr("(including recycled). used:\t" +
                                                      std::to_string(used) + "\trequest:\t4000"),
                                   testing::HasSubstr("amoutToPurge=1000"))));
    EXPECT_EQ(U_GetRecycledMemorySize(), pool - 1000);
    U_FreeRecycledPtr(block);
}

TEST_F(Purge, UseIsPurgedForARecycledBlockIfTheHostEmptiesThePool)
{
    const U_u64 pool = Pool(kMiB);
    const ScPurgeHost host([](bool*) { U_PurgeRecycledMemory(~0ull); });
    const U_u64 excess = pool - 100000; // more than half, so that the host is asked
    SetPrepurgeBelowUse(excess);
    const U_u64 used = InUse() - pool;
    const U_u64 prepurge = InUse() - excess;
    void* block = U_AllocateRecycledPtr(0, nullptr, 4000);
    EXPECT_TRUE(block);
    EXPECT_EQ(mLog.Texts("MAKE_ROOM_FOR_BLOCK"),
              (Lines{"Issuing Purge Request\tblock_request:\t" + std::to_string(4000 + excess) +
                         "\tamt_to_purge:\t" + std::to_string(4000 + excess - 100000),
                     "DONE. Purge not freeing anything (but maybe recycled memory), recycled=1",
                     UnderThreshold(used, prepurge, 1)}));
    U_FreeRecycledPtr(block);
}

TEST_F(Purge, AboveThePrepurgeLimitTheMaximumIsForUseWithoutThePool)
{
    const std::tuple<U_u64, bool, bool> rows[] = {// size, recycled, allocated
                                                  {4000, true, true},
                                                  {4001, true, false},
                                                  {4000, false, false}};
    Pool(kMiB);
    for (const auto& [size, recycled, isAllocated] : rows)
    {
        SCOPED_TRACE(testing::Message() << size << recycled);
        const ScPurgeHost host;
        const U_u64 pool = U_GetRecycledMemorySize();
        const U_u64 use = InUse() - pool;
        MEM_SetMemUsageLimits(use, use + 4000);
        void* const block = recycled ? U_AllocateRecycledPtr(0, nullptr, size) : nullptr;
        EXPECT_EQ(recycled ? block != nullptr : CanAllocate(size), isAllocated);
        const double wanted = static_cast<double>(size) + 0.02 * static_cast<double>(use);
        EXPECT_EQ(host.mRequests.back().amount, static_cast<U_u64>(wanted) + (recycled ? 0 : pool));
        U_FreeRecycledPtr(block);
    }
}
