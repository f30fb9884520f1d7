// What lives of each hog, as statistics tell it.

#include <atomic>
#include <cstring>
#include <new>
#include <thread>

#include <tolv/memory.h>

#include "U_Alloc.h"
#include "indep/frame/ThreadPiece.h"
#include "tests/support/FailingNew.h"
#include "tests/support/FreshThread.h"
#include "tests/support/Hogs.h"
#include "tests/support/OnThreads.h"

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
} // namespace

TEST_F(HogCounts, AnotherHeapsHandleIsReportedAndGoesAllTheSame)
{
    MEM_HeapRef otherHeap = MEM_NewHeap();
    void** handle = MEM_NewHandle(otherHeap, 100);
    std::memset(*handle, 0, 100);
    void** own = New(84);
    mLog.Clear();
    EXPECT_EQ(U_FreeHogHandle(handle), 0);
    EXPECT_EQ(mLog.Texts("U_Sev_PROBLEM").size(), 2u) << "for its size, and for its end";
    EXPECT_EQ(Count(), (Stats{0, 0}));
    EXPECT_EQ(MEM_GetHandleSize(otherHeap, handle), 0u);
    U_FreeHandle(own);
    MEM_DumpLeaks(otherHeap);
}

TEST_F(HogCounts, AThreadWithoutMemoryForItsShareCountsToo)
{
    const int kThreads = 6;
    void** made[2 * kThreads] = {};
    std::atomic<int> counted(0);
    mLog.Clear();
    OnThreads(kThreads, [&](int number) {
        U_FreeHandle(U_AllocateHandleQuiet(10)); // the heap has a share of its own
        {
            const ScFailingNew failing(number + 1);
            U_NewHogHandle(mId, 0, nullptr, 10, 0, &made[2 * number]);
        }
        made[2 * number + 1] = New(10);
        ++counted;
        while (counted < kThreads) // none takes over what another has
            std::this_thread::yield();
    });
    EXPECT_EQ(Count(), (Stats{2 * kThreads, 20 * kThreads}));
    EXPECT_EQ(mLog.Texts(), Texts()) << "nothing has failed";
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
    static U_u32 sLastId = 0;
    static void** sHandle = nullptr;
    const U_u32 kRow = 256;
    const U_u32 first = ++sRows * kRow;
    U_FreeHogHandle(New(10)); // the thread has a share from now on
    for (U_u32 index = 1; index < first + kRow; ++index)
        ASSERT_EQ(U_RegisterHog("one of many", &sLastId), 0);
    const std::new_handler before = std::set_new_handler([] {
        std::set_new_handler(nullptr);
        EXPECT_EQ(U_NewHogHandle(sLastId, 0, nullptr, 10, 0, &sHandle), 0);
    });
    void** outer = nullptr;
    {
        const ScFailingNew failing(1);
        U_NewHogHandle(first ^ kFirstId, 0, nullptr, 10, 0, &outer);
        EXPECT_TRUE(failing.HasFailed());
    }
    std::set_new_handler(before);
    for (U_u32 id : {sLastId, first ^ kFirstId})
    {
        mId = id;
        EXPECT_EQ(Count(), (Stats{1, 10}));
    }
    EXPECT_EQ(U_FreeHogHandle(outer), 0);
    EXPECT_EQ(U_FreeHogHandle(sHandle), 0);
}

// A handle that goes on another thread than the one that made it is never seen to have
// gone before it was made.
TEST_F(HogCounts, StatisticsNeverFallBelowNothing)
{
    // Threads that live at once leave as many shares, which take long to walk.
    const int kThreads = 100;
    std::atomic<int> counted(0);
    OnThreads(kThreads, [&](int) {
        U_FreeHogHandle(New(1));
        ++counted;
        while (counted < kThreads)
            std::this_thread::yield();
    });

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
