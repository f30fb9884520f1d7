// Figures of memory that are read while other threads allocate and free.

#include <algorithm>
#include <atomic>
#include <thread>
#include <utility>

#include <tolv/memory.h>

#include "U_Alloc.h"
#include "tests/support/Hogs.h"
#include "tests/support/OnThreads.h"
#include "tests/support/PurgeHost.h"

namespace
{
const U_u64 kThreadPart = 32 * 1024; // bytes by which a thread's part of the tracked use varies

// Runs `work` repeatedly on another thread until the scope ends.
class ScRepeated
{
public:
    template <class Work>
    explicit ScRepeated(Work work)
        : mThread([this, work]() mutable {
              while (!mEnds)
              {
                  work();
                  ++mRuns;
              }
          })
    {
        while (!mRuns)
            std::this_thread::yield();
    }
    ~ScRepeated()
    {
        mEnds = true;
        mThread.join();
    }
    ScRepeated(const ScRepeated&) = delete;
    ScRepeated& operator=(const ScRepeated&) = delete;

    int Runs() const { return mRuns; }

private:
    std::atomic<bool> mEnds{false};
    std::atomic<int> mRuns{0};
    std::thread mThread;
};

class ConcurrentFigures : public Hogs
{
protected:
    // Makes 200 records of threads, which every sum over threads visits.
    void SetUp() override
    {
        Hogs::SetUp();
        const int kThreads = 200;
        std::atomic<int> arrived(0);
        OnThreads(kThreads, [&](int) {
            U_FreeHogHandle(New(1));
            ++arrived;
            while (arrived < kThreads)
                std::this_thread::yield();
        });
    }
};
} // namespace

TEST_F(ConcurrentFigures, AHogCountsTheHandlesOfAllThreads)
{
    OnThreads(4, [this](int) {
        for (int run = 0; run < 50000; ++run)
        {
            void** const handle = New(100);
            const Stats now = run % 100 ? Stats{1, 100} : Count(); // while others change them
            EXPECT_TRUE(now.first >= 1 && now.first <= 4 && now.second == 100 * now.first);
            U_FreeHogHandle(handle);
        }
    });
    EXPECT_EQ(Count(), (Stats{0, 0}));
}

// One thread allocates blocks, and another thread frees them.
TEST_F(ConcurrentFigures, UseIsOffByThePartsOfThreadsOnly)
{
    for (const U_u64 size : {100000, 2000}) // charged at once, and first to the thread's part
    {
        SCOPED_TRACE(size);
        const U_u64 before = InUse();
        U_u64 least = before;
        U_u64 most = before;
        std::atomic<void*> handed(nullptr);
        {
            const ScRepeated producer([&] {
                if (!handed)
                    handed = U_AllocatePtrQuiet(size);
            });
            const ScRepeated consumer([&] { U_FreePtr(handed.exchange(nullptr)); });
            for (int reads = 0; reads < 100000 || consumer.Runs() < 10000; ++reads)
            {
                const U_u64 now = InUse();
                least = std::min(least, now);
                most = std::max(most, now);
            }
        }
        U_FreePtr(handed);
        EXPECT_GE(least, before - 3 * kThreadPart);
        EXPECT_LE(most, before + 2 * size + 3 * kThreadPart);
        EXPECT_EQ(InUse(), before) << "exact when no thread allocates";
    }
}

TEST_F(ConcurrentFigures, TheMaximumHoldsBetweenThreads)
{
    const struct
    {
        U_u64 size;
        U_u64 room;         // up to the maximum limit
        std::size_t blocks; // that each thread asks for
    } kRows[] = {{50 * kMiB, 64 * kMiB, 1}, {12000, 2 * kMiB, 100}, {4096, 2 * kMiB, 300}};
    for (const auto& row : kRows)
    {
        SCOPED_TRACE(row.size);
        SetLimitsAboveUse(row.room - kMiB, row.room);
        std::atomic<U_u64> held(0);
        std::atomic<U_u64> mostHeld(0);
        std::atomic<int> refused(0);
        platform::SetHeapFailure([](unsigned long long) {
            std::this_thread::yield(); // between the decision and the allocation
            return false;
        });
        OnThreads(4, [&](int) {
            for (std::size_t run = 0; run < 500 / row.blocks + 1; ++run)
            {
                std::vector<void*> blocks;
                while (blocks.size() < row.blocks)
                {
                    void* const block = U_AllocatePtrQuiet(row.size);
                    refused += block ? 0 : 1;
                    if (!block)
                        break;
                    const U_u64 now = ++held;
                    U_u64 most = mostHeld;
                    while (most < now && !mostHeld.compare_exchange_weak(most, now))
                        continue;
                    blocks.push_back(block);
                }
                std::this_thread::yield();
                for (void* const block : blocks)
                {
                    --held;
                    U_FreePtr(block);
                }
            }
        });
        platform::SetHeapFailure({});
        EXPECT_LE(mostHeld, row.room / row.size);
        EXPECT_GE(mostHeld, row.room / row.size * 9 / 10) << "no room is lost";
        EXPECT_GT(refused, 0);
    }
}

// A recycled block is in use or in the pool. Both count against a block that is not recycled.
TEST_F(ConcurrentFigures, ARecycledBlockInMotionLeavesNoRoom)
{
    const MEM_Pool kPool = {&U_GetRecycledMemorySize, &U_GetRecycledMemorySize};
    const U_u64 kBlock = 32 * kMiB;
    U_FreeRecycledPtr(U_AllocateRecycledPtr(0, nullptr, kBlock - 16)); // the pool keeps it
    for (const U_u64 size : {kBlock - 16, 26 * kMiB}) // all of the block, and a part
    {
        SCOPED_TRACE(size);
        SetLimitsAboveUse(kMiB, 2 * kMiB);
        const U_u64 maximum = InUse() + 2 * kMiB;
        int fits = 0;
        int asks = 0;
        {
            const ScRepeated churn(
                [&] { U_FreeRecycledPtr(U_AllocateRecycledPtr(0, nullptr, size)); });
            for (; asks < 20000 || churn.Runs() < 1000; ++asks)
            {
                MEM_Claim claim;
                MEM_ClaimUsage(4 * kMiB, 1, maximum, &kPool, &claim);
                fits += claim.mFits ? 1 : 0;
                MEM_EndClaim(&claim);
            }
        }
        // A block that leaves the pool and returns during one comparison may be missed.
        EXPECT_LT(fits, asks / 1000);
    }
}

// The functions return the bytes of the pool.
TEST_F(ConcurrentFigures, AComparisonIsRepeatedWhileABlockMoves)
{
    static int sReads;
    const std::pair<unsigned long long (*)(), bool> kRows[] = {
        // The block leaves after the first reading that counts blocks, so that both figures count
        // the block. Two readings of the bound are before that.
        {[]() -> unsigned long long {
             if (++sReads > 3)
                 return 0;
             MEM_AccountSystemAllocation(sReads == 3 ? kMiB : 0);
             return kMiB;
         },
         true},
        {[]() -> unsigned long long { return ++sReads % 2 ? 2 * kMiB : 0; }, false}, // no rest
    };
    for (const auto& [pooledBytes, fits] : kRows)
    {
        sReads = 0;
        const U_u64 used = MEM_GetMemUsage();
        MEM_Claim claim;
        const MEM_Pool pool = {pooledBytes, pooledBytes};
        EXPECT_EQ(MEM_ClaimUsage(1000, 0, used + kMiB + 1000, &pool, &claim), 0);
        EXPECT_EQ(claim.mFits, fits);
        MEM_AccountSystemAllocation(static_cast<long long>(used - MEM_GetMemUsage()));
    }
}

// The budget charges a block before the heap allocates the block. Until then no measurement on the
// allocating thread includes the charge.
TEST_F(ConcurrentFigures, AThreadSeesNoChargeForABlockThatItDoesNotHaveYet)
{
    U_u64 before = 0;
    U_u64 inside = 0;
    U_u64 other = 0;
    platform::SetHeapFailure([&](unsigned long long) {
        inside = InUse();
        std::thread([&] { other = InUse(); }).join();
        return true;
    });
    before = InUse();
    EXPECT_EQ(U_AllocatePtrQuiet(kMiB), nullptr);
    platform::SetHeapFailure({});
    EXPECT_EQ(inside, before);
    EXPECT_EQ(other, before + kMiB) << "another thread sees the charge";
    EXPECT_EQ(InUse(), before) << "the charge is cancelled if the heap refuses";

    // A purge request for a recycled block whose claim is already made.
    U_FreeRecycledPtr(U_AllocateRecycledPtr(0, nullptr, kMiB));
    const ScPurgeHost host([&](bool*) { inside = InUse() - U_GetRecycledMemorySize(); });
    const U_u64 used = InUse() - U_GetRecycledMemorySize();
    MEM_SetMemUsageLimits(used + kMiB / 2, used + 100 * kMiB);
    void* const block = U_AllocateRecycledPtr(0, nullptr, 4000);
    EXPECT_EQ(host.mRequests.size(), 1u);
    EXPECT_EQ(inside, used);
    U_FreeRecycledPtr(block);
}
