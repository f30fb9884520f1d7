// The checked heap: its settings, what holds after it was switched off, and a report in a lack of
// memory.

#include <cstddef>
#include <cstring>
#include <set>

#include <platform/base/memory_tools.h>

#include "U_Alloc.h"
#include "tests/operations/Operations.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/NoMemory.h"

namespace
{
class CheckedHeap : public BornLibrary
{
protected:
    void SetUp() override
    {
        BornLibrary::SetUp();
        ASSERT_TRUE(platform::SetHeapChecks("stacks=1,delay=100"));
    }
    void TearDown() override
    {
        BornLibrary::TearDown();
        platform::SetHeapChecks(nullptr); // those of the environment
    }
};
} // namespace

TEST_F(CheckedHeap, AFaultFoundForLackOfMemoryIsReportedWithoutTheLockOfThePool)
{
    SKIP_UNLESS_MEMORY_CAN_BE_LIMITED();
    const U_u64 large = 64 * kMiB;
    U_FreeRecycledPtr(U_AllocateRecycledPtr(0, nullptr, large)); // the pool keeps the size
    void* const freed = U_AllocatePtrQuiet(40);
    U_FreePtr(freed);
    *static_cast<volatile char*>(freed) = 0x55;
    static int sReports;
    sReports = 0;
    platform::SetLogSink([](int, const char*, const char*, const char* text) {
        if (!std::strstr(text, "the block was written after it was freed"))
            return;
        ++sReports;
        U_PurgeRecycledMemory(1); // takes the lock
    });
    {
        const ScAddressSpaceLimit limit(8 * kMiB);
        EXPECT_EQ(U_AllocateRecycledPtr(0, nullptr, large), nullptr);
    }
    EXPECT_EQ(sReports, 1);
    U_FreeRecycledPtr(U_AllocateRecycledPtr(0, nullptr, large));
}

TEST_F(CheckedHeap, ASecondFreeAfterTheSwitchOffReadsNoUnmappedMemory)
{
    if (platform::MemoryIsWatched())
        GTEST_SKIP() << "the checker of the process reports the second free";
    ASSERT_TRUE(platform::SetHeapChecks("delay=0"));
    void* const block = U_AllocatePtrQuiet(4 * kMiB);
    U_FreePtr(block); // its pages are unmapped
    ASSERT_TRUE(platform::SetHeapChecks("0"));
    U_FreePtr(block);
    EXPECT_TRUE(mLog.Texts("HEAP_CHECK").empty());
}

// Small, medium and large blocks, whose memory a thread, all threads, and the system keep.
TEST_F(CheckedHeap, FreedBlocksAreUsedAgainAndOverlapNoOther)
{
    const std::size_t kBlocks = 300;
    ASSERT_TRUE(platform::SetHeapChecks("delay=0"));
    for (const std::size_t size : {std::size_t(40), std::size_t(3000), std::size_t(40000)})
    {
        std::set<void*> addresses;
        for (int round = 0; round < 3; ++round)
        {
            std::vector<void*> blocks;
            for (std::size_t i = 0; i < kBlocks; ++i)
            {
                blocks.push_back(U_AllocatePtrQuiet(size));
                std::memset(blocks.back(), static_cast<int>(i % 256), size);
            }
            for (std::size_t i = 0; i < kBlocks; ++i)
                EXPECT_TRUE(IsFilled(blocks[i], static_cast<int>(i % 256), size));
            addresses.insert(blocks.begin(), blocks.end());
            for (void* const block : blocks)
                U_FreePtr(block);
        }
        EXPECT_TRUE(platform::MemoryIsWatched() || addresses.size() < 2 * kBlocks) << size;
    }
}

TEST(HeapCheckSettings, TextsThatAreNotUnderstoodChangeNothing)
{
    ASSERT_TRUE(platform::SetHeapChecks("0"));
    for (const char* text : {"2", "on", "stacks", "stacks=", "stacks=x", "stacks=-1", "delay=10001",
                             "stacks=1;", "stacks=1,", ",", "abort=1", "stacks=1234567", " 1"})
        EXPECT_FALSE(platform::SetHeapChecks(text)) << text;
    void* const block = U_AllocatePtrQuiet(40);
    EXPECT_EQ(platform::CheckHeap(), 0u);
    U_FreePtr(block);
    for (const char* text : {"1", "stacks=0", "stacks=16,delay=0", "abort,delay=10000", "", "0"})
        EXPECT_TRUE(platform::SetHeapChecks(text)) << text;
    platform::SetHeapChecks(nullptr);
}
