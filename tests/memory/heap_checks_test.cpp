// The checked heap: faults in blocks, wrong frees, and leaks with their operation.

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <tuple>
#include <utility>

#include <gmock/gmock.h>

#include <platform/base/memory_tools.h>
#include <tolv/memory.h>
#include <tolv/toolbox.h>

#include "U_Alloc.h"
#include "U_Lifecycle.h"
#include "U_MemServices.h"
#include "tests/support/BlockKinds.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/NoMemory.h"
#include "tests/support/System.h"

namespace
{
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

const U_u64 kSize = 40;

// Indices of kBlockKinds.
const std::size_t kPointer = 0;
const std::size_t kHandle = 1;
const std::size_t kHog = 3;
const std::size_t kRecycled = 4;

// Volatile, so that the compiler does not see the fault. The address sanitizer sees no fault in the
// bytes that the heap hides.
PLATFORM_READS_HIDDEN_MEMORY void Damage(char* byte)
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
        ASSERT_EQ(U_RegisterHog("hog", &sBlockHog), 0);
    }
    void TearDown() override
    {
        BornLibrary::TearDown();
        platform::SetHeapChecks(nullptr); // those of the environment
    }

    // Returns the reports since the last call, each with its stacks.
    Texts Reports()
    {
        Texts reports;
        for (const std::string& text : mLog.Texts("HEAP_CHECK"))
        {
            const std::size_t stacks =
                text.rfind("stacks of the fault at ", 0) == 0 ? text.find('\n') : std::string::npos;
            if (stacks != std::string::npos && !reports.empty())
                reports.back() += text.substr(stacks);
            else
                reports.push_back(text);
        }
        mLog.Clear();
        return reports;
    }
};

testing::Matcher<std::string> Fault(const char* fault, const BlockKind& kind)
{
    return AllOf(HasSubstr(fault),
                 HasSubstr(std::string(kind.mName) + " \"op\", location 7 :: 9\n  allocated at\n"),
                 HasSubstr("\n  found at\n"));
}

// The address and the size that the host knows.
testing::Matcher<std::string> Names(const Block& block, U_u64 size)
{
    char text[80];
    std::snprintf(text, sizeof(text),
                  ": %p\n  block of %llu bytes: ", static_cast<void*>(block.mBytes),
                  static_cast<unsigned long long>(size));
    return HasSubstr(text);
}

// Uses a block of one kind through a function for another kind.
struct WrongUse
{
    const char* mName;
    std::size_t mKind;
    void (*mUse)(const Block& block);
    bool mFrees; // as without the checks
};

void** OwnerOf(const Block& block)
{
    return static_cast<void**>(block.mOwner);
}

void Resize(void* pointer)
{
    U_ResizePtr(kBlockLocation, 2 * kSize, "resize", &pointer);
}

void ResizeAsHandle(const Block& block, U_u64 size)
{
    void** handle = OwnerOf(block);
    U_ResizeHandle(kBlockLocation, size, "resize", &handle);
}

// Fills the block, with another byte in the place of a hog's mark.
void FreeAsHog(const Block& block, int byte, char mark)
{
    std::memset(block.mBytes, byte, kSize);
    block.mBytes[8] = mark;
    U_FreeHogHandle(OwnerOf(block));
}

const WrongUse kWrongUses[] = {
    {"U_FreePtr", kHandle, [](const Block& block) { U_FreePtr(block.mOwner); }, false},
    {"U_FreePtr of the bytes", kHandle, [](const Block& block) { U_FreePtr(block.mBytes); }, true},
    {"U_ResizePtr of the bytes", kHandle, [](const Block& block) { Resize(block.mBytes); }, false},
    {"U_FreePtr", kRecycled, [](const Block& block) { U_FreePtr(block.mOwner); }, false},
    {"U_ResizePtr", kRecycled, [](const Block& block) { Resize(block.mOwner); }, false},
    {"U_FreeHandle", kPointer, [](const Block& block) { U_FreeHandle(OwnerOf(block)); }, false},
    {"U_FreeHandle", kRecycled, [](const Block& block) { U_FreeHandle(OwnerOf(block)); }, false},
    {"U_FreeHandle", kHog, [](const Block& block) { U_FreeHandle(OwnerOf(block)); }, true},
    {"U_ResizeHandle", kPointer, [](const Block& block) { ResizeAsHandle(block, 2 * kSize); },
     false},
    {"U_ResizeHandle to its size", kHog,
     [](const Block& block) { ResizeAsHandle(block, 16 + kSize); }, false},
    {"DisposeHandle", kHandle, [](const Block& block) { DisposeHandle(OwnerOf(block)); }, false},
    {"DisposeHandle of the bytes", kHandle,
     [](const Block& block) { DisposeHandle(reinterpret_cast<void**>(block.mBytes)); }, false},
    {"DisposeHandle", kHog, [](const Block& block) { DisposeHandle(OwnerOf(block)); }, false},
    {"DisposeHandle", kPointer, [](const Block& block) { DisposeHandle(OwnerOf(block)); }, false},
    {"GetHandleSize", kHandle, [](const Block& block) { GetHandleSize(OwnerOf(block)); }, false},
    {"U_FreeRecycledPtr", kPointer, [](const Block& block) { U_FreeRecycledPtr(block.mOwner); },
     false},
    {"U_FreeRecycledPtr", kHandle, [](const Block& block) { U_FreeRecycledPtr(block.mOwner); },
     false},
    {"U_FreeHogHandle", kHandle, [](const Block& block) { FreeAsHog(block, 0x55, 0x55); }, false},
    {"U_FreeHogHandle of zeros", kHandle, [](const Block& block) { FreeAsHog(block, 0, 0); },
     true}, // the index of the first hog
    {"U_FreeHogHandle of a hog's index", kHandle,
     [](const Block& block) { FreeAsHog(block, 0, 8); }, true},
    {"U_LockHogHandle", kHandle,
     [](const Block& block) {
         void* data = nullptr;
         std::memset(block.mBytes, 0x55, kSize);
         U_LockHogHandle(OwnerOf(block), &data);
     },
     false},
};

} // namespace

TEST_F(HeapChecks, FaultsInBlocksAreReportedWithTheirOriginAndRepaired)
{
    for (const BlockKind& kind : kBlockKinds)
    {
        for (const U_u64 size : {U_u64(0), U_u64(1), kSize, U_u64(5000)})
        {
            SCOPED_TRACE(testing::Message() << kind.mName << ' ' << size);
            Block block = kind.mAllocate(size);
            Damage(block.mBytes + size);
            EXPECT_EQ(platform::CheckHeap(), 1u);
            EXPECT_EQ(mLog.Lines().front().level, 0);
            EXPECT_EQ(platform::CheckHeap(), 0u) << "repaired";
            Damage(block.mBytes + size + 15);
            kind.mFree(block.mOwner);
            const char* const overrun = "bytes after the end of the block were overwritten";
            const auto report = AllOf(Fault(overrun, kind), Names(block, size));
            EXPECT_THAT(Reports(), ElementsAre(report, report));

            block = kind.mAllocate(size);
            if (kind.mFindsUnderrun)
            {
                Damage(block.mBytes - 1);
                Damage(block.mBytes - 9);
            }
            kind.mFree(block.mOwner);
            EXPECT_THAT(Reports(), testing::SizeIs(kind.mFindsUnderrun ? 1 : 0))
                << "a block with a damaged header is freed";
            if (!size || platform::MemoryIsWatched())
                continue; // a checker of the process finds a use after the free

            block = kind.mAllocate(size);
            kind.mFree(block.mOwner);
            Damage(block.mBytes + size - 1);
            EXPECT_EQ(platform::CheckHeap(), 1u);
            EXPECT_THAT(Reports(),
                        ElementsAre(AllOf(Fault("the block was written after it was freed", kind),
                                          Names(block, size), HasSubstr("\n  freed at\n    "))));
            Damage(block.mBytes + size);
            EXPECT_EQ(platform::CheckHeap(), 1u);
            EXPECT_THAT(Reports(), ElementsAre(Fault(overrun, kind)));
        }
    }
}

// Long accesses damage neighbours, too. The process continues.
TEST_F(HeapChecks, ALongOverrunIsReportedAndTheHeapContinues)
{
    if (platform::MemoryIsWatched())
        GTEST_SKIP() << "a checker of the process ends the process";
    const std::tuple<const char*, std::ptrdiff_t, std::ptrdiff_t> sides[] = {
        // the fault, the byte beside the block, the step
        {"bytes after the end of the block were overwritten", kSize, 1},
        {"bytes before the block were overwritten", -1, -1},
    };
    for (const BlockKind& kind : kBlockKinds)
    {
        for (const auto& [fault, first, step] : sides)
        {
            for (const std::ptrdiff_t length : {24, 40, 64, 200})
            {
                if (!kind.mFindsUnderrun)
                    continue;
                SCOPED_TRACE(testing::Message() << kind.mName << fault << length);
                const Block before = kind.mAllocate(kSize);
                const Block culprit = kind.mAllocate(kSize);
                const Block after = kind.mAllocate(kSize);
                for (std::ptrdiff_t i = 0; i < length; ++i)
                    Damage(culprit.mBytes + first + i * step);
                for (const Block& block : {culprit, before, after, kind.mAllocate(kSize)})
                    kind.mFree(block.mOwner);
                for (int count = 0; count < 300; ++count) // the blocks leave the queue
                    kind.mFree(kind.mAllocate(kSize).mOwner);
                EXPECT_THAT(Reports(),
                            testing::Contains(AllOf(Fault(fault, kind), Names(culprit, kSize))));
            }
        }
    }
}

TEST_F(HeapChecks, AWriteToAFreedBlockIsReportedWhenTheBlockLeavesTheQueue)
{
    if (platform::MemoryIsWatched())
        GTEST_SKIP() << "a checker of the process has the queue";
    const std::pair<std::ptrdiff_t, const char*> rows[] = {
        {0, "the block was written after it was freed"},
        {-1, "bytes before the block were overwritten"},
        {-9, "bytes before the block were overwritten"},
        {kSize, "bytes after the end of the block were overwritten"}};
    for (const auto& [place, fault] : rows)
    {
        char* const freed = AllocatePointer(kSize).mBytes;
        U_FreePtr(freed);
        Damage(freed + place);
        for (int count = 0; count < 100; ++count)
            U_FreePtr(U_AllocatePtrQuiet(kSize));
        EXPECT_THAT(Reports(),
                    ElementsAre(AllOf(Fault(fault, kBlockKinds[0]), HasSubstr("\n  freed at\n"))));
    }
}

TEST_F(HeapChecks, QueriesAndLocksVerifyTheGuards)
{
    static U_u64 sPointerSize;
    static U_u32 sHandleSize;
    static void* sData;
    const std::pair<std::size_t, void (*)(const Block& block)> rows[] = {
        {kPointer, [](const Block& block) { U_GetPtrSize(block.mOwner, &sPointerSize); }},
        {kHandle, [](const Block& block) { U_GetHandleSize(OwnerOf(block), &sHandleSize); }},
        {kHog, [](const Block& block) { U_LockHogHandle(OwnerOf(block), &sData); }},
    };
    for (const auto& [kind, use] : rows)
    {
        const Block block = kBlockKinds[kind].mAllocate(kSize);
        Damage(block.mBytes + kSize);
        use(block);
        EXPECT_THAT(Reports(), ElementsAre(Fault("bytes after the end", kBlockKinds[kind])));
        kBlockKinds[kind].mFree(block.mOwner);
    }
}

TEST_F(HeapChecks, ASecondFreeIsReportedWithBothStacksAndChangesNothing)
{
    const U_u64 used = InUse();
    for (const BlockKind& kind : kBlockKinds)
    {
        // The memory of a large block leaves the process at once.
        for (const U_u64 size : {kSize, U_u64(20) << 20})
        {
            for (const int further : {0, 200}) // blocks until the block has left the queue
            {
                SCOPED_TRACE(testing::Message() << kind.mName << ' ' << size << ' ' << further);
                const Block block = kind.mAllocate(size);
                kind.mFree(block.mOwner);
                for (int count = 0; count < further; ++count)
                    U_FreePtr(U_AllocatePtrQuiet(kSize + 100));
                EXPECT_THAT(Reports(), ElementsAre());
                kind.mFree(block.mOwner);
                EXPECT_THAT(Reports(), ElementsAre(AllOf(Fault("freed a second time", kind),
                                                         HasSubstr("\n  freed at\n"))));
            }
        }
    }
    EXPECT_EQ(InUse() - U_GetRecycledMemorySize(), used);
}

TEST_F(HeapChecks, ABlockFromBeforeTheChecksIsFreed)
{
    for (const BlockKind& kind : kBlockKinds)
    {
        const U_u64 used = InUse();
        platform::SetHeapChecks("0");
        const Block block = kind.mAllocate(kSize);
        platform::SetHeapChecks("1");
        kind.mFree(block.mOwner);
        EXPECT_THAT(Reports(), ElementsAre()) << kind.mName;
        EXPECT_EQ(InUse() - U_GetRecycledMemorySize(), used) << kind.mName;
    }
}

TEST_F(HeapChecks, AnotherUseOfAFreedBlockIsReportedOnceAndNotToTheUser)
{
    void* const pointer = AllocatePointer(kSize).mOwner;
    U_FreePtr(pointer);
    void* resized = pointer;
    EXPECT_EQ(U_ResizePtr(kBlockLocation, 2 * kSize, "resize", &resized), 4);
    EXPECT_EQ(resized, nullptr);
    EXPECT_THAT(Reports(), ElementsAre(Fault("a freed block was used", kBlockKinds[kPointer])));
    U_u64 size = 0;
    U_GetPtrSize(pointer, &size);
    EXPECT_THAT(Reports(), ElementsAre(Fault("a freed block was used", kBlockKinds[kPointer])));

    alignas(16) static char foreign[64];
    U_FreePtr(foreign + 32);
    EXPECT_THAT(Reports(), ElementsAre(HasSubstr("an address that is no live block was used")));
    EXPECT_THAT(mAlerts.Texts(), testing::Not(testing::Contains(HasSubstr("RAM"))));
}

TEST_F(HeapChecks, AResizeAndAFreeReturnTheMemory)
{
    SKIP_UNLESS_MEMORY_CAN_BE_LIMITED(); // a sanitizer keeps freed memory, and has its own
    U_MemoryStats before = {};
    U_MemoryStats after = {};
    void** handle = U_AllocateHandle(kBlockLocation, "op", kSize);
    U_GetSystemMemoryStats(&before);
    for (int step = 0; step < 4000; ++step)
        ASSERT_EQ(U_ResizeHandle(kBlockLocation, step % 2 ? 20000 : 30000, "resize", &handle), 0);
    U_GetSystemMemoryStats(&after);
    EXPECT_LE(after.mResident, before.mResident + (16 << 20));
    FreeHandle(handle);

    // Of the blocks that have pages of their own, the queue and the heap keep 48 MiB.
    const U_u64 kLarge = 1000000;
    std::vector<void*> blocks(120);
    for (void*& block : blocks)
        block = std::memset(U_AllocatePtrQuiet(kLarge), 1, kLarge);
    for (void* const block : blocks)
        U_FreePtr(block);
    U_GetSystemMemoryStats(&after);
    EXPECT_LE(after.mResident, before.mResident + (80 << 20));
}

TEST_F(HeapChecks, AUseThroughAFunctionForAnotherKindIsReported)
{
    for (const WrongUse& row : kWrongUses)
    {
        const BlockKind& kind = kBlockKinds[row.mKind];
        SCOPED_TRACE(testing::Message() << row.mName << " of a " << kind.mName);
        const Block block = kind.mAllocate(kSize);
        row.mUse(block);
        EXPECT_THAT(Reports(), ElementsAre(Fault("a function for another kind of block", kind)));
        kind.mFree(block.mOwner);
        EXPECT_EQ(Reports().size(), row.mFrees ? 1u : 0u);
    }
}

TEST_F(HeapChecks, AStaleHandleIsReportedOnceByEachOperation)
{
    typedef U_Status (*Copy)(void** handle, void*** out);
    const std::pair<std::size_t, Copy> rows[] = {
        {kHandle,
         [](void** handle, void***) {
             return U_ResizeHandle(kBlockLocation, 2 * kSize, "resize", &handle);
         }},
        {kHandle, [](void** handle, void***) { return MEM_SetHandleSize(nullptr, handle, kSize); }},
        {kHandle,
         [](void** handle, void*** out) { return U_DuplicateHandle(handle, "copy", out); }},
        {kHandle,
         [](void** handle, void*** out) {
             U_NewHogHandleFromHandle(sBlockHog, handle, out);
             return U_FreeHogHandle(std::exchange(*out, nullptr));
         }},
        {kHog, &U_NewHandleFromHogHandle},
        {kHog, [](void** handle, void***) { return U_FreeHogHandle(handle); }},
        {kHog,
         [](void** handle, void***) { return U_ResizeHogHandle(kBlockLocation, "op", 1, handle); }},
    };
    for (const auto& [index, use] : rows)
    {
        const BlockKind& kind = kBlockKinds[index];
        const Block block = kind.mAllocate(kSize);
        kind.mFree(block.mOwner);
        void** out = nullptr;
        use(OwnerOf(block), &out);
        EXPECT_THAT(Reports(), ElementsAre(Fault("a freed handle was used", kind)));
        FreeHandle(out);
    }
}

TEST_F(HeapChecks, ACopyOfAHogHandleIsNoFault)
{
    void** const original = OwnerOf(AllocateHog(kSize));
    for (const bool isLast : {false, true})
    {
        void** copy = nullptr;
        ASSERT_EQ(U_DuplicateHandle(original, "copy", &copy), 0);
        if (isLast)
            U_FreeHogHandle(original);
        EXPECT_EQ(U_FreeHogHandle(copy), 0);
    }
    EXPECT_THAT(Reports(), ElementsAre());
}

TEST_F(HeapChecks, AHogHandleWithAnOverwrittenHeaderIsReported)
{
    const auto fault = Fault("bytes before the block", kBlockKinds[kHog]);
    const Block unknown = AllocateHog(kSize);
    std::memset(unknown.mBytes - 16, 0x55, 16);
    U_FreeHogHandle(OwnerOf(unknown));
    EXPECT_THAT(Reports(), ElementsAre(fault)) << "no hog has the index";
    FreeHandle(unknown.mOwner);
    const Block unmarked = AllocateHog(kSize);
    Damage(unmarked.mBytes - 1);
    U_FreeHogHandle(OwnerOf(unmarked));
    EXPECT_THAT(Reports(), ElementsAre(fault));
}

TEST_F(HeapChecks, AStaleHandleIsNoNewerHandle)
{
    void** const stale = U_AllocateHandle(kBlockLocation, "op", kSize);
    U_FreeHandle(stale);
    ASSERT_TRUE(platform::SetHeapChecks("stacks=0,delay=100"));
    for (int count = 0; count < 50000; ++count)
    {
        void** const newer = U_AllocateHandleQuiet(kSize);
        ASSERT_NE(newer, stale) << count;
        U_FreeHandle(newer);
        U_FreePtr(U_AllocatePtrQuiet(kSize));
    }
    EXPECT_THAT(Reports(), ElementsAre());
    U_u32 size = 0;
    U_GetHandleSize(stale, &size);
    EXPECT_THAT(Reports(), ElementsAre(Fault("a freed handle was used", kBlockKinds[kHandle])))
        << "although the memory of the block was freed";
}

TEST_F(HeapChecks, DeathLogsEachLeakWithItsOrigin)
{
    const std::size_t kKinds = std::size(kBlockKinds);
    std::vector<Block> leaks;
    std::vector<testing::Matcher<std::string>> expected;
    for (std::size_t i = 0; i < 2 * kKinds; ++i)
        leaks.push_back(kBlockKinds[i % kKinds].mAllocate(kSize));
    for (const BlockKind& kind : kBlockKinds)
    {
        expected.push_back(AllOf(HasSubstr("2 blocks, 80 bytes left: " + std::string(kind.mName) +
                                           " \"op\", location 7 :: 9\n  allocated at\n"),
                                 HasSubstr(IsWindows() ? "" : "\n    main")));
    }
    ASSERT_TRUE(platform::SetHeapChecks("stacks=4"));
    for (int i = 0; i < 24; ++i)
        leaks.push_back(AllocatePointer(1));
    expected.push_back(AllOf(HasSubstr("6 blocks, 6 bytes left: "), HasSubstr("allocated at\n")));
    expected.push_back(
        AllOf(HasSubstr("18 blocks, 18 bytes left: "), HasSubstr("a stack that was not kept")));
    ASSERT_EQ(U_Death(), 0);
    EXPECT_THAT(Reports(), testing::UnorderedElementsAreArray(expected));
    for (std::size_t i = 0; i < leaks.size(); ++i)
    {
        const BlockKind& kind = kBlockKinds[i < 2 * kKinds ? i % kKinds : kPointer];
        const auto release = kind.mAllocate == &AllocateHog ? &FreeHandle : kind.mFree;
        release(leaks[i].mOwner);
    }
    EXPECT_THAT(Reports(), ElementsAre());
    ASSERT_EQ(U_Birth("Test Host", nullptr), 0); // for TearDown
    mLog.Clear();
}
