// Making room: the host's callback, the recycled pool, and the end of a run.

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

#include <tolv/memory.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/OnThreads.h"
#include "tests/support/PurgeHost.h"

namespace
{
class Purge : public BornLibrary
{
protected:
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
};
} // namespace

TEST_F(Purge, TheFlagOfTheHostLastsForTheRun)
{
    void* held = U_AllocatePtrQuiet(kMiB);
    Pool(kMiB);
    std::vector<bool> flags; // at the start of each call
    const ScPurgeHost host([&](bool* flag) {
        flags.push_back(*flag);
        *flag = true;
        U_FreePtr(std::exchange(held, nullptr));
    });
    // The host frees 1 MiB of about 2.8 MiB. Then use stalls, and the pool has only 1 MiB.
    SetPrepurgeBelowUse(0);
    EXPECT_TRUE(CanAllocate(5000));
    EXPECT_EQ(flags, (std::vector<bool>{false, true}));
    EXPECT_EQ(U_GetRecycledMemorySize(), 0u);
    EXPECT_EQ(mLog.Texts("MAKE_ROOM_FOR_BLOCK").back(),
              "DONE. Purge recycled not freeing anything");
}

TEST_F(Purge, ACheckThatHitsTheLimitIsLogged)
{
    const U_u64 pool = Pool(kMiB);
    const U_u64 used = InUse() - pool; // the check leaves the pool out
    MEM_SetMemUsageLimits(used + 10 * kMiB, used + 100 * kMiB);
    for (const U_u64 needed : {10 * kMiB, 10 * kMiB + 1, ~U_u64(0)}) // no sum wraps
    {
        const bool isOver = needed > 10 * kMiB;
        bool over = !isOver;
        bool hit = !isOver;
        mLog.Clear();
        EXPECT_EQ(U_CheckRAMPurgeLimit(&over, needed, &hit), 0);
        EXPECT_TRUE(over == isOver && hit == isOver) << needed;
        Texts lines;
        if (isOver)
            lines.push_back("hit limit with inUse=" + std::to_string(used) +
                            ", needed=" + std::to_string(static_cast<U_i64>(needed)) +
                            ", purgeLimit=" + std::to_string(used + 10 * kMiB));
        EXPECT_EQ(mLog.Texts("U_CheckRAMPurgeLimit"), lines);
    }
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
    EXPECT_EQ(
        mLog.Texts("MAKE_ROOM_FOR_BLOCK"),
        (Texts{"Issuing Purge Request\tblock_request:\t" + std::to_string(4000 + excess) +
                   "\tamt_to_purge:\t" + std::to_string(4000 + excess - 100000),
               "DONE. Purge not freeing anything (but maybe recycled memory), recycled=1",
               "DONE. Under threshold with inUse=" + std::to_string(used) +
                   ", prepurgelimit=" + std::to_string(prepurge) + ", request=1, recycled=0"}));
    for (const LogLine& line : mLog.Lines())
        EXPECT_EQ(line.level, 0) << line.text;
    EXPECT_EQ(U_GetRecycledPtrBaseAddress(block), block);
    U_FreeRecycledPtr(block);
}
