#include <atomic>
#include <chrono>
#include <memory>
#include <new>
#include <stdexcept>
#include <thread>

#include <gmock/gmock.h>

#include <krobase/executor.h>
#include <krobase/gate.h>
#include <krobase/threads.h>
#include <win32/message_queue.h>

#include "fuzz/code_thrown.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/FailingNew.h"
#include "tests/support/System.h"

using namespace krobase::threads;
using testing::ElementsAre;

namespace
{
const int kGenerous = 60000;   // milliseconds
const int kNotSoon = 10000000; // milliseconds

boost::shared_ptr<AsyncThreadedExecutor> MakeExecutor(int threadCount)
{
    return CreateAsyncThreadedExecutor("test", threadCount, kThreadPriorityNormal, {}, {});
}

void Pump()
{
    win32::MSG message;
    while (win32::PeekMessageW(&message, nullptr, 0, 0, win32::kPeekRemove))
        win32::DispatchMessageW(&message);
}

TEST(ThreadedExecutors, FunctionsRunInOrderAndDelayedOnesWhenDue)
{
    std::vector<int> order;
    Gate done(false);
    auto executor = MakeExecutor(1);
    const auto posted = std::chrono::steady_clock::now();
    executor->Post(
        [&] {
            order.push_back(4);
            done.Open();
        },
        600);
    executor->Post([&] { order.push_back(3); }, 300);
    executor->Post([&] { order.push_back(5); }, kNotSoon);
    executor->Post([&] { order.push_back(1); }, 0);
    executor->Post([&] { order.push_back(2); }, -1);
    ASSERT_TRUE(done.PassThrough(kGenerous));
    EXPECT_GE(std::chrono::steady_clock::now() - posted, std::chrono::milliseconds(600));
    executor.reset();
    EXPECT_THAT(order, ElementsAre(1, 2, 3, 4));
}

TEST(ThreadedExecutors, TheLastOwnerRunsDueFunctionsAndDropsDelayedOnes)
{
    int runs = 0;
    const auto owned = std::make_shared<int>(0);
    auto executor = MakeExecutor(1);
    Gate mayGo(false);
    executor->Post([&] { mayGo.PassThrough(kGenerous); }, 0);
    for (int i = 0; i < 10; ++i)
        executor->Post([&runs] { ++runs; }, 0);
    executor->Post([owned, &runs] { runs += 1000; }, kNotSoon);
    mayGo.Open();
    executor.reset();
    EXPECT_EQ(runs, 10);
    EXPECT_EQ(owned.use_count(), 1);
}

TEST(ThreadedExecutors, TheLastOwnerMayBeAPostedFunction)
{
    const auto ended = std::make_shared<Gate>(false); // by the thread, which nothing else waits for
    std::atomic<int> runs(0);
    Gate isLast(false);
    auto last =
        std::make_shared<boost::shared_ptr<AsyncThreadedExecutor>>(CreateAsyncThreadedExecutor(
            "test", 1, kThreadPriorityNormal, {}, [ended] { ended->Open(); }));
    (*last)->Post(
        [last, &isLast, &runs] {
            isLast.PassThrough(kGenerous);
            (*last)->Post([&runs] { ++runs; }, 0);
        },
        0);
    last.reset();
    isLast.Open();
    ASSERT_TRUE(ended->PassThrough(kGenerous));
    EXPECT_EQ(runs, 1);
}

// Two functions that wait for each other need two threads.
TEST(ThreadedExecutors, DueFunctionsAreSharedAmongTheThreads)
{
    auto executor = MakeExecutor(2);
    for (int round = 0; round < 100; ++round)
    {
        Gate gates[2] = {Gate(false), Gate(false)};
        Gate passed[2] = {Gate(false), Gate(false)};
        for (int i = 0; i < 2; ++i)
        {
            executor->Post(
                [&, i] {
                    gates[i].Open();
                    gates[1 - i].PassThrough(kGenerous);
                    passed[i].Open();
                },
                (round + i) % 3);
        }
        for (Gate& gate : passed)
            ASSERT_TRUE(gate.PassThrough(kGenerous / 2));
    }
}

TEST(ThreadedExecutors, ThreadsHaveTheirSetUpAndSurviveExceptions)
{
    const CapturedLog log;
    AsyncThreadedExecutor* made = nullptr;
    Gate isMade(false);
    std::atomic<int> onThread(0); // counts atStart and atEnd
    const auto ask = [&] {
        EXPECT_TRUE(isMade.PassThrough(kGenerous));
        onThread += made->IsExecutorThread();
        throw std::runtime_error("odd");
    };
    boost::thread::attributes attributes;
    attributes.set_stack_size(1 << 20);
    auto executor = CreateAsyncThreadedExecutor("a name that is rather long", 1,
                                                kThreadPriorityLowest, ask, ask, attributes);
    made = executor.get();
    isMade.Open();
    EXPECT_FALSE(executor->IsExecutorThread());
    executor->Post(
        [&] {
            EXPECT_TRUE(made->IsExecutorThread());
            EXPECT_EQ(ThreadName(),
                      std::string("a name that is rather long").substr(0, kLongestThreadName));
            EXPECT_TRUE(HasLowPriority());
            throw "odd";
        },
        0);
    executor.reset();
    EXPECT_EQ(onThread, 2);
    EXPECT_EQ(log.Texts("EXECUTOR").size(), 3u) << "exceptions are logged";
    EXPECT_THROW(MakeExecutor(0), std::invalid_argument);
}

TEST(ThreadedExecutors, AThreadSurvivesALogThatThrows)
{
    platform::SetLogSink([](int, const char*, const char*, const char*) { throw "no log"; });
    Gate done(false);
    auto executor = MakeExecutor(1);
    executor->Post([] { throw 1; }, 0);
    executor->Post([&] { done.Open(); }, 0);
    EXPECT_TRUE(done.PassThrough(kGenerous));
    executor.reset();
    platform::ResetAll();
}

TEST(EventLoopAdaptors, FunctionsRunWhenTheThreadPumps)
{
    boost::shared_ptr<AsyncEventLoopAdaptor> adaptor;
    std::vector<int> order;
    Gate ready(false);
    std::thread loop([&] {
        adaptor = CreateAsyncEventLoopAdaptor();
        EXPECT_TRUE(adaptor->IsExecutorThread());
        ready.Open();
        win32::MSG message;
        while (win32::GetMessageW(&message, nullptr, 0, 0) > 0)
        {
            if (const int code = CodeThrown([&] { win32::DispatchMessageW(&message); }))
                order.push_back(code);
        }
    });
    ASSERT_TRUE(ready.PassThrough(kGenerous));
    EXPECT_FALSE(adaptor->IsExecutorThread());
    const auto posted = std::chrono::steady_clock::now();
    adaptor->Post(
        [&] {
            EXPECT_GE(std::chrono::steady_clock::now() - posted, std::chrono::milliseconds(500));
            win32::PostThreadMessageW(GetCurrentThreadID(), win32::kWmQuit, 0, 0);
        },
        500);
    adaptor->Post([&] { order.push_back(1); }, 0);
    adaptor->Post([] { throw 2; }, 0); // reaches the caller that dispatches
    adaptor->Post([&] { order.push_back(3); }, 0);
    loop.join();
    EXPECT_THAT(order, ElementsAre(1, 2, 3));
    EXPECT_THROW(adaptor->Post([] {}, 0), std::runtime_error) << "the thread has ended";
}

TEST(EventLoopAdaptors, AFunctionIsNotPostedWithoutMemory)
{
    auto adaptor = CreateAsyncEventLoopAdaptor();
    std::vector<int> ran;
    std::vector<int> posted;
    posted.reserve(10000);
    int number = 0;
    const auto post = [&] {
        try
        {
            ++number;
            adaptor->Post([&ran, mine = number] { ran.push_back(mine); }, 0);
            posted.push_back(number);
        }
        catch (const std::bad_alloc&)
        {
        }
    };
    for (int i = 0; i < 100; ++i) // the queue allocates room for several messages at once
        FailEachNew(post, [](long) {});
    Pump();
    EXPECT_EQ(ran, posted);
    EXPECT_GE(posted.size(), 100u);
}

TEST(EventLoopAdaptors, TheLastOwnerDropsFunctionsThatHaveNotRun)
{
    const auto owned = std::make_shared<int>(0);
    auto ending = CreateAsyncEventLoopAdaptor();
    auto other = CreateAsyncEventLoopAdaptor();
    ending->Post([owned] { *owned += 1; }, kNotSoon);
    ending->Post([owned] { *owned += 10; }, 0);
    Pump();
    ending->Post([owned] { *owned += 100; }, 0);
    other->Post([owned] { *owned += 1000; }, 0);
    std::thread([&] { ending.reset(); }).join();
    EXPECT_EQ(owned.use_count(), 2) << "the function of the other adaptor is left";
    Pump();
    EXPECT_EQ(*owned, 1010);
    EXPECT_EQ(owned.use_count(), 1);
}
} // namespace
