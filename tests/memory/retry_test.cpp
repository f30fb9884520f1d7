// The loop that every allocation runs under: attempts, purges, log lines.

#include <algorithm>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>

#include <control.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "U_Threads.h"
#include "tests/support/BornLibrary.h"

namespace
{
const char kFailed[] = "ALLOC_OP_FAILED: Fragmentation or other resource constraint\treqsize Kb:3";
const char kNamed[] = "ALLOC_OP_FAILED: OpName:Test block";
const char kRecovered[] = "ALLOC_OP_FAILED_RECOVERY_STAT: success:t, retries:1";
const char kNotRecovered[] = "ALLOC_OP_FAILED_RECOVERY_STAT: success:f, retries:1";

const U_u64 kSize = 3100; // 3 KiB in the log, and measured each time

typedef std::vector<std::string> Lines;

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

    // Makes the next heap operations fail.
    void FailNext(int count)
    {
        mFailures = count;
        platform::SetHeapFailure([this](unsigned long long) { return mFailures-- > 0; });
        mLog.Clear();
    }

    // The lines of the loop, without that of the report at its end.
    Lines LoopLines() const
    {
        Lines lines = mLog.Texts();
        if (!lines.empty() && lines.back().compare(0, 4, "POSS") == 0)
            lines.pop_back();
        return lines;
    }

    int mFailures = 0;
    void* mPointer = nullptr;
    void** mHandle = nullptr;
};

// One way to ask for kSize bytes. Says whether it was had, and frees it.
struct Way
{
    const char* what;
    bool named;
    bool (*ask)(void*& pointer, void**& handle);
};

bool AskPtr(void* pointer)
{
    U_FreePtr(pointer);
    return pointer != nullptr;
}

bool AskHandle(void** handle)
{
    U_FreeHandle(handle);
    return handle != nullptr;
}

int Procedure(void*, bool* okay)
{
    *okay = true;
    return 0;
}

const Way kWays[] = {
    {"handle", true,
     [](void*&, void**&) { return AskHandle(U_AllocateHandle(1, "Test block", kSize)); }},
    {"handle, no name", false,
     [](void*&, void**&) { return AskHandle(U_AllocateHandle(1, nullptr, kSize)); }},
    {"handle, quiet", false,
     [](void*&, void**&) { return AskHandle(U_AllocateHandleQuiet(kSize)); }},
    {"handle, clear", true,
     [](void*&, void**&) { return AskHandle(U_AllocateHandleClear(1, "Test block", kSize)); }},
    {"pointer", true,
     [](void*&, void**&) { return AskPtr(U_AllocatePtr(1, "Test block", kSize)); }},
    {"pointer, quiet", false,
     [](void*&, void**&) { return AskPtr(U_AllocatePtrClearQuiet(kSize)); }},
    {"resize handle", true,
     [](void*&, void**& handle) { return U_ResizeHandle(1, kSize, "Test block", &handle) == 0; }},
    {"resize pointer", true,
     [](void*& pointer, void**&) {
         void* resized = pointer;
         const bool had = U_ResizePtr(1, kSize, "Test block", &resized) == 0;
         pointer = had ? resized : pointer;
         return had && resized;
     }},
    {"resize pointer, quiet", false,
     [](void*& pointer, void**&) {
         void* resized = pointer;
         const bool had = U_ResizePtrQuiet(kSize, &resized) == 0;
         pointer = had ? resized : pointer;
         return had && resized;
     }},
};
} // namespace

TEST_F(Retry, EachWayTriesAgainOnceWhateverHappenedToUse)
{
    for (const Way& way : kWays)
    {
        for (int failures = 0; failures <= 2; ++failures)
        {
            SCOPED_TRACE(testing::Message() << way.what << ", failures: " << failures);
            FailNext(failures);
            EXPECT_EQ(way.ask(mPointer, mHandle), failures < 2);

            Lines expected;
            for (int failed = 0; failed < std::min(failures, 2); ++failed)
            {
                expected.push_back(kFailed);
                if (way.named)
                    expected.push_back(kNamed);
            }
            if (failures)
                expected.push_back(failures == 1 ? kRecovered : kNotRecovered);
            if (failures > 1)
                expected.push_back(std::string("ALLOC_FAILED_UNABLE_TO_RECOVER: what:") +
                                   (way.named ? "Test block" : "Unidentified caller."));
            EXPECT_EQ(LoopLines(), expected);
            EXPECT_TRUE(mLog.Lines().empty() || mLog.Lines().front().level == 0);
        }
    }
}

TEST_F(Retry, ALogThatThrowsChangesNothing)
{
    U_ResizePtrQuiet(kSize, &mPointer); // some ways leave both so
    U_ResizeHandle(1, kSize, nullptr, &mHandle);
    const U_u64 used = InUse();
    const std::function<void()> kThrows[] = {[] { throw 9; },
                                             [] { throw std::runtime_error("disk full"); },
                                             [] { throw std::string("nobody's"); }};
    for (const auto& fail : kThrows)
    {
        platform::SetLogSink([&](int, const char*, const char*, const char*) { fail(); });
        for (const Way& way : kWays)
        {
            for (int failures : {1, 2})
            {
                FailNext(failures);
                EXPECT_EQ(way.ask(mPointer, mHandle), failures < 2) << way.what;
            }
        }
        U_SetPurgeRequestCallback([](void*, U_u64, U_u64, bool*) { return 0; }, nullptr);
        SetLimitsAboveUse(0, 0); // the budget refuses, in more lines
        EXPECT_EQ(U_AllocatePtr(1, "Test block", kSize), nullptr);
        bool over = false;
        EXPECT_EQ(U_CheckRAMPurgeLimit(&over, kMiB, nullptr), 0);
        EXPECT_TRUE(over);
        PinSwitches();
    }
    platform::SetLogSink(platform::LogSink());
    EXPECT_EQ(InUse(), used);
}

TEST_F(Retry, GoesOnForAsLongAsUseFalls)
{
    struct Row
    {
        int failures;
        bool had;
        const char* outcome;
    };
    // The host frees a block in each of three rounds, which earns a try each.
    const Row rows[] = {
        {2, true, "success:t, retries:2"},
        {3, true, "success:t, retries:3"},
        {4, false, "success:f, retries:3"},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.failures);
        std::vector<void*> cache;
        for (int i = 0; i < 3; ++i)
            cache.push_back(U_AllocatePtrQuiet(100000));
        U_SetPurgeRequestCallback(
            [](void* refcon, U_u64, U_u64, bool*) {
                auto& blocks = *static_cast<std::vector<void*>*>(refcon);
                if (blocks.empty())
                    return 0;
                U_FreePtr(blocks.back());
                blocks.pop_back();
                return 1; // ends the run, so that each round frees one block
            },
            &cache);
        FailNext(row.failures);
        void* block = U_AllocatePtrQuiet(kSize);
        EXPECT_EQ(block != nullptr, row.had);
        EXPECT_EQ(mLog.Texts("ALLOC_OP_FAILED_RECOVERY_STAT"), Lines{row.outcome});
        U_FreePtr(block);
        for (void* left : cache)
            U_FreePtr(left);
    }
}

TEST_F(Retry, AFailedTryPurgesTheBlocksSizeOffTodaysUse)
{
    struct Asked
    {
        std::thread::id thread;
        U_u64 request;
        U_u64 amount;
    };
    std::vector<Asked> asked;
    U_SetPurgeRequestCallback(
        [](void* refcon, U_u64 request, U_u64 amount, bool*) {
            static_cast<std::vector<Asked>*>(refcon)->push_back(
                {std::this_thread::get_id(), request, amount});
            return 0;
        },
        &asked);
    U_FreeRecycledPtr(U_AllocateRecycledPtr(1, nullptr, kMiB));
    SetLimitsAboveUse(10 * kMiB, 20 * kMiB);
    const auto failing = [](void*, bool*) { return 0; };
    for (bool recycled : {false, true})
    {
        for (bool onMainThread : {true, false})
        {
            SCOPED_TRACE(testing::Message() << recycled << onMainThread);
            asked.clear();
            std::thread::id failed = std::this_thread::get_id();
            if (onMainThread)
                U_PurgeLoop(kSize, failing, nullptr, recycled);
            else
                std::thread([&] {
                    failed = std::this_thread::get_id();
                    U_PurgeLoop(kSize, failing, nullptr, recycled);
                }).join();
            const U_u64 room = 10 * kMiB + (recycled ? U_GetRecycledMemorySize() : 0);
            ASSERT_EQ(asked.size(), 2u) << "once for each try";
            for (const Asked& each : asked)
            {
                EXPECT_EQ(each.thread, failed);
                EXPECT_EQ(each.request, room + kSize);
                EXPECT_EQ(each.amount, kSize);
            }
        }
    }
}

TEST_F(Retry, UseThatCanNoLongerBeMeasuredEndsTheLoop)
{
    mLog.Clear();
    platform::SetHeapFailure([](unsigned long long) {
        platform::SetUsageError(-108); // after the budget has said yes
        return true;
    });
    EXPECT_EQ(U_AllocatePtrQuiet(kSize), nullptr);
    EXPECT_EQ(mLog.Texts(), (Lines{kFailed, kFailed, kNotRecovered,
                                   "ALLOC_FAILED_UNABLE_TO_RECOVER: what:Unidentified caller."}));
}

TEST_F(Retry, SynchronisesWithTheSystemBeforeEachTry)
{
    FailNext(1);
    const unsigned int before = platform::SyncMemUsageCount();
    U_FreePtr(U_AllocatePtrQuiet(kSize));
    EXPECT_GE(platform::SyncMemUsageCount(), before + 2); // the loop's own and the purge's
}

TEST_F(Retry, SizesBeyondTheLargestAreRefusedBeforeAnythingHappens)
{
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
        EXPECT_EQ(U_PurgeLoop(size, &Procedure, nullptr, false), 4);
    }
    EXPECT_EQ(mLog.Texts(), Lines());
    U_u32 size = 0;
    EXPECT_EQ(U_GetHandleSize(handle, &size), 0);
    EXPECT_EQ(size, 16u);
}

TEST_F(Retry, TheLargestSizeReachesTheHeap)
{
    std::vector<unsigned long long> asked;
    platform::SetHeapFailure([&](unsigned long long size) {
        asked.push_back(size);
        return true;
    });
    EXPECT_EQ(U_AllocatePtrQuiet(0x7FFFFFFF), nullptr);
    EXPECT_EQ(asked, (std::vector<unsigned long long>{0x7FFFFFFF, 0x7FFFFFFF}));
    // With the pool's own header the sum no longer fits, and is refused there.
    EXPECT_EQ(U_AllocateRecycledPtr(1, "big", 0x7FFFFFFF), nullptr);
}

TEST_F(Retry, NoBytesAreABlockToo)
{
    void** handle = U_AllocateHandleClearQuiet(0);
    void* pointer = U_AllocatePtrQuiet(0);
    void* recycled = U_AllocateRecycledPtr(1, "none", 0);
    ASSERT_TRUE(handle && *handle && pointer && recycled);
    EXPECT_NE(*handle, pointer);
    U_u32 size = 1;
    EXPECT_EQ(U_GetHandleSize(handle, &size), 0);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(U_ResizeHandle(1, 100, "some", &handle), 0);
    std::memset(*handle, 1, 100);
    U_FreeHandle(handle);
    U_FreePtr(pointer);
    U_FreeRecycledPtr(recycled);
}

TEST_F(Retry, AnErrorOfTheBudgetEndsInSilence)
{
    platform::SetUsageError(-108);
    mLog.Clear();
    EXPECT_EQ(U_AllocatePtr(1, "block", kSize), nullptr);
    EXPECT_EQ(U_AllocateRecycledPtr(1, "block", kSize), nullptr);
    EXPECT_EQ(U_ResizeHandle(1, kSize, "block", &mHandle), 4);
    EXPECT_EQ(U_PurgeLoop(kSize, &Procedure, nullptr, false), 4);
    EXPECT_EQ(mLog.Texts(), Lines());
}

TEST_F(Retry, AFailedResizeLeavesTheBlockAlone)
{
    std::memset(mPointer, 0x5A, 16);
    std::memset(*mHandle, 0x5B, 16);
    void* const block = *mHandle;
    FailNext(1000);
    void* pointer = mPointer;
    EXPECT_EQ(U_ResizePtr(1, 100000, "more", &pointer), 4);
    EXPECT_EQ(pointer, nullptr);
    void** handle = mHandle;
    EXPECT_EQ(U_ResizeHandle(1, 100000, "more", &handle), 4);
    EXPECT_EQ(handle, mHandle);
    EXPECT_EQ(*mHandle, block);
    for (int i = 0; i < 16; ++i)
    {
        EXPECT_EQ(static_cast<char*>(mPointer)[i], 0x5A);
        EXPECT_EQ(static_cast<char*>(*mHandle)[i], 0x5B);
    }
}

TEST_F(Retry, ClearBlocksAreZeroAlsoWhenTheirMemoryWasUsed)
{
    for (U_u64 size : {1, 64, 1000, 3000, 100000})
    {
        for (int failures : {0, 1})
        {
            SCOPED_TRACE(testing::Message() << size << ", failures: " << failures);
            void* used = U_AllocatePtrQuiet(size);
            std::memset(used, 0xFF, size);
            U_FreePtr(used);
            FailNext(failures);
            void** handle = U_AllocateHandleClearQuiet(size);
            ASSERT_TRUE(handle);
            const unsigned char* bytes = static_cast<unsigned char*>(*handle);
            EXPECT_EQ(std::count(bytes, bytes + size, 0), static_cast<std::ptrdiff_t>(size));
            U_FreeHandle(handle);
        }
    }
}

TEST_F(Retry, ThePurgeLoopRunsTheHostsProcedure)
{
    struct Row
    {
        int result;
        bool okay;
        int runs;
    };
    struct Host
    {
        const Row* row;
        int runs;
    };
    const Row rows[] = {{0, true, 1}, {0, false, 2}, {9, true, 2}, {9, false, 2}};
    for (const Row& row : rows)
    {
        SCOPED_TRACE(testing::Message() << row.result << row.okay);
        Host host = {&row, 0};
        const auto procedure = [](void* refcon, bool* okay) {
            Host& asked = *static_cast<Host*>(refcon);
            EXPECT_FALSE(*okay);
            *okay = asked.row->okay;
            ++asked.runs;
            return asked.row->result;
        };
        EXPECT_EQ(U_PurgeLoop(kSize, procedure, &host, false), row.result);
        EXPECT_EQ(host.runs, row.runs);
    }
    EXPECT_EQ(U_PurgeLoop(kSize, nullptr, nullptr, false), 3);
}
