#include <krobase/executor.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <pthread.h>
#include <sys/resource.h>

#include <krobase/gate.h>
#include <krobase/threads.h>
#include <win32/message_queue.h>

#include "tests/support/BornLibrary.h"

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
    Gate isLast(false);
    Gate ended(false);
    auto executor = MakeExecutor(2);
    {
        AsyncThreadedExecutor& posting = *executor;
        auto last = std::make_shared<boost::shared_ptr<AsyncThreadedExecutor>>();
        last->swap(executor);
        posting.Post(
            [last, &isLast, &ended] {
                isLast.PassThrough(kGenerous);
                (*last)->Post([&ended] { ended.Open(); }, 0);
            },
            0);
    }
    isLast.Open();
    EXPECT_TRUE(ended.PassThrough(kGenerous));
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
        [&] { ++started; }, [&] { ++ended; }, attributes);
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
    EXPECT_EQ(log.Texts("EXECUTOR").size(), 2u) << "what functions throw goes no further";
    EXPECT_THROW(MakeExecutor(0), std::invalid_argument);
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
    const unsigned int kQuit = win32::kWmQuit;
    adaptor->Post([&] { win32::PostThreadMessageW(GetCurrentThreadID(), kQuit, 0, 0); }, 500);
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

TEST(EventLoopAdaptors, TheEndDropsWhatHasNotRun)
{
    const auto owned = std::make_shared<int>(0);
    auto ending = CreateAsyncEventLoopAdaptor();
    auto other = CreateAsyncEventLoopAdaptor();
    const auto pump = [] {
        win32::MSG message;
        while (win32::PeekMessageW(&message, nullptr, 0, 0, win32::kPeekRemove))
            win32::DispatchMessageW(&message);
    };
    ending->Post([owned] { *owned += 1; }, kNotSoon);
    ending->Post([owned] { *owned += 10; }, 0);
    pump();
    ending->Post([owned] { *owned += 100; }, 0);
    other->Post([owned] { *owned += 1000; }, 0);
    std::thread([&] { ending.reset(); }).join();
    EXPECT_EQ(owned.use_count(), 2) << "the other's is left";
    pump();
    EXPECT_EQ(*owned, 1010);
    EXPECT_EQ(owned.use_count(), 1);
}
} // namespace
