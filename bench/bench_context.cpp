// Contexts: the cost of setters and abort checks on inner paths, and of a suspended call.
//
// The floors: a setter copies a shared_ptr and counts an activation; the abort check looks into a
// queue three times, each under a lock; a suspended call posts a function to an executor and
// waits for the result.

#include <atomic>
#include <condition_variable>
#include <mutex>

#include <benchmark/benchmark.h>
#include <boost/make_shared.hpp>
#include <boost/thread/mutex.hpp>

#include <krobase/executor.h>

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
    for (auto _ : state)
    {
        const U_ContextSetter inner(context);
        benchmark::DoNotOptimize(&inner);
    }
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

void AbortCheck_Idle(benchmark::State& state)
{
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
    const Executor executor = MakeExecutor();
    std::mutex lock; // guards result
    std::condition_variable done;
    for (auto _ : state)
    {
        int result = 0;
        executor->Post(
            [&] {
                const std::lock_guard<std::mutex> locked(lock);
                result = 7;
                done.notify_one();
            },
            0);
        std::unique_lock<std::mutex> locked(lock);
        done.wait(locked, [&] { return result != 0; });
    }
}

BENCHMARK(Setter_Nested);
BENCHMARK(Setter_Floor);
BENCHMARK(AbortCheck_Idle);
BENCHMARK(AbortCheck_ThreeLocks);
BENCHMARK(Call_Suspended)->UseRealTime();
BENCHMARK(Call_HandOver)->UseRealTime();
} // namespace

int main(int argc, char** argv)
{
    if (U_Birth("bench_context", nullptr) != 0)
        return 1;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return U_Death();
}
