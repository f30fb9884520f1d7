// Allocation beside the C library and beside other allocators.

#include <algorithm>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>

#include <platform/control.h>
#include <win32/process.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "U_Lifecycle.h"
#include "memory_allocators.h"

namespace
{
// Churn, but no block is counted: the heap's own path, in which threads share no data that they
// write.
void ChurnUncounted(benchmark::State& state)
{
    U_ScDisableProactivePrePurging uncounted;
    Churn<Ptr>(state);
}

// Threads that have allocated. They live until the scope ends.
class LiveThreads
{
public:
    explicit LiveThreads(int count)
    {
        for (int number = 0; number < count; ++number)
            mThreads.emplace_back([this] {
                void* const block = U_AllocatePtrQuiet(kLiveSize);
                std::unique_lock<std::mutex> lock(mLock);
                ++mArrived;
                mChanged.notify_all();
                mChanged.wait(lock, [this] { return mEnds; });
                U_FreePtr(block);
            });
        std::unique_lock<std::mutex> lock(mLock);
        mChanged.wait(lock, [&] { return mArrived == count; });
    }

    ~LiveThreads()
    {
        {
            std::lock_guard<std::mutex> lock(mLock);
            mEnds = true;
        }
        mChanged.notify_all();
        for (std::thread& thread : mThreads)
            thread.join();
    }

private:
    std::mutex mLock; // guards mArrived and mEnds
    std::condition_variable mChanged;
    int mArrived = 0;
    bool mEnds = false;
    std::vector<std::thread> mThreads;
};

// A measured block beside live threads. The second argument is their number.
void ChurnAmongThreads(benchmark::State& state)
{
    const LiveThreads threads(static_cast<int>(state.range(1)));
    Churn<Ptr>(state);
}

// A measured block after that number of threads have ended.
void ChurnAfterThreads(benchmark::State& state)
{
    LiveThreads(static_cast<int>(state.range(1)));
    Churn<Ptr>(state);
}

// Churn beside live blocks, of which one in eight was freed and allocated again in random
// order. The second argument is their number.
template <class Allocator> void ChurnAmongLive(benchmark::State& state)
{
    std::vector<typename Allocator::Block> live(static_cast<std::size_t>(state.range(1)));
    for (auto& block : live)
        block = Allocator::Allocate(kLiveSize);
    std::mt19937 random(1);
    for (std::size_t i = 0; i < live.size() / 8; ++i)
    {
        auto& block = live[random() % live.size()];
        Allocator::Free(block);
        block = Allocator::Allocate(kLiveSize);
    }
    Churn<Allocator>(state);
    for (auto& block : live)
        Allocator::Free(block);
}

// Replaces a random one of live blocks and writes its first bytes, as the owner of the block would.
// The argument is the number of live blocks.
template <class Allocator> void Replace(benchmark::State& state)
{
    if (!Works<Allocator>(kLiveSize))
        state.SkipWithError("no usable block");
    std::vector<typename Allocator::Block> live(static_cast<std::size_t>(state.range(0)));
    for (auto& block : live)
    {
        block = Allocator::Allocate(kLiveSize);
        std::memset(Allocator::Bytes(block), 1, sizeof(void*)); // its page is there
    }
    std::shuffle(live.begin(), live.end(), std::mt19937(1));
    std::minstd_rand random(1);
    for (auto _ : state)
    {
        auto& place = live[random() % live.size()];
        const typename Allocator::Block old = place;
        place = Allocator::Allocate(kLiveSize);
        std::memset(Allocator::Bytes(place), 1, sizeof(void*));
        Allocator::Free(old);
    }
    for (auto& block : live)
        Allocator::Free(block);
    state.SetItemsProcessed(state.iterations());
}

// Named pointers with as many names as a program has in one phase of its work.
void ChurnNames(benchmark::State& state)
{
    static const char* const kNames[] = {
        "tile",        "decoded tile",     "row of samples", "index of frames",
        "waveform",    "undo step",        "glyph outlines", "list of effects",
        "thumbnail",   "colour table",     "audio block",    "keyframes of a property",
        "marker list", "project settings", "cache entry",    "text of a caption",
    };
    if (!Works<NamedPtr>(kLiveSize))
        state.SkipWithError("no usable block");
    unsigned number = 0;
    for (auto _ : state)
    {
        void* const block = U_AllocatePtr(0, kNames[number++ % 16], kLiveSize);
        benchmark::DoNotOptimize(block);
        U_FreePtr(block);
    }
    state.SetItemsProcessed(state.iterations());
}

std::size_t Resident()
{
    win32::PROCESS_MEMORY_COUNTERS counters = {};
    win32::GetProcessMemoryInfo(win32::GetCurrentProcess(), &counters, sizeof(counters));
    return counters.WorkingSetSize;
}

// Resident bytes for each live block. Runs in a process of its own, since memory that the process
// has from earlier work is not counted.
template <class Allocator> void Overhead(benchmark::State& state)
{
    if (!Works<Allocator>(kLiveSize))
        state.SkipWithError("no usable block");
    std::vector<typename Allocator::Block> live(kLiveBlocks);
    for (auto _ : state)
    {
        const std::size_t before = Resident();
        for (auto& block : live)
        {
            block = Allocator::Allocate(kLiveSize);
            std::memset(Allocator::Bytes(block), 1, kLiveSize);
        }
        state.counters["bytes_per_block"] =
            static_cast<double>(Resident() - before) / static_cast<double>(kLiveBlocks);
    }
    for (auto& block : live)
        Allocator::Free(block);
}

#define SIZES Arg(64)->Arg(1024)->Arg(4096)->ThreadRange(1, 2)->UseRealTime()
BENCHMARK_TEMPLATE(Churn, Malloc)->SIZES;
BENCHMARK_TEMPLATE(Churn, Ptr)->SIZES;
BENCHMARK_TEMPLATE(Churn, Handle)->SIZES;
BENCHMARK_TEMPLATE(Churn, HogHandle)->SIZES;
BENCHMARK_TEMPLATE(Churn, Mimalloc)->SIZES;
BENCHMARK_TEMPLATE(Churn, Jemalloc)->SIZES;
BENCHMARK_TEMPLATE(Churn, Tcmalloc)->SIZES;
BENCHMARK_TEMPLATE(Churn, RecycledPtr)->Arg(4096)->ThreadRange(1, 2)->UseRealTime();
BENCHMARK_TEMPLATE(Churn, NamedPtr)->Arg(64)->UseRealTime();
BENCHMARK(ChurnNames)->UseRealTime();
BENCHMARK(ChurnUncounted)->Arg(64)->ThreadRange(1, 2)->UseRealTime();
BENCHMARK(ChurnAmongThreads)->ArgsProduct({{4096}, {1, 256, 1024}})->UseRealTime();
BENCHMARK(ChurnAfterThreads)->Args({4096, 1024})->UseRealTime();
#define LIVE ArgsProduct({{64, 1024}, {kLiveBlocks}})->UseRealTime()
BENCHMARK_TEMPLATE(ChurnAmongLive, Malloc)->LIVE;
BENCHMARK_TEMPLATE(ChurnAmongLive, Ptr)->LIVE;
BENCHMARK_TEMPLATE(ChurnAmongLive, Handle)->LIVE;
BENCHMARK_TEMPLATE(Overhead, Malloc)->Iterations(1);
BENCHMARK_TEMPLATE(Overhead, Ptr)->Iterations(1);
BENCHMARK_TEMPLATE(Overhead, Handle)->Iterations(1);
// The blocks of the largest size take seconds to make, and are made once in a process.
#define REPLACED(allocator)                                                                        \
    BENCHMARK_TEMPLATE(Replace, allocator)->RangeMultiplier(10)->Range(1000, kLiveBlocks);         \
    BENCHMARK_TEMPLATE(Replace, allocator)->Arg(10 * kLiveBlocks)->Iterations(kLiveBlocks)
REPLACED(Malloc);
REPLACED(Ptr);
REPLACED(Handle);
REPLACED(Mimalloc);
REPLACED(Jemalloc);
REPLACED(Tcmalloc);

// For the plots.
#define GROWING_LIVE RangeMultiplier(10)->Range(100, kLiveBlocks)
BENCHMARK_TEMPLATE(Replace, Malloc)->Name("Growth/live/malloc")->GROWING_LIVE;
BENCHMARK_TEMPLATE(Replace, Ptr)->Name("Growth/live/pointer")->GROWING_LIVE;
BENCHMARK_TEMPLATE(Replace, Handle)->Name("Growth/live/handle")->GROWING_LIVE;
#define GROWING_THREADS Arg(1024)->ThreadRange(1, 8)->UseRealTime()
BENCHMARK_TEMPLATE(Churn, Malloc)->Name("Growth/threads/malloc")->GROWING_THREADS;
BENCHMARK_TEMPLATE(Churn, Ptr)->Name("Growth/threads/pointer")->GROWING_THREADS;
BENCHMARK_TEMPLATE(Churn, Handle)->Name("Growth/threads/handle")->GROWING_THREADS;
} // namespace

int main(int argc, char** argv)
{
    if (!LoadAllocators(argv))
        return 1;
    // Purges write many log lines, which are dropped.
    platform::SetLogSink([](int, const char*, const char*, const char*) {});
    if (U_Birth("bench_memory", nullptr) != 0)
        return 1;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return U_Death();
}
