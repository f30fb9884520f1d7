// The loop of every allocation: attempts, purges and log lines.

#include <win32/memory.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "U_Hog.h"
#include "U_MemServices.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/NoMemory.h"
#include "tests/support/OnThreads.h"
#include "tests/support/PurgeHost.h"

namespace
{
const char kFailed[] = "ALLOC_OP_FAILED: Fragmentation or other resource constraint\treqsize Kb:3";
const char kNamed[] = "ALLOC_OP_FAILED: OpName:Test block";
const char kRecovered[] = "ALLOC_OP_FAILED_RECOVERY_STAT: success:t, retries:1";
const char kNotRecovered[] = "ALLOC_OP_FAILED_RECOVERY_STAT: success:f, retries:1";

const U_u64 kSize = 3100; // 3 KiB in the log, and measured each time

class Retry : public BornLibrary
{
protected:
    void SetUp() override
    {
        BornLibrary::SetUp();
        mPointer = U_AllocatePtrQuiet(16);
        mHandle = U_AllocateHandleQuiet(16);
    }

    void TearDown() override
    {
        U_FreePtr(mPointer);
        U_FreeHandle(mHandle);
        BornLibrary::TearDown();
    }

    void FailNext(int count)
    {
        mFailures = count;
        platform::SetHeapFailure([this](unsigned long long) { return mFailures-- > 0; });
        mLog.Clear();
    }

    // The lines of the loop, without the line of the report.
    Texts LoopLines() const
    {
        Texts lines = mLog.Texts();
        if (!lines.empty() && lines.back().compare(0, 4, "POSS") == 0)
            lines.pop_back();
        return lines;
    }

    // Allocates kSize bytes in one of kFunctions ways. Returns whether that succeeded.
    bool Allocate(int function, const char* name)
    {
        if (function == 0)
            return FreeBlock(U_AllocateHandle(1, name, kSize));
        if (function == 1)
            return FreeBlock(U_AllocatePtr(1, name, kSize));
        if (function == 2)
            return U_ResizeHandle(1, kSize, name, &mHandle) == 0;
        void* resized = mPointer;
        if (U_ResizePtr(1, kSize, name, &resized))
            return false;
        mPointer = resized;
        return true;
    }
    static const int kFunctions = 4;

    int mFailures = 0;
    void* mPointer = nullptr;
    void** mHandle = nullptr;

private:
    static bool FreeBlock(void** handle) { return U_FreeHandle(handle), handle != nullptr; }
    static bool FreeBlock(void* pointer) { return U_FreePtr(pointer), pointer != nullptr; }
};

int Procedure(void*, bool* okay)
{
    *okay = true;
    return 0;
}
} // namespace

TEST_F(Retry, EachFunctionRetriesOnceAlsoIfUseDidNotFall)
{
    // Of each number of failures: the lines, without the line of the name after each failure.
    const Texts rows[] = {
        {},
        {kFailed, kRecovered},
        {kFailed, kFailed, kNotRecovered, "ALLOC_FAILED_UNABLE_TO_RECOVER: what:"},
    };
    for (int number = 0; number < 2 * kFunctions * 3; ++number)
    {
        const int failures = number % 3;
        const char* const name = number % 2 ? "Test block" : nullptr;
        SCOPED_TRACE(number);
        FailNext(failures);
        EXPECT_EQ(Allocate(number / 6, name), failures < 2);

        Texts expected;
        for (const std::string& line : rows[failures])
        {
            expected.push_back(line);
            if (name && line == kFailed)
                expected.push_back(kNamed);
        }
        if (failures == 2)
            expected.back() += name ? name : "Unidentified caller.";
        EXPECT_EQ(LoopLines(), expected);
        EXPECT_TRUE(mLog.Lines().empty() || mLog.Lines().front().level == 0);
    }
}

TEST_F(Retry, ALogThatThrowsChangesNothing)
{
    for (const int resize : {2, 3})
        Allocate(resize, nullptr); // leaves the size that the later calls leave
    const U_u64 used = InUse();
    platform::SetLogSink([](int, const char*, const char*, const char*) { throw 9; });
    for (int function = 0; function < kFunctions; ++function)
    {
        for (int failures : {1, 2})
        {
            FailNext(failures);
            EXPECT_EQ(Allocate(function, "Test block"), failures < 2) << function;
        }
    }
    const ScPurgeHost host;
    SetLimitsAboveUse(0, 0); // the budget refuses, which logs more lines
    EXPECT_FALSE(Allocate(1, "Test block"));
    bool over = false;
    EXPECT_EQ(U_CheckRAMPurgeLimit(&over, kMiB, nullptr), 0);
    EXPECT_TRUE(over);
    platform::SetLogSink(platform::LogSink());
    EXPECT_EQ(InUse(), used);
}

TEST_F(Retry, AttemptsContinueWhileUseFallsAndAreCountedInTheLog)
{
    std::vector<void*> cache;
    for (int i = 0; i < 3; ++i)
        cache.push_back(U_AllocatePtrQuiet(100000));
    const ScPurgeHost host([&](bool*) {
        if (!cache.empty())
            U_FreePtr(cache.back()), cache.pop_back();
    });
    FailNext(3);
    EXPECT_TRUE(CanAllocate(kSize));
    EXPECT_EQ(mLog.Texts("ALLOC_OP_FAILED_RECOVERY_STAT"), Texts{"success:t, retries:3"});
}

TEST_F(Retry, AFailedAttemptReadsTheSystemsFiguresTwice)
{
    const ScPurgeHost host;
    SetLimitsAboveUse(10 * kMiB, 20 * kMiB);
    const unsigned int syncs = platform::SyncMemUsageCount();
    U_PurgeLoop(
        kSize, [](void*, bool*) { return 0; }, nullptr, false);
    EXPECT_GE(platform::SyncMemUsageCount(), syncs + 4) << "two of the loop and two of the purge";
}

TEST_F(Retry, UseThatCannotBeMeasuredEndsTheLoop)
{
    platform::SetHeapFailure([](unsigned long long) {
        platform::SetUsageError(-108); // after the budget allowed the block
        return true;
    });
    mLog.Clear();
    EXPECT_EQ(U_AllocatePtrQuiet(kSize), nullptr);
    EXPECT_EQ(mLog.Texts(), (Texts{kFailed, kFailed, kNotRecovered,
                                   "ALLOC_FAILED_UNABLE_TO_RECOVER: what:Unidentified caller."}));
    mLog.Clear(); // the error comes before the first attempt now, and is not logged
    EXPECT_EQ(U_AllocatePtr(1, "block", kSize), nullptr);
    EXPECT_EQ(U_AllocateRecycledPtr(1, "block", kSize), nullptr);
    EXPECT_EQ(U_ResizeHandle(1, kSize, "block", &mHandle), 4);
    EXPECT_EQ(U_PurgeLoop(kSize, &Procedure, nullptr, false), 4);
    EXPECT_EQ(mLog.Texts(), Texts());
}

TEST_F(Retry, TheHeapIsCompactedOnMainThreadsOnly)
{
    const auto compactions = [this] {
        const unsigned int before = platform::HeapCompactCount();
        FailNext(1);
        CanAllocate(kSize);
        return platform::HeapCompactCount() - before;
    };
    EXPECT_GT(compactions(), 0u);
    OnFreshThread([&] { EXPECT_EQ(compactions(), 0u); });
}

// The last block keeps the end of the C library's heap in use.
TEST_F(Retry, ACompactionReturnsFreeMemoryToTheSystem)
{
    SKIP_UNDER_SANITIZERS(); // they keep memory that is freed
    U_MemoryStats before = {}, after = {};
    std::vector<std::vector<char>> blocks(1000, std::vector<char>(64 << 10));
    blocks.erase(blocks.begin(), blocks.end() - 1);
    U_GetSystemMemoryStats(&before);
    win32::HeapCompact(win32::GetProcessHeap(), 0);
    U_GetSystemMemoryStats(&after);
    EXPECT_LT(after.mResident, before.mResident - (30 << 20));
}

TEST_F(Retry, SizesAboveTheLargestAreRefusedAtOnce)
{
    U_u32 hog = 0;
    void** hogHandle = nullptr;
    ASSERT_EQ(U_RegisterHog("hog", &hog), 0);
    ASSERT_EQ(U_NewHogHandleFromHandle(hog, mHandle, &hogHandle), 0);
    int asked = 0;
    platform::SetHeapFailure([&](unsigned long long) { return ++asked; });
    mLog.Clear();
    void* pointer = mPointer;
    void** handle = mHandle;
    for (U_u64 size : {0x80000000ull, 0xFFFFFFFFull, 0x100000000ull, ~0ull})
    {
        SCOPED_TRACE(size);
        EXPECT_EQ(U_AllocateHandle(1, "big", size), nullptr);
        EXPECT_EQ(U_AllocatePtrClear(1, "big", size), nullptr);
        EXPECT_EQ(U_AllocateRecycledPtr(1, "big", size), nullptr);
        EXPECT_EQ(U_ResizeHandle(1, size, "big", &handle), 4);
        EXPECT_EQ(U_ResizePtr(1, size, "big", &pointer), 4);
        EXPECT_EQ(pointer, nullptr);
        EXPECT_EQ(U_ResizeHogHandle(1, "big", size, hogHandle), 4);
        EXPECT_EQ(U_PurgeLoop(size, &Procedure, nullptr, false), 4);
    }
    EXPECT_EQ(mLog.Texts(), Texts());
    // With its header this size is above the limit.
    EXPECT_EQ(U_AllocateRecycledPtr(1, "big", 0x7FFFFFFF), nullptr);
    EXPECT_EQ(U_ResizeHogHandle(1, "big", 0x7FFFFFFF, hogHandle), 4);
    EXPECT_EQ(U_FreeHogHandle(hogHandle), 0);
    EXPECT_EQ(asked, 0);
    EXPECT_EQ(U_AllocatePtrQuiet(0x7FFFFFFF), nullptr);
    EXPECT_EQ(asked, 2) << "the largest reaches the heap";
}

TEST_F(Retry, ThePurgeLoopRunsTheHostsProcedure)
{
    struct Host
    {
        int result;
        bool okay;
        int runs = 0;
    };
    const auto procedure = [](void* refcon, bool* okay) {
        Host& asked = *static_cast<Host*>(refcon);
        EXPECT_FALSE(*okay);
        *okay = asked.okay;
        ++asked.runs;
        return asked.result;
    };
    for (Host host : {Host{0, true}, Host{0, false}, Host{9, true}, Host{9, false}})
    {
        EXPECT_EQ(U_PurgeLoop(kSize, procedure, &host, false), host.result);
        EXPECT_EQ(host.runs, !host.result && host.okay ? 1 : 2) << host.result << host.okay;
    }
}
