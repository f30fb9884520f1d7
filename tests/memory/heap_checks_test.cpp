// The checked heap: faults in blocks, wrong frees, and leaks with their operation.

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <platform/control.h>

#include "U_Alloc.h"
#include "U_Hog.h"
#include "U_Lifecycle.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/NoMemory.h"

namespace
{
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

const U_u32 kLocation = 7 << 16 | 9;
const U_u64 kSize = 40;

struct Block
{
    void* mOwner = nullptr; // the pointer or the handle
    char* mBytes = nullptr;
};

Block AllocatePointer(U_u64 size)
{
    void* const pointer = U_AllocatePtr(kLocation, "op", size);
    return {pointer, static_cast<char*>(pointer)};
}

Block AllocateHandle(U_u64 size)
{
    void** const handle = U_AllocateHandle(kLocation, "op", size);
    return {handle, static_cast<char*>(*handle)};
}

Block AllocateResized(U_u64 size)
{
    void** handle = U_AllocateHandle(kLocation, "op", size + 1000);
    EXPECT_EQ(U_ResizeHandle(0, size, "another operation", &handle), 0);
    return {handle, static_cast<char*>(*handle)};
}

U_u32 sHog = 0;

Block AllocateHog(U_u64 size)
{
    void** handle = nullptr;
    EXPECT_EQ(U_NewHogHandle(sHog, kLocation, "op", size, 0, &handle), 0);
    return {handle, static_cast<char*>(*handle) + 16};
}

Block AllocateRecycled(U_u64 size)
{
    void* const pointer = U_AllocateRecycledPtr(kLocation, "op", size);
    return {pointer, static_cast<char*>(pointer)};
}

void FreeHandle(void* handle)
{
    EXPECT_EQ(U_FreeHandle(static_cast<void**>(handle)), 0);
}

struct Kind
{
    const char* mName; // in a report
    Block (*mAllocate)(U_u64 size);
    void (*mFree)(void* owner);
    bool mFindsUnderrun; // the header of a hog handle belongs to the block
};
const Kind kKinds[] = {
    {"pointer", &AllocatePointer, [](void* block) { U_FreePtr(block); }, true},
    {"handle", &AllocateHandle, &FreeHandle, true},
    {"handle", &AllocateResized, &FreeHandle, true},
    {"hog handle", &AllocateHog, [](void* handle) { U_FreeHogHandle(static_cast<void**>(handle)); },
     false},
    {"recycled pointer", &AllocateRecycled, [](void* block) { U_FreeRecycledPtr(block); }, true},
};

// Volatile, so that the compiler does not see the fault.
void Damage(char* byte)
{
    *static_cast<volatile char*>(byte) ^= 0x55;
}

class HeapChecks : public BornLibrary
{
protected:
    void SetUp() override
    {
        BornLibrary::SetUp();
        ASSERT_TRUE(platform::SetHeapChecks("stacks=1,delay=100"));
        ASSERT_EQ(U_RegisterHog("hog", &sHog), 0);
    }
    void TearDown() override
    {
        BornLibrary::TearDown();
        platform::SetHeapChecks("0");
    }

    // Returns the reports since the last call.
    std::vector<std::string> Reports()
    {
        const std::vector<std::string> reports = mLog.Texts("HEAP_CHECK");
        mLog.Clear();
        return reports;
    }
};

testing::Matcher<std::string> Fault(const char* fault, const Kind& kind)
{
    return AllOf(HasSubstr(fault),
                 HasSubstr(std::string(kind.mName) + " \"op\", location 7 :: 9\n  allocated at\n"),
                 HasSubstr("\n  found at\n"));
}
} // namespace

TEST_F(HeapChecks, FaultsInBlocksAreReportedWithTheirOriginAndRepaired)
{
    for (const Kind& kind : kKinds)
    {
        for (const U_u64 size : {U_u64(0), U_u64(1), kSize, U_u64(5000)})
        {
            SCOPED_TRACE(testing::Message() << kind.mName << ' ' << size);
            Block block = kind.mAllocate(size);
            Damage(block.mBytes + size);
            EXPECT_EQ(platform::CheckHeap(), 1u);
            EXPECT_EQ(platform::CheckHeap(), 0u) << "repaired";
            Damage(block.mBytes + size + 15);
            kind.mFree(block.mOwner);
            const char* const overrun = "bytes after the end of the block were overwritten";
            EXPECT_THAT(Reports(), ElementsAre(Fault(overrun, kind), Fault(overrun, kind)));

            block = kind.mAllocate(size);
            if (kind.mFindsUnderrun)
            {
                Damage(block.mBytes - 1);
                Damage(block.mBytes - 9);
            }
            kind.mFree(block.mOwner);
            EXPECT_THAT(Reports(), testing::SizeIs(kind.mFindsUnderrun ? 1 : 0))
                << "a block with a damaged header is freed";
            if (!size)
                continue;

            block = kind.mAllocate(size);
            kind.mFree(block.mOwner);
            Damage(block.mBytes + size - 1);
            EXPECT_EQ(platform::CheckHeap(), 1u);
            EXPECT_THAT(Reports(),
                        ElementsAre(AllOf(Fault("the block was written after it was freed", kind),
                                          HasSubstr("\n  freed at\n    "))));
        }
    }
}

TEST_F(HeapChecks, AWriteToAFreedBlockIsReportedWhenTheBlockLeavesTheQueue)
{
    char* const freed = AllocatePointer(kSize).mBytes;
    U_FreePtr(freed);
    Damage(freed);
    for (int count = 0; count < 100; ++count)
        U_FreePtr(U_AllocatePtrQuiet(kSize));
    EXPECT_THAT(Reports(), ElementsAre(Fault("was written after it was freed", kKinds[0])));
}

TEST_F(HeapChecks, WrongFreesAreReportedAndChangeNothing)
{
    const char* const freedTwice = "a freed block was used, or freed a second time";
    const char* const noBlock = "an address that is no live block was used or freed";
    const char* const otherKind = "a block was freed by a function for another kind of block";
    const U_u64 used = InUse();
    for (const Kind& kind : kKinds)
    {
        SCOPED_TRACE(kind.mName);
        const Block block = kind.mAllocate(kSize);
        kind.mFree(block.mOwner);
        EXPECT_THAT(Reports(), ElementsAre());
        kind.mFree(block.mOwner);
        EXPECT_THAT(Reports(),
                    ElementsAre(AllOf(HasSubstr("freed a second time"), HasSubstr("freed at\n"))));
    }
    Block freed = AllocatePointer(kSize);
    U_FreePtr(freed.mOwner);
    U_u64 size = 0;
    U_GetPtrSize(freed.mOwner, &size);
    EXPECT_THAT(Reports(), ElementsAre(HasSubstr(freedTwice)));

    void* const foreign = std::calloc(100, 1);
    U_FreePtr(static_cast<char*>(foreign) + 32);
    EXPECT_THAT(Reports(), ElementsAre(HasSubstr(noBlock)));
    std::free(foreign);

    const Block pointer = AllocatePointer(kSize);
    U_FreeRecycledPtr(pointer.mOwner);
    EXPECT_THAT(Reports(), ElementsAre(AllOf(HasSubstr(otherKind), HasSubstr("pointer \"op\""))));
    U_FreePtr(pointer.mOwner);
    const Block recycled = AllocateRecycled(kSize);
    U_FreePtr(recycled.mOwner);
    EXPECT_THAT(Reports(), ElementsAre(HasSubstr(noBlock)));
    U_FreeRecycledPtr(recycled.mOwner);
    U_FreePtr(AllocateHandle(kSize).mBytes);
    EXPECT_THAT(Reports(), ElementsAre(HasSubstr(otherKind)));
    EXPECT_EQ(InUse() - U_GetRecycledMemorySize(), used);
}

TEST_F(HeapChecks, AStaleHandleIsNoNewerHandle)
{
    void** const stale = U_AllocateHandle(kLocation, "op", kSize);
    U_FreeHandle(stale);
    std::vector<void**> newer;
    for (int count = 0; count < 2000; ++count)
        newer.push_back(U_AllocateHandleQuiet(kSize));
    for (void** handle : newer)
        EXPECT_NE(handle, stale);
    for (void** handle : newer)
        U_FreeHandle(handle);
    Reports();
    U_u32 size = 0;
    U_GetHandleSize(stale, &size);
    EXPECT_THAT(Reports(), ElementsAre(AllOf(HasSubstr("a freed handle was used"),
                                             HasSubstr("handle \"op\", location 7 :: 9"))))
        << "although the memory of the block was freed";
}

TEST_F(HeapChecks, AFaultFoundForLackOfMemoryIsReportedWithoutTheLockOfThePool)
{
    SKIP_UNLESS_MEMORY_CAN_BE_LIMITED();
    const U_u64 large = 64 * kMiB;
    U_FreeRecycledPtr(AllocateRecycled(large).mOwner); // the pool keeps the size
    char* const freed = AllocatePointer(kSize).mBytes;
    U_FreePtr(freed);
    Damage(freed);
    static int sReports;
    sReports = 0;
    platform::SetLogSink([](int, const char*, const char* tag, const char*) {
        if (!tag || std::strcmp(tag, "HEAP_CHECK") != 0)
            return;
        ++sReports;
        U_PurgeRecycledMemory(1); // takes the lock
    });
    {
        const ScAddressSpaceLimit limit(8 * kMiB);
        EXPECT_EQ(U_AllocateRecycledPtr(kLocation, nullptr, large), nullptr);
    }
    EXPECT_EQ(sReports, 1);
    U_FreeRecycledPtr(AllocateRecycled(large).mOwner);
}

TEST_F(HeapChecks, DeathLogsEachLeakWithItsOrigin)
{
    std::vector<Block> leaks;
    for (const Kind& kind : kKinds)
        leaks.push_back(kind.mAllocate(kSize));
    ASSERT_EQ(U_Death(), 0);
    EXPECT_THAT(Reports(),
                testing::UnorderedElementsAre(
                    HasSubstr("40 bytes left: pointer \"op\", location 7 :: 9\n  allocated at\n"),
                    HasSubstr("40 bytes left: handle \"op\", location 7 :: 9\n  allocated at\n"),
                    HasSubstr("40 bytes left: handle \"op\", location 7 :: 9\n  allocated at\n"),
                    HasSubstr("56 bytes left: hog handle \"op\", location 7 :: 9\n  allocated at"),
                    HasSubstr("56 bytes left: recycled pointer \"op\", location 7 :: 9\n")));
    for (std::size_t kind = 0; kind < leaks.size(); ++kind)
    {
        if (kKinds[kind].mAllocate == &AllocateHog)
            FreeHandle(leaks[kind].mOwner);
        else
            kKinds[kind].mFree(leaks[kind].mOwner);
    }
    ASSERT_EQ(U_Birth("Test Host", nullptr), 0); // for TearDown
    mLog.Clear();
}

TEST(HeapCheckSettings, TextsThatAreNotUnderstoodChangeNothing)
{
    ASSERT_TRUE(platform::SetHeapChecks("0"));
    for (const char* text : {"2", "on", "stacks", "stacks=", "stacks=x", "stacks=-1", "delay=10001",
                             "stacks=1;", "stacks=1,", ",", "abort=1", "stacks=1234567", " 1"})
        EXPECT_FALSE(platform::SetHeapChecks(text)) << text;
    void* const block = U_AllocatePtrQuiet(kSize);
    EXPECT_EQ(platform::CheckHeap(), 0u);
    U_FreePtr(block);
    for (const char* text : {"1", "stacks=0", "stacks=16,delay=0", "abort,delay=10000", "", "0"})
        EXPECT_TRUE(platform::SetHeapChecks(text)) << text;
    platform::SetHeapChecks("0");
}
