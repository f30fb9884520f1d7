// What lives of each hog, as statistics tell it.

#include <atomic>
#include <cstring>
#include <future>
#include <new>
#include <thread>

#include <tolv/memory.h>

#include "U_Alloc.h"
#include "indep/frame/ThreadPiece.h"
#include "tests/support/FailingNew.h"
#include "tests/support/FreshThread.h"
#include "tests/support/Hogs.h"

namespace
{
typedef Hogs HogCounts;
typedef std::vector<std::string> Texts;

// How often a fresh thread, which the heap knows, calls operator new for body.
template <class Body> long NewsOfFreshThread(Body body)
{
    long news = -1;
    for (bool failed = true; failed; ++news)
        OnFreshThread([&] {
            U_FreeHandle(U_AllocateHandleQuiet(10));
            const ScFailingNew failing(news + 2);
            body();
            failed = failing.HasFailed();
        });
    return news;
}

// Counts a hog far behind the one that is being counted.
struct CountingHandler
{
    static inline U_u32 sId = 0;
    static inline void** sHandle = nullptr;
    static void Count()
    {
        std::set_new_handler(nullptr);
        EXPECT_EQ(U_NewHogHandle(sId, 0, nullptr, 10, 0, &sHandle), 0);
    }
};
} // namespace

TEST_F(HogCounts, ListHandlesAndTheirData)
{
    void** a = New(100);
    void** b = New(50);
    EXPECT_EQ(Count(), (Stats{2, 150}));
    EXPECT_EQ(U_ResizeHogHandle(0, "resize", 10, a), 0);
    EXPECT_EQ(Count(), (Stats{2, 60}));
    EXPECT_EQ(U_ResizeHogHandle(0, "resize", 0, a), 0);
    EXPECT_EQ(U_ResizeHogHandle(0, "resize", 5000, b), 0);
    EXPECT_EQ(Count(), (Stats{2, 5000}));
    EXPECT_EQ(U_FreeHogHandle(a), 0);
    EXPECT_EQ(U_FreeHogHandle(b), 0);
    EXPECT_EQ(Count(), (Stats{0, 0}));
}

// What a copy is freed of was counted for the handle that it is a copy of.
TEST_F(HogCounts, CopiesOfOnesAreFreedAsOnes)
{
    void** handle = New(100);
    void** copy = nullptr;
    ASSERT_EQ(U_DuplicateHandle(handle, "copy", &copy), 0);
    EXPECT_EQ(U_FreeHogHandle(copy), 0);
    EXPECT_EQ(Count(), (Stats{0, 0}));
    EXPECT_EQ(U_FreeHogHandle(handle), 0);
    EXPECT_EQ(Count(), (Stats{0xFFFFFFFF, 0xFFFFFFFF - 99})) << "modulo 2^32, each alone";
    handle = New(100);
    EXPECT_EQ(Count(), (Stats{0, 0}));
    U_FreeHandle(handle);
}

TEST_F(HogCounts, AnotherHeapsHandleIsReportedAndGoesAllTheSame)
{
    if (kHugeBlocksAreSlow)
        GTEST_SKIP();
    MEM_HeapRef otherHeap = MEM_NewHeap();
    void** large = MEM_NewHandle(otherHeap, 0x90000000);
    ASSERT_TRUE(large);
    static_cast<U_u64*>(*large)[0] = 0;
    EXPECT_LT(U_FreeHogHandle(large), 0) << "as its size is told";
    EXPECT_EQ(MEM_GetHandleSize(otherHeap, large), 0u);
    EXPECT_EQ(Count(), (Stats{0, 0})) << "not taken off";
    void** small = MEM_NewHandle(otherHeap, 100);
    std::memset(*small, 0, 100);
    void** own = New(84);
    mLog.Clear();
    EXPECT_EQ(U_FreeHogHandle(small), 0);
    EXPECT_EQ(mLog.Texts("U_Sev_PROBLEM").size(), 2u) << "for its size, and for its end";
    EXPECT_EQ(Count(), (Stats{0, 0}));
    U_FreeHandle(own);
    MEM_DumpLeaks(otherHeap);
}

TEST_F(HogCounts, OutliveTheirThreads)
{
    std::vector<void**> made;
    for (U_u32 index = 1; index < 20; ++index)
        OnFreshThread([&] {
            made.push_back(New(10));
            U_RegisterHog("more", &mId);
            made.push_back(New(index));
        });
    for (U_u32 index = 0; index < 19; ++index)
    {
        mId = index ^ kFirstId;
        const U_u32 next = index ? index + 10 : 10;
        EXPECT_EQ(Count(), (index ? Stats{2, next} : Stats{1, next})) << index;
    }
    for (void** handle : made)
        OnFreshThread([=] { EXPECT_EQ(U_FreeHogHandle(handle), 0); });
    for (U_u32 index = 0; index < 20; ++index)
    {
        mId = index ^ kFirstId;
        EXPECT_EQ(Count(), (Stats{0, 0})) << index;
    }
}

TEST_F(HogCounts, AThreadWithoutMemoryForItsShareCountsToo)
{
    std::vector<void**> made;
    std::vector<std::thread> threads; // none takes over what another has
    std::promise<void> done;
    const std::shared_future<void> end = done.get_future().share();
    mLog.Clear();
    for (long nth = 1; nth <= 6; ++nth)
    {
        std::promise<void> counted;
        threads.emplace_back([&, nth] {
            U_FreeHandle(U_AllocateHandleQuiet(10)); // the heap has a share of its own
            void** first = nullptr;
            {
                const ScFailingNew failing(nth);
                U_NewHogHandle(mId, 0, nullptr, 10, 0, &first);
            }
            made.insert(made.end(), {first, New(10)});
            counted.set_value();
            end.wait();
        });
        counted.get_future().wait();
        EXPECT_EQ(Count(), (Stats{static_cast<U_u32>(2 * nth), static_cast<U_u32>(20 * nth)}));
    }
    EXPECT_EQ(mLog.Texts(), Texts()) << "nothing has failed";
    done.set_value();
    for (std::thread& thread : threads)
        thread.join();
    for (void** handle : made)
        EXPECT_EQ(U_FreeHogHandle(handle), 0);
    EXPECT_EQ(Count(), (Stats{0, 0}));
}

TEST_F(HogCounts, AThreadGoesOnWithTheShareOfOneThatHasEnded)
{
    const auto count = [this] { U_FreeHogHandle(New(10)); };
    OnFreshThread(count);
    struct Piece
    {
        int mValue;
    };
    ThreadPiece<Piece>::Make();
    // As much as any piece that a thread keeps for itself, and nothing for the counts.
    EXPECT_EQ(NewsOfFreshThread(count), NewsOfFreshThread([] { ThreadPiece<Piece>::Make(); }));
    EXPECT_EQ(Count(), (Stats{0, 0}));
}

// The host's own new handler runs in the middle of what a share needs memory for.
TEST_F(HogCounts, ANewHandlerThatCountsHogsLosesNone)
{
    static U_u32 sRows = 0; // the share stays, so each run counts behind the last
    const U_u32 kRow = 256;
    const U_u32 first = ++sRows * kRow;
    U_FreeHogHandle(New(10)); // the thread has a share from now on
    for (U_u32 index = 1; index < first + kRow; ++index)
        ASSERT_EQ(U_RegisterHog("one of many", &mId), 0);
    CountingHandler::sId = mId;
    void** outer = nullptr;
    const std::new_handler before = std::set_new_handler(&CountingHandler::Count);
    {
        const ScFailingNew failing(1);
        U_NewHogHandle(first ^ kFirstId, 0, nullptr, 10, 0, &outer);
        EXPECT_TRUE(failing.HasFailed());
    }
    std::set_new_handler(before);
    for (U_u32 id : {CountingHandler::sId, first ^ kFirstId})
    {
        mId = id;
        EXPECT_EQ(Count(), (Stats{1, 10}));
    }
    EXPECT_EQ(U_FreeHogHandle(outer), 0);
    EXPECT_EQ(U_FreeHogHandle(CountingHandler::sHandle), 0);
}

// A handle that goes on another thread than the one that made it is never seen to have
// gone before it was made.
TEST_F(HogCounts, StatisticsNeverFallBelowNothing)
{
    // Threads that live at once leave as many shares, which take long to walk.
    std::promise<void> done;
    const std::shared_future<void> end = done.get_future().share();
    std::vector<std::thread> threads;
    for (int count = 0; count < 100; ++count)
        threads.emplace_back([&, end] {
            U_FreeHogHandle(New(1));
            end.wait();
        });
    done.set_value();
    for (std::thread& thread : threads)
        thread.join();

    std::atomic<void**> handed(nullptr);
    std::atomic<bool> ends(false);
    std::atomic<int> freed(0);
    std::thread maker([&] {
        while (!ends)
        {
            if (handed)
                std::this_thread::yield();
            else
                handed = New(1000);
        }
    });
    std::thread freer([&] {
        while (!ends)
        {
            void** const handle = handed.exchange(nullptr);
            if (handle && U_FreeHogHandle(handle) == 0)
                ++freed;
            else
                std::this_thread::yield();
        }
    });
    Stats stats = {0, 0};
    int reads = 0; // until there were enough, beside enough that happened
    while ((++reads < 100000 || freed < 10) && stats.mHandles < 0x80000000 &&
           stats.mBytes < 0x80000000)
        stats = Count();
    EXPECT_LT(stats.mHandles, 0x80000000);
    EXPECT_LT(stats.mBytes, 0x80000000);
    ends = true;
    maker.join();
    freer.join();
    if (void** handle = handed)
        U_FreeHogHandle(handle);
    EXPECT_EQ(Count(), (Stats{0, 0}));
}

TEST_F(HogCounts, AreRightAcrossThreads)
{
    const std::size_t kThreads = 8;
    std::vector<void**> kept[kThreads];
    std::vector<std::thread> threads;
    for (std::vector<void**>& mine : kept)
        threads.emplace_back([this, &mine] {
            for (U_u64 round = 0; round < 200; ++round)
            {
                U_u32 own = 0;
                EXPECT_EQ(round % 20 ? 0 : U_RegisterHog("own", &own), 0);
                void** handle = New(round);
                EXPECT_EQ(U_ResizeHogHandle(0, nullptr, 3, handle), 0);
                mine.push_back(handle);
                if (round % 2 == 0)
                    continue;
                EXPECT_EQ(U_FreeHogHandle(handle), 0);
                mine.pop_back();
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(Count(), (Stats{800, 2400}));
    for (const std::vector<void**>& mine : kept)
        for (void** handle : mine)
            U_FreeHogHandle(handle);
    EXPECT_EQ(Count(), (Stats{0, 0}));
}
