// Making room: the host's callback, the recycled pool, and the end of a run.

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <tuple>
#include <vector>

#include <platform/control.h>
#include <tolv/memory.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/OnThreads.h"
#include "tests/support/PurgeHost.h"

namespace
{
const char kStalled[] = "DONE. Purge not freeing anything (but maybe recycled memory), recycled=";
const char kPoolStalled[] = "DONE. Purge recycled not freeing anything";

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

    void Hold(int count, U_u64 size)
    {
        for (int i = 0; i < count; ++i)
            mHeld.push_back(U_AllocatePtrQuiet(size));
    }

    bool FreeOldest()
    {
        if (mHeld.empty())
            return false;
        U_FreePtr(mHeld.front());
        mHeld.pop_front();
        return true;
    }

    static U_u64 Prepurge()
    {
        U_u64 prepurge = 0;
        U_u64 maximum = 0;
        U_GetMemUsageLimits(&prepurge, &maximum);
        return prepurge;
    }

    std::vector<std::string> Done() const
    {
        std::vector<std::string> done;
        for (const std::string& text : mLog.Texts("MAKE_ROOM_FOR_BLOCK"))
        {
            if (text.compare(0, 5, "DONE.") == 0)
                done.push_back(text);
        }
        return done;
    }

    std::deque<void*> mHeld;
};
} // namespace

TEST_F(Purge, AHostThatFreesAPartIsAskedForTheRest)
{
    Hold(100, kMiB);
    const ScPurgeHost host([this](bool*) { FreeOldest(); });
    const auto& requests = host.mRequests;
    SetLimitsAboveUse(0, 100 * kMiB);
    const U_u64 used = InUse();
    mLog.Clear();
    void* block = U_AllocatePtrQuiet(5000);
    ASSERT_TRUE(block);
    ASSERT_GT(requests.size(), 1u);
    for (std::size_t i = 1; i < requests.size(); ++i)
    {
        EXPECT_EQ(requests[i].block, requests[0].block);
        EXPECT_EQ(requests[i].amount, requests[i - 1].amount - kMiB);
    }
    EXPECT_LE(requests.back().amount, kMiB);
    EXPECT_EQ(Done(), std::vector<std::string>{"DONE. Under threshold with inUse=" +
                                               std::to_string(used - requests.size() * kMiB) +
                                               ", prepurgelimit=" + std::to_string(used) +
                                               ", request=" + std::to_string(requests[0].block) +
                                               ", recycled=0"});
    U_FreePtr(block);
}

TEST_F(Purge, AStallShrinksThePoolIfTheHostSetsTheFlag)
{
    // The host's flag, the bytes in the pool for a request of about 2.8 MiB, whether the pool
    // shrinks, and the start of the log line.
    const std::tuple<bool, U_u64, bool, std::string> rows[] = {
        {false, 4 * kMiB, false, std::string(kStalled) + "0"},
        {true, 0, false, kPoolStalled},
        {true, 4 * kMiB, true, "DONE. Under threshold"},
    };
    for (const auto& [flagged, pooled, shrinks, line] : rows)
    {
        SCOPED_TRACE(line);
        U_PurgeRecycledMemory(~0ull);
        if (pooled)
            U_FreeRecycledPtr(U_AllocateRecycledPtr(0, nullptr, pooled));
        const U_u64 pool = U_GetRecycledMemorySize();
        const ScPurgeHost host([answer = flagged](bool* flag) {
            EXPECT_FALSE(*flag);
            *flag = answer;
        });
        SetLimitsAboveUse(0, 100 * kMiB);
        mLog.Clear();
        U_FreePtr(U_AllocatePtrQuiet(5000));
        ASSERT_EQ(host.mRequests.size(), 1u);
        EXPECT_EQ(U_GetRecycledMemorySize(), shrinks ? pool - host.mRequests[0].amount : pool);
        ASSERT_EQ(Done().size(), 1u);
        EXPECT_EQ(Done()[0].substr(0, line.size()), line);
    }
}

TEST_F(Purge, AnErrorOfTheHostEndsTheRunAndWithoutAHostNoneStarts)
{
    U_FreeRecycledPtr(U_AllocateRecycledPtr(0, nullptr, kMiB));
    const U_u64 pool = U_GetRecycledMemorySize();
    Hold(10, kMiB);
    SetLimitsAboveUse(0, 100 * kMiB);
    mLog.Clear();
    U_FreePtr(U_AllocatePtrQuiet(5000));
    EXPECT_TRUE(mLog.Texts("MAKE_ROOM_FOR_BLOCK").empty());
    {
        ScPurgeHost host([this](bool*) { FreeOldest(); });
        host.mResult = 7;
        U_FreePtr(U_AllocatePtrQuiet(5000));
        EXPECT_EQ(host.mRequests.size(), 1u);
    }
    EXPECT_TRUE(Done().empty());
    EXPECT_EQ(U_GetRecycledMemorySize(), pool);
}

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
    for (const auto& [needed, hostFrees, isOver, requests] : rows)
    {
        SCOPED_TRACE(testing::Message() << needed << " " << hostFrees);
        Hold(20 - static_cast<int>(mHeld.size()), kMiB);
        const ScPurgeHost host([this, frees = hostFrees](bool*) {
            if (frees)
                FreeOldest();
        });
        SetLimitsAboveUse(10 * kMiB, 100 * kMiB);
        const U_u64 used = InUse();
        mLog.Clear();
        bool over = !isOver;
        bool hit = false;
        EXPECT_EQ(U_CheckRAMPurgeLimit(&over, needed, &hit), 0);
        EXPECT_EQ(over, isOver);
        EXPECT_EQ(hit, requests > 0);
        EXPECT_EQ(host.mRequests.size(), requests);
        std::vector<std::string> lines;
        if (hit)
            lines.push_back("hit limit with inUse=" + std::to_string(used) +
                            ", needed=" + std::to_string(static_cast<U_i64>(needed)) +
                            ", purgeLimit=" + std::to_string(Prepurge()));
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
        std::mutex lock; // guards the count
        std::condition_variable arrived;
        int count = 0;
    } meeting;
    const int kThreads = 3;
    U_SetPurgeRequestCallback(
        [](void* refcon, U_u64, U_u64, bool*) {
            Meeting& all = *static_cast<Meeting*>(refcon);
            std::unique_lock<std::mutex> guard(all.lock);
            ++all.count;
            all.arrived.notify_all();
            EXPECT_TRUE(all.arrived.wait_for(guard, std::chrono::seconds(60),
                                             [&] { return all.count >= kThreads; }));
            return 0;
        },
        &meeting);
    SetLimitsAboveUse(0, 100 * kMiB);
    OnThreads(kThreads, [](int) { U_FreePtr(U_AllocatePtrQuiet(5000)); });
}
