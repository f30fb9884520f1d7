#include <atomic>
#include <climits>
#include <cstring>
#include <future>
#include <list>
#include <new>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <krobase/recycled_memory.h>
#include <tolv/memory.h>

using krobase::utility::MemoryRecycler;
using krobase::utility::RecycledMemory;

namespace
{
const unsigned long long kAll = ~0ull;
const unsigned long long kKiB = 1024;

class Recycler : public testing::Test
{
protected:
    void SetUp() override { MemoryRecycler::PurgeBytes(kAll); }
    void TearDown() override { MemoryRecycler::PurgeBytes(kAll); }

    static void Fill(const std::vector<int>& sizes)
    {
        std::list<RecycledMemory> blocks;
        for (const int size : sizes)
            blocks.emplace_back(size);
    }

    // Writes the whole block. A block of the checked heap has no more than the requested bytes.
    static void Write(const RecycledMemory& block, std::size_t asked)
    {
        std::memset(block.mBlock, 0xA5, MEM_KeepsOrigins ? asked : block.mBlockSize);
    }
};

TEST_F(Recycler, ReusesABlockIfAtMostAQuarterIsWasted)
{
    const std::tuple<int, int, bool> kRows[] = {
        {100 * kKiB, 85 * kKiB, true},
        {100 * kKiB, 80 * kKiB, false},
        {100 * kKiB, 120 * kKiB, false},
        {64, 1, true},
        {64, 0, true},
        {1 << 20, (1 << 20) + 1, false},
    };
    for (const auto& [pooled, asked, reused] : kRows)
    {
        SCOPED_TRACE(testing::Message() << pooled << " for " << asked);
        MemoryRecycler::PurgeBytes(kAll);
        Fill({pooled});
        const unsigned long long pool = MemoryRecycler::GetCurrentPoolSize();
        RecycledMemory block(0);
        block.Allocate(asked);
        EXPECT_EQ(MemoryRecycler::GetCurrentPoolSize(), reused ? 0 : pool);
        ASSERT_GE(block.mBlockSize, static_cast<std::size_t>(asked));
        Write(block, static_cast<std::size_t>(asked));
    }
}

TEST_F(Recycler, ABlockIsChargedBeforeItLeavesThePool)
{
    static std::size_t sCharged;
    static unsigned long long sPool; // during the charge
    const std::pair<int, unsigned long long> kRows[] = {{100 * kKiB, 104 * kKiB}, {4096, 0}};
    for (const auto& [asked, pool] : kRows)
    {
        SCOPED_TRACE(asked);
        MemoryRecycler::PurgeBytes(kAll);
        Fill({104 * kKiB});
        RecycledMemory block(0);
        block.Allocate(asked, [](std::size_t blockSize) {
            sCharged = blockSize;
            sPool = MemoryRecycler::GetCurrentPoolSize();
        });
        EXPECT_EQ(sCharged, block.mBlockSize);
        EXPECT_EQ(sPool, 104 * kKiB) << "the pool still has the block";
        EXPECT_EQ(MemoryRecycler::GetCurrentPoolSize(), 104 * kKiB - pool);
    }
}

TEST_F(Recycler, APurgeFreesTheLargestBlocksThatFitAndShortensTheNext)
{
    Fill({64 * kKiB, 1024 * kKiB, 512 * kKiB});
    MemoryRecycler::PurgeBytes(600 * kKiB); // 512 + 64 KiB, and 24 KiB of the largest block
    const RecycledMemory block(900 * kKiB);
    EXPECT_EQ(block.mBlockSize, 1000u * kKiB);
    EXPECT_EQ(MemoryRecycler::GetCurrentPoolSize(), 0u);
    Write(block, 900 * kKiB);

    Fill({64 * kKiB, 1024 * kKiB, 512 * kKiB});
    MemoryRecycler::PurgeBytes(1024 * kKiB);
    const RecycledMemory left(512 * kKiB);
    EXPECT_EQ(left.mBlockSize, 512 * kKiB);
    EXPECT_EQ(MemoryRecycler::GetCurrentPoolSize(), 64 * kKiB);
}

TEST_F(Recycler, AFailedRequestReturnsItsBlockToThePool)
{
    RecycledMemory block(100 * kKiB);
    const std::size_t size = block.mBlockSize;
    EXPECT_THROW(block.Allocate(-1), std::bad_alloc);
    EXPECT_EQ(block.mBlock, nullptr);
    EXPECT_EQ(block.mBlockSize, 0u);
    EXPECT_EQ(MemoryRecycler::GetCurrentPoolSize(), size);
    EXPECT_THROW(RecycledMemory refused(INT_MIN), std::bad_alloc);
}

// Small blocks stay with the thread that frees them.
TEST_F(Recycler, BlocksOfAllThreadsAreInThePool)
{
    const unsigned long long kBlocks = 6; // more than a thread keeps for itself
    std::promise<void> filled;
    std::promise<void> mayEnd;
    std::thread other([&] {
        Fill(std::vector<int>(kBlocks, 4096));
        filled.set_value();
        mayEnd.get_future().wait();
        Fill({4096});
    });
    filled.get_future().wait();
    EXPECT_EQ(MemoryRecycler::GetCurrentPoolSize(), kBlocks * 4096);
    EXPECT_GE(MemoryRecycler::GetMostPoolSize(), kBlocks * 4096);
    EXPECT_EQ(MemoryRecycler::PurgeBytes(kBlocks * 4096 - 100), kBlocks * 4096 - 100);
    EXPECT_EQ(MemoryRecycler::GetCurrentPoolSize(), 100u);
    MemoryRecycler::PurgeBytes(kAll);
    mayEnd.set_value();
    other.join();
    EXPECT_EQ(MemoryRecycler::GetCurrentPoolSize(), 4096u) << "the block outlives its thread";
    const RecycledMemory block(4096);
    EXPECT_EQ(MemoryRecycler::GetCurrentPoolSize(), 0u) << "for any thread";
}

TEST_F(Recycler, APurgeAndTheOwnerNeverTakeTheSameBlock)
{
    std::atomic<bool> ends(false);
    std::thread purger([&] {
        while (!ends)
            MemoryRecycler::PurgeBytes(kAll);
    });
    for (int run = 0; run < 20000; ++run)
    {
        RecycledMemory first(4096);
        RecycledMemory second(4096);
        ASSERT_NE(first.mBlock, second.mBlock);
        std::memset(first.mBlock, 1, 4096);
        std::memset(second.mBlock, 2, 4096);
        ASSERT_EQ(static_cast<char*>(first.mBlock)[4095], 1);
    }
    ends = true;
    purger.join();
    MemoryRecycler::PurgeBytes(kAll);
    EXPECT_EQ(MemoryRecycler::GetCurrentPoolSize(), 0u);
}
} // namespace
