// The allocators that the benchmarks of memory compare, and the loop that all of them run.
//
// The floor is malloc and free, and one increment of a counter that all threads share, which the
// budget's contract requires. The other allocators that a user could choose make the increment,
// too.

#ifndef BENCH_MEMORY_ALLOCATORS_H
#define BENCH_MEMORY_ALLOCATORS_H

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include <benchmark/benchmark.h>

#include "U_Alloc.h"
#include "U_Hog.h"

const std::size_t kLiveBlocks = 1000000;
const std::size_t kLiveSize = 64;

struct alignas(128) SharedCounter
{
    std::atomic<unsigned> mCount{0};
};
inline SharedCounter sAllocated;

inline void CountAllocation()
{
    sAllocated.mCount.fetch_add(1, std::memory_order_relaxed);
}

struct Malloc
{
    typedef void* Block;
    static Block Allocate(std::size_t size)
    {
        CountAllocation();
        return std::malloc(size);
    }
    static void* Bytes(Block block) { return block; }
    static void Free(Block block) { std::free(block); }
};

// An allocator in a shared library that is loaded beside malloc. LoadAllocators loads it.
template <class Library> struct Loaded
{
    typedef void* Block;
    static Block Allocate(std::size_t size)
    {
        CountAllocation();
        return sAllocate(size);
    }
    static void* Bytes(Block block) { return block; }
    static void Free(Block block) { sFree(block); }

    inline static void* (*sAllocate)(std::size_t) = nullptr;
    inline static void (*sFree)(void*) = nullptr;
};

struct Mimalloc : Loaded<Mimalloc>
{
    static constexpr const char* kNames[] = {"libmimalloc.so.2", "mi_malloc", "mi_free"};
};

struct Jemalloc : Loaded<Jemalloc>
{
    static constexpr const char* kNames[] = {"libjemalloc.so.2", "malloc", "free"};
};

struct Tcmalloc : Loaded<Tcmalloc>
{
    static constexpr const char* kNames[] = {"libtcmalloc_minimal.so.4", "tc_malloc", "tc_free"};
};

// Loads the libraries above. Returns false, after a message, if one is missing. The first call
// replaces the process by one that has room for the libraries' thread-local variables.
bool LoadAllocators(char** argv);

struct Ptr
{
    typedef void* Block;
    static Block Allocate(std::size_t size) { return U_AllocatePtrQuiet(size); }
    static void* Bytes(Block block) { return block; }
    static void Free(Block block) { U_FreePtr(block); }
};

struct NamedPtr : Ptr
{
    static Block Allocate(std::size_t size) { return U_AllocatePtr(0, "decoded tile", size); }
};

struct RecycledPtr : Ptr
{
    static Block Allocate(std::size_t size) { return U_AllocateRecycledPtr(0, nullptr, size); }
    static void Free(Block block) { U_FreeRecycledPtr(block); }
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

#endif
