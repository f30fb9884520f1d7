#include <krobase/executor.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <new>
#include <stdexcept>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <pthread.h>
#include <sys/resource.h>

#include <control.h>
#include <krobase/gate.h>
#include <krobase/threads.h>
#include <win32/message_queue.h>

#include "tests/support/BornLibrary.h"
#include "tests/support/FailingNew.h"

using krobase::threads::AsyncEventLoopAdaptor;
using krobase::threads::AsyncThreadedExecutor;
using krobase::threads::CreateAsyncEventLoopAdaptor;
using krobase::threads::CreateAsyncThreadedExecutor;
using krobase::threads::Gate;
using krobase::threads::GetCurrentThreadID;
using testing::ElementsAre;

namespace
{
const int kGenerous = 60000;   // milliseconds
const int kNotSoon = 10000000; // milliseconds

boost::shared_ptr<AsyncThreadedExecutor> MakeExecutor(int threadCount)
{
    return CreateAsyncThreadedExecutor("test", threadCount, krobase::threads::kThreadPriorityNormal,
                                       {}, {});
}

// Dispatches what is queued.
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

TEST(ThreadedExecutors, TheEndRunsWhatIsDueAndDropsTheRest)
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
    // Kept by the threads, one of which is nobody's to wait for.
    struct Ends
    {
        std::atomic<int> mCount{0};
        Gate mAll{false};
    };
    const auto ends = std::make_shared<Ends>();
    std::atomic<int> runs(0);
    Gate isLast(false);
    auto executor =
        CreateAsyncThreadedExecutor("test", 2, krobase::threads::kThreadPriorityNormal, {}, [ends] {
            if (++ends->mCount == 2)
                ends->mAll.Open();
        });
    {
        AsyncThreadedExecutor& posting = *executor;
        auto last = std::make_shared<boost::shared_ptr<AsyncThreadedExecutor>>();
        last->swap(executor);
        posting.Post(
            [last, &isLast, &runs] {
                isLast.PassThrough(kGenerous);
                (*last)->Post([&runs] { ++runs; }, 0);
            },
            0);
    }
    isLast.Open();
    ASSERT_TRUE(ends->mAll.PassThrough(kGenerous));
    EXPECT_EQ(runs, 1);
}

// Neither of two that wait for each other may be left to the thread that runs the
// other.
TEST(ThreadedExecutors, WhatIsDueAtOnceIsSharedAmongTheThreads)
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
                    EXPECT_TRUE(gates[1 - i].PassThrough(kGenerous));
                    passed[i].Open();
                },
                (round + i) % 3);
        }
        for (Gate& gate : passed)
            ASSERT_TRUE(gate.PassThrough(2 * kGenerous));
    }
}

TEST(ThreadedExecutors, ThreadsAreSetUpAsAsked)
{
    CapturedLog log;
    std::atomic<int> started(0);
    std::atomic<int> ended(0);
    boost::thread::attributes attributes;
    attributes.set_stack_size(1 << 20);
    auto executor = CreateAsyncThreadedExecutor(
        "a name that is rather long", 2, krobase::threads::kThreadPriorityLowest,
        [&] {
            ++started;
            throw std::runtime_error("odd");
        },
        [&] {
            ++ended;
            throw "odd";
        },
        attributes);
    EXPECT_FALSE(executor->IsExecutorThread());
    // Each waits for the other: two threads share the functions.
    Gate gates[2] = {Gate(false), Gate(false)};
    for (int i = 0; i < 2; ++i)
    {
        executor->Post(
            [&, i] {
                EXPECT_TRUE(executor->IsExecutorThread());
                gates[i].Open();
                EXPECT_TRUE(gates[1 - i].PassThrough(kGenerous));
                char name[32] = {};
                pthread_getname_np(pthread_self(), name, sizeof(name));
                EXPECT_STREQ(name, "a name that is ");
                EXPECT_GT(getpriority(PRIO_PROCESS, GetCurrentThreadID()),
                          getpriority(PRIO_PROCESS, krobase::threads::GetCurrentProcessID()));
                if (i)
                    throw std::runtime_error("odd");
                throw "odd";
            },
            0);
    }
    for (Gate& gate : gates)
        ASSERT_TRUE(gate.PassThrough(kGenerous));
    executor.reset();
    EXPECT_EQ(started, 2);
    EXPECT_EQ(ended, 2);
    EXPECT_EQ(log.Texts("EXECUTOR").size(), 6u) << "what functions throw goes no further";
    EXPECT_THROW(MakeExecutor(0), std::invalid_argument);
}

TEST(ThreadedExecutors, AttributesServeAllThreads)
{
    boost::thread::attributes attributes;
    cpu_set_t all;
    CPU_ZERO(&all);
    ASSERT_EQ(sched_getaffinity(0, sizeof(all), &all), 0);
    ASSERT_EQ(pthread_attr_setaffinity_np(attributes.native_handle(), sizeof(all), &all), 0);
    for (int round = 0; round < 3; ++round)
        CreateAsyncThreadedExecutor("attributes", 2, krobase::threads::kThreadPriorityNormal, {},
                                    {}, attributes);
}

TEST(ThreadedExecutors, WhatRunsFirstAndLastIsOnTheExecutorsThreadToo)
{
    boost::shared_ptr<AsyncThreadedExecutor> executor;
    AsyncThreadedExecutor* asked = nullptr;
    Gate made(false);
    std::atomic<int> onThread(0);
    const auto ask = [&] {
        EXPECT_TRUE(made.PassThrough(60000));
        onThread += asked->IsExecutorThread();
    };
    executor =
        CreateAsyncThreadedExecutor("ends", 1, krobase::threads::kThreadPriorityNormal, ask, ask);
    asked = executor.get();
    made.Open();
    executor.reset();
    EXPECT_EQ(onThread, 2);
}

TEST(ThreadedExecutors, ALogThatFailsEndsNoThread)
{
    platform::SetLogSink([](int, const char*, const char*, const char*) { throw "no log"; });
    Gate done(false);
    auto executor = MakeExecutor(1);
    executor->Post([] { throw std::runtime_error("odd"); }, 0);
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
            try
            {
                win32::DispatchMessageW(&message);
            }
            catch (int code)
            {
                order.push_back(code);
            }
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
    adaptor->Post([] { throw 2; }, 0); // reaches whoever dispatches
    adaptor->Post([&] { order.push_back(3); }, 0);
    loop.join();
    EXPECT_THAT(order, ElementsAre(1, 2, 3));
    EXPECT_THROW(adaptor->Post([] {}, 0), std::runtime_error) << "the thread has ended";
    // One of these may well get the id of the ended thread.
    for (int i = 0; i < 3; ++i)
        std::thread([&] { EXPECT_FALSE(adaptor->IsExecutorThread()); }).join();
}

TEST(EventLoopAdaptors, WithoutMemoryNothingIsPosted)
{
    int runs = 0;
    auto adaptor = CreateAsyncEventLoopAdaptor();
    int posted = 0;
    // Queues get memory for several messages at once.
    for (int i = 0; i < 100; ++i)
    {
        FailEachNew(
            [&] {
                try
                {
                    adaptor->Post([&] { ++runs; }, 0);
                    ++posted;
                }
                catch (const std::bad_alloc&)
                {
                }
            },
            [](long) {});
    }
    Pump();
    EXPECT_EQ(runs, posted);
    EXPECT_GE(posted, 100);
}

TEST(EventLoopAdaptors, TheEndDropsWhatHasNotRun)
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
    EXPECT_EQ(owned.use_count(), 2) << "the other's is left";
    Pump();
    EXPECT_EQ(*owned, 1010);
    EXPECT_EQ(owned.use_count(), 1);
}
} // namespace
