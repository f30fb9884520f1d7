// Allocation beside the C library.
//
// The floor is malloc and free, and one increment of a counter that all threads share, which the
// budget's contract requires.

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <mutex>
#include <random>
#include <thread>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <platform/control.h>
#include <tolv/memory.h>
#include <win32/process.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "U_Hog.h"
#include "U_Lifecycle.h"

namespace
{
const std::size_t kLiveBlocks = 1000000;
const std::size_t kLiveSize = 64;

alignas(128) std::atomic<unsigned> sSharedCounter(0);

struct Malloc
{
    typedef void* Block;
    static Block Allocate(std::size_t size)
    {
        sSharedCounter.fetch_add(1, std::memory_order_relaxed);
        return std::malloc(size);
    }
    static void* Bytes(Block block) { return block; }
    static void Free(Block block) { std::free(block); }
};

struct Ptr
{
    typedef void* Block;
    static Block Allocate(std::size_t size) { return U_AllocatePtrQuiet(size); }
    static void* Bytes(Block block) { return block; }
    static void Free(Block block) { U_FreePtr(block); }
};

struct Handle
{
    typedef void** Block;
    static Block Allocate(std::size_t size) { return U_AllocateHandleQuiet(size); }
    static void* Bytes(Block block) { return *block; }
    static void Free(Block block) { U_FreeHandle(block); }
};

struct HogHandle
{
    typedef void** Block;
    static Block Allocate(std::size_t size)
    {
        static const U_u32 sId = Register();
        Block block = nullptr;
        U_NewHogHandle(sId, 0, nullptr, size, U_Hog_Quiet, &block);
        return block;
    }
    static void* Bytes(Block block)
    {
        void* data = nullptr;
        U_LockHogHandle(block, &data);
        U_UnlockHogHandle(block);
        return data;
    }
    static void Free(Block block) { U_FreeHogHandle(block); }

private:
    static U_u32 Register()
    {
        U_u32 id = 0;
        U_RegisterHog("bench", &id);
        return id;
    }
};

// Returns whether the allocator returns blocks that can be written.
template <class Allocator> bool Works(std::size_t size)
{
    typename Allocator::Block first = Allocator::Allocate(size);
    typename Allocator::Block second = Allocator::Allocate(size);
    bool works = first && second && Allocator::Bytes(first) != Allocator::Bytes(second);
    if (works)
    {
        std::memset(Allocator::Bytes(first), 1, size);
        std::memset(Allocator::Bytes(second), 2, size);
        works = static_cast<char*>(Allocator::Bytes(first))[size - 1] == 1;
    }
    Allocator::Free(first);
    Allocator::Free(second);
    return works;
}

template <class Allocator> void Churn(benchmark::State& state)
{
    const std::size_t size = static_cast<std::size_t>(state.range(0));
    if (!Works<Allocator>(size))
        state.SkipWithError("no usable block");
    for (auto _ : state)
    {
        typename Allocator::Block block = Allocator::Allocate(size);
        benchmark::DoNotOptimize(block);
        Allocator::Free(block);
    }
    state.SetItemsProcessed(state.iterations());
}

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

// The alternative that a user would write: malloc under a budget with a lock.
class LockedBudget
{
public:
    void* Allocate(std::size_t size, std::size_t maximum)
    {
        std::lock_guard<std::mutex> lock(mLock);
        if (mUsed + size > maximum)
            return nullptr;
        void* block = std::malloc(size);
        if (block)
            mUsed += malloc_usable_size(block);
        return block;
    }

    void Free(void* block)
    {
        std::lock_guard<std::mutex> lock(mLock);
        mUsed -= malloc_usable_size(block);
        std::free(block);
    }

private:
    std::mutex mLock; // guards mUsed
    std::size_t mUsed = 0;
};

// Blocks that all threads share. The oldest block is freed first.
template <class FreeBlock> class Cache
{
public:
    explicit Cache(FreeBlock freeBlock) : mFree(freeBlock) {}

    void Add(void* block, std::size_t size)
    {
        std::lock_guard<std::mutex> lock(mLock);
        mBlocks.push_back({block, size});
        mHeld += size;
        mPeak = std::max(mPeak, mHeld);
    }

    bool DropOldest()
    {
        void* oldest = nullptr;
        {
            std::lock_guard<std::mutex> lock(mLock);
            if (mBlocks.empty())
                return false;
            oldest = mBlocks.front().first;
            mHeld -= mBlocks.front().second;
            mBlocks.pop_front();
        }
        mFree(oldest);
        return true;
    }

    std::size_t Peak() const { return mPeak; } // the most bytes held; read after all threads end

private:
    FreeBlock mFree;
    std::mutex mLock; // guards the members below
    std::deque<std::pair<void*, std::size_t>> mBlocks;
    std::size_t mHeld = 0;
    std::size_t mPeak = 0;
};

const std::size_t kStormBudget = 16 << 20;
const std::size_t kStormBlock = 64 << 10;
const int kStormBlocks = 2000; // for each thread
const int kStormThreads = 8;

std::size_t StormSize(std::mt19937& random)
{
    return kStormBlock / 2 + random() % (kStormBlock / 2);
}

template <class Body> void OnStormThreads(Body body)
{
    std::vector<std::thread> threads;
    for (int number = 0; number < kStormThreads; ++number)
        threads.emplace_back([&body, number] {
            std::mt19937 random(static_cast<unsigned>(number));
            for (int i = 0; i < kStormBlocks; ++i)
                body(StormSize(random));
        });
    for (std::thread& thread : threads)
        thread.join();
}

U_u64 InUse()
{
    U_u64 used = 0;
    U_GetMemoryStat(U_MemStat_InUse, &used);
    return used;
}

const U_u64 kPassedOn = 100000; // bytes of a block that a producer passes to a consumer

// Calls run(use) with readings of the use while a producer passes blocks to a consumer.
template <class Run> void UnderProducerAndConsumer(benchmark::State& state, Run run)
{
    std::atomic<void*> handed(nullptr);
    std::atomic<bool> ends(false);
    std::thread producer([&] {
        while (!ends)
        {
            if (!handed)
                handed = U_AllocatePtrQuiet(kPassedOn);
        }
    });
    std::thread consumer([&] {
        while (!ends)
            U_FreePtr(handed.exchange(nullptr));
    });
    for (auto _ : state)
        run(InUse());
    ends = true;
    producer.join();
    consumer.join();
    U_FreePtr(handed);
}

// The largest distance of a reading from the uses that are possible: one block is handed
// over and one is with the producer or the consumer, or none.
void UsageError(benchmark::State& state)
{
    const U_u64 least = InUse();
    const U_u64 most = least + 2 * kPassedOn;
    U_u64 error = 0;
    UnderProducerAndConsumer(state, [&](U_u64 use) {
        error = std::max(error, use < least ? least - use : use > most ? use - most : 0);
    });
    state.counters["bytes"] = static_cast<double>(error);
}

void UsageErrorAllowed(benchmark::State& state)
{
    for (auto _ : state)
        state.counters["bytes"] = 2 * 32 * 1024; // 32 KiB a thread
}

typedef Cache<U_Status (*)(void*)> UCache;

int DropOldest(void* refcon, U_u64, U_u64, bool*)
{
    static_cast<UCache*>(refcon)->DropOldest();
    return 0;
}

// Eight threads allocate against a full budget, and each purge frees a part of the cache. Fails if
// the cache holds more than the maximum and the blocks in flight, or if bytes are lost.
void PurgeStorm(benchmark::State& state)
{
    const U_u64 before = InUse();
    const U_u64 maximum = before + kStormBudget;
    UCache cache(&U_FreePtr);
    U_SetMemUsageLimits(maximum - (4 << 20), maximum);
    U_SetPurgeRequestCallback(&DropOldest, &cache);
    std::atomic<int> refused(0);
    for (auto _ : state)
    {
        OnStormThreads([&](std::size_t size) {
            void* block = U_AllocatePtrQuiet(size);
            if (block)
                cache.Add(block, size);
            else
                ++refused;
        });
    }
    U_SetPurgeRequestCallback(nullptr, nullptr);
    while (cache.DropOldest())
    {
    }
    MEM_SetMemUsageLimits(0, 0);
    if (cache.Peak() > kStormBudget + kStormThreads * kStormBlock)
        state.SkipWithError("more was held than the maximum and the blocks in flight");
    if (InUse() != before)
        state.SkipWithError("bytes were lost");
    state.counters["refused"] = refused.load();
    state.SetItemsProcessed(state.iterations() * kStormThreads * kStormBlocks);
}

void PurgeStormAlternative(benchmark::State& state)
{
    LockedBudget budget;
    auto freeBlock = [&](void* block) { budget.Free(block); };
    Cache<decltype(freeBlock)> cache(freeBlock);
    for (auto _ : state)
    {
        OnStormThreads([&](std::size_t size) {
            void* block = budget.Allocate(size, kStormBudget);
            while (!block && cache.DropOldest())
                block = budget.Allocate(size, kStormBudget);
            if (block)
                cache.Add(block, size);
        });
    }
    while (cache.DropOldest())
    {
    }
    state.SetItemsProcessed(state.iterations() * kStormThreads * kStormBlocks);
}

#define SIZES Arg(64)->Arg(1024)->Arg(4096)->ThreadRange(1, 2)->UseRealTime()
BENCHMARK_TEMPLATE(Churn, Malloc)->SIZES;
BENCHMARK_TEMPLATE(Churn, Ptr)->SIZES;
BENCHMARK_TEMPLATE(Churn, Handle)->SIZES;
BENCHMARK_TEMPLATE(Churn, HogHandle)->SIZES;
BENCHMARK(ChurnUncounted)->Arg(64)->ThreadRange(1, 2)->UseRealTime();
BENCHMARK(ChurnAmongThreads)->ArgsProduct({{4096}, {1, 256, 1024}})->UseRealTime();
BENCHMARK(ChurnAfterThreads)->Args({4096, 1024})->UseRealTime();
BENCHMARK(UsageError)->Iterations(100000)->UseRealTime();
BENCHMARK(UsageErrorAllowed)->Iterations(1)->UseRealTime();
#define LIVE ArgsProduct({{64, 1024}, {kLiveBlocks}})->UseRealTime()
BENCHMARK_TEMPLATE(ChurnAmongLive, Malloc)->LIVE;
BENCHMARK_TEMPLATE(ChurnAmongLive, Ptr)->LIVE;
BENCHMARK_TEMPLATE(ChurnAmongLive, Handle)->LIVE;
BENCHMARK_TEMPLATE(Overhead, Malloc)->Iterations(1);
BENCHMARK_TEMPLATE(Overhead, Ptr)->Iterations(1);
BENCHMARK_TEMPLATE(Overhead, Handle)->Iterations(1);
BENCHMARK(PurgeStorm)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(PurgeStormAlternative)->UseRealTime()->Unit(benchmark::kMillisecond);

// For the plots.
#define GROWING_LIVE ArgsProduct({{64}, {100, 1000, 10000, 100000, kLiveBlocks}})->UseRealTime()
BENCHMARK_TEMPLATE(ChurnAmongLive, Malloc)->Name("Growth/live/malloc")->GROWING_LIVE;
BENCHMARK_TEMPLATE(ChurnAmongLive, Ptr)->Name("Growth/live/pointer")->GROWING_LIVE;
BENCHMARK_TEMPLATE(ChurnAmongLive, Handle)->Name("Growth/live/handle")->GROWING_LIVE;
#define GROWING_THREADS Arg(1024)->ThreadRange(1, 8)->UseRealTime()
BENCHMARK_TEMPLATE(Churn, Malloc)->Name("Growth/threads/malloc")->GROWING_THREADS;
BENCHMARK_TEMPLATE(Churn, Ptr)->Name("Growth/threads/pointer")->GROWING_THREADS;
BENCHMARK_TEMPLATE(Churn, Handle)->Name("Growth/threads/handle")->GROWING_THREADS;
} // namespace

int main(int argc, char** argv)
{
    // Purges write many log lines, which are dropped.
    platform::SetLogSink([](int, const char*, const char*, const char*) {});
    if (U_Birth("bench_memory", nullptr) != 0)
        return 1;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return U_Death();
}
