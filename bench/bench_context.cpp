// Contexts: the cost of setters and abort checks on inner paths, and of a suspended call.
//
// The floors: a setter copies a shared_ptr and counts an activation; the abort check looks into a
// queue three times, each under a lock; a suspended call posts a function to an executor and
// waits for the result, and a hand-over through two futexes is the least of the system. Calls are
// measured beside threads that keep the cores awake, since a core that sleeps wakes slowly.

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <boost/make_shared.hpp>
#include <boost/thread/mutex.hpp>

#include <linux/futex.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <krobase/executor.h>
#include <win32/message_queue.h>

#include "U_Context.h"
#include "U_Lifecycle.h"
#include "U_Suspend.h"

namespace
{
typedef boost::shared_ptr<krobase::threads::AsyncThreadedExecutor> Executor;

Executor MakeExecutor()
{
    return krobase::threads::CreateAsyncThreadedExecutor(
        "bench", 1, krobase::threads::kThreadPriorityNormal, {}, {});
}

void Setter_Nested(benchmark::State& state)
{
    const boost::shared_ptr<U_Context> context = U_Context::MakeNewContext();
    const U_ContextSetter outer(context);
    {
        const U_ContextSetter inner(context);
        if (U_Context::GetCurrent() != context)
            state.SkipWithError("another context");
    }
    for (auto _ : state)
    {
        const U_ContextSetter inner(context);
        benchmark::DoNotOptimize(&inner);
    }
    if (U_Context::GetCurrent() != context)
        state.SkipWithError("the outer context is not current again");
}

void Setter_Floor(benchmark::State& state)
{
    const boost::shared_ptr<int> shared = boost::make_shared<int>(0);
    std::atomic<long long> count(0);
    for (auto _ : state)
    {
        const boost::shared_ptr<int> copy = shared;
        benchmark::DoNotOptimize(copy.get());
        ++count;
        benchmark::ClobberMemory();
        --count;
    }
}

void Current_Get(benchmark::State& state)
{
    const boost::shared_ptr<U_Context> context = U_Context::MakeNewContext();
    const U_ContextSetter setter(context);
    if (U_Context::GetCurrent() != context)
        state.SkipWithError("another context");
    for (auto _ : state)
        benchmark::DoNotOptimize(U_Context::GetCurrent());
}

void Current_Copy(benchmark::State& state)
{
    const boost::shared_ptr<int> shared = boost::make_shared<int>(0);
    for (auto _ : state)
    {
        const boost::shared_ptr<int> copy = shared;
        benchmark::DoNotOptimize(copy.get());
    }
}

// With an Escape key in the queue the check returns true, and removes the key.
void AbortCheck_Idle(benchmark::State& state)
{
    win32::PostMessageW(nullptr, win32::kWmKeyDown, 27, 0);
    if (!U_Context::CheckAbortAndFlushCompletionRoutines() ||
        U_Context::CheckAbortAndFlushCompletionRoutines())
        state.SkipWithError("not the key");
    for (auto _ : state)
        benchmark::DoNotOptimize(U_Context::CheckAbortAndFlushCompletionRoutines());
}

void AbortCheck_ThreeLocks(benchmark::State& state)
{
    boost::mutex lock;
    for (auto _ : state)
    {
        for (int i = 0; i < 3; ++i)
        {
            lock.lock();
            benchmark::ClobberMemory();
            lock.unlock();
        }
    }
}

void Call_Suspended(benchmark::State& state)
{
    const Executor executor = MakeExecutor();
    const U_ContextSetter setter(U_Context::MakeNewContext());
    for (auto _ : state)
    {
        const int result = U_SuspendContext::NewSuspendContext()->CallOnThreadedExecutor(
            executor, [] { return 7; });
        if (result != 7)
            state.SkipWithError("the wrong result");
    }
}

void Call_HandOver(benchmark::State& state)
{
    std::mutex lock; // guards result
    std::condition_variable done;
    const Executor executor = MakeExecutor(); // ends first: its thread notifies without the lock
    for (auto _ : state)
    {
        int result = 0;
        executor->Post(
            [&] {
                {
                    const std::lock_guard<std::mutex> locked(lock);
                    result = 7;
                }
                done.notify_one();
            },
            0);
        std::unique_lock<std::mutex> locked(lock);
        done.wait(locked, [&] { return result != 0; });
    }
}

// Keeps each core busy while no other thread wants to run there.
class AwakeCores
{
public:
    AwakeCores()
    {
        const unsigned cores = std::max(1u, std::thread::hardware_concurrency());
        for (unsigned core = 0; core < cores; ++core)
            mThreads.emplace_back([this] {
                const sched_param none = {};
                pthread_setschedparam(pthread_self(), SCHED_IDLE, &none);
                while (!mEnds.load(std::memory_order_relaxed))
                {
                }
            });
    }
    ~AwakeCores()
    {
        mEnds = true;
        for (std::thread& thread : mThreads)
            thread.join();
    }

private:
    std::atomic<bool> mEnds{false};
    std::vector<std::thread> mThreads;
};

void CallAwake_Suspended(benchmark::State& state)
{
    const AwakeCores awake;
    Call_Suspended(state);
}

void CallAwake_HandOver(benchmark::State& state)
{
    const AwakeCores awake;
    Call_HandOver(state);
}

// A word that threads wait for.
class Futex
{
public:
    void Set(int value)
    {
        mValue.store(value);
        ::syscall(SYS_futex, &mValue, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
    }
    int WaitWhile(int value)
    {
        while (mValue.load() == value)
            ::syscall(SYS_futex, &mValue, FUTEX_WAIT_PRIVATE, value, nullptr, nullptr, 0);
        return mValue.load();
    }

private:
    std::atomic<int> mValue{0};
};

void CallAwake_Futex(benchmark::State& state)
{
    const AwakeCores awake;
    Futex request;
    Futex answer;
    std::thread worker([&] {
        for (int last = 0; (last = request.WaitWhile(last)) >= 0;)
            answer.Set(last);
    });
    int number = 0;
    for (auto _ : state)
    {
        request.Set(number + 1);
        if (answer.WaitWhile(number) != number + 1)
            state.SkipWithError("the wrong result");
        ++number;
    }
    request.Set(-1);
    worker.join();
}

BENCHMARK(Setter_Nested);
BENCHMARK(Setter_Floor);
BENCHMARK(Current_Get);
BENCHMARK(Current_Copy);
BENCHMARK(AbortCheck_Idle);
BENCHMARK(AbortCheck_ThreeLocks);
BENCHMARK(Call_Suspended)->UseRealTime();
BENCHMARK(Call_HandOver)->UseRealTime();
BENCHMARK(CallAwake_Suspended)->UseRealTime();
BENCHMARK(CallAwake_HandOver)->UseRealTime();
BENCHMARK(CallAwake_Futex)->UseRealTime();
} // namespace

int main(int argc, char** argv)
{
    if (U_Birth("bench_context", nullptr) != 0)
        return 1;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return U_Death();
}
