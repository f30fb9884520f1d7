// The budget under pressure: a purge storm beside budgets that a user would write, and the error of
// the use that is read while blocks change threads.

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <deque>
#include <mutex>
#include <random>
#include <thread>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <tolv/memory.h>

#include "U_Alloc.h"
#include "U_Budget.h"

namespace
{
const std::size_t kStormBudget = 16 << 20;
const std::size_t kStormBlock = 64 << 10;
const int kStormBlocks = 2000; // for each thread
const int kStormThreads = 8;

// malloc under a budget with a lock.
class LockedBudget
{
public:
    void* Allocate(std::size_t size)
    {
        std::lock_guard<std::mutex> lock(mLock);
        if (mUsed + size > kStormBudget)
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

    std::size_t Used() const { return mUsed; } // read after all threads end

private:
    std::mutex mLock; // guards mUsed
    std::size_t mUsed = 0;
};

// malloc under a budget in one atomic word.
class AtomicBudget
{
public:
    void* Allocate(std::size_t size)
    {
        if (mUsed.fetch_add(size) + size > kStormBudget)
        {
            mUsed.fetch_sub(size);
            return nullptr;
        }
        void* block = std::malloc(size);
        mUsed.fetch_add((block ? malloc_usable_size(block) : 0) - size);
        return block;
    }

    void Free(void* block)
    {
        mUsed.fetch_sub(malloc_usable_size(block));
        std::free(block);
    }

    std::size_t Used() const { return mUsed; }

private:
    alignas(128) std::atomic<std::size_t> mUsed{0};
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

// Bytes of a block that a producer passes to a consumer. Each thread can keep back the charges of
// two such blocks, since a part of a thread has at most 16 KiB.
const U_u64 kPassedOn = 6000;

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
// the cache holds more than the maximum and the blocks in flight, if a block is refused or if bytes
// are lost.
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
    if (refused != 0)
        state.SkipWithError("a block was refused while the cache held others");
    state.SetItemsProcessed(state.iterations() * kStormThreads * kStormBlocks);
}

template <class Budget> void PurgeStormUnder(benchmark::State& state)
{
    Budget budget;
    auto freeBlock = [&](void* block) { budget.Free(block); };
    Cache<decltype(freeBlock)> cache(freeBlock);
    std::atomic<int> refused(0);
    for (auto _ : state)
    {
        OnStormThreads([&](std::size_t size) {
            void* block = budget.Allocate(size);
            while (!block && cache.DropOldest())
                block = budget.Allocate(size);
            if (block)
                cache.Add(block, size);
            else
                ++refused;
        });
    }
    while (cache.DropOldest())
    {
    }
    if (cache.Peak() > kStormBudget + kStormThreads * kStormBlock)
        state.SkipWithError("more was held than the maximum and the blocks in flight");
    if (budget.Used() != 0)
        state.SkipWithError("bytes were lost");
    if (refused != 0)
        state.SkipWithError("a block was refused while the cache held others");
    state.SetItemsProcessed(state.iterations() * kStormThreads * kStormBlocks);
}

BENCHMARK(UsageError)->Iterations(100000)->UseRealTime();
BENCHMARK(UsageErrorAllowed)->Iterations(1)->UseRealTime();
BENCHMARK(PurgeStorm)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(PurgeStormUnder, LockedBudget)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(PurgeStormUnder, AtomicBudget)->UseRealTime()->Unit(benchmark::kMillisecond);
} // namespace
