// The C++ conveniences beside the functions that they wrap, in each case with the same block.

#include <cstddef>
#include <memory_resource>
#include <mutex>
#include <new>

#include <benchmark/benchmark.h>

#include <u/cpp/life.h>
#include <u/cpp/memory.h>
#include <u/cpp/owners.h>
#include <u/cpp/text.h>

#include "U_Alloc.h"
#include "U_Format.h"
#include "U_Hog.h"

namespace
{
const U_u32 kPlace = 0x10001;

U_u32 Hog()
{
    static const U_u32 sId = [] {
        U_u32 id = 0;
        U_RegisterHog("bench", &id);
        return id;
    }();
    return sId;
}

// The callers of the bare functions check the block, as each host must.
template <class Block> Block Checked(Block block)
{
    if (!block)
        throw std::bad_alloc();
    return block;
}

struct BarePointer
{
    explicit BarePointer(std::size_t size) : mBlock(Checked(U_AllocatePtr(kPlace, "bench", size)))
    {
    }
    ~BarePointer() { U_FreePtr(mBlock); }
    void* Data() { return mBlock; }
    void* mBlock;
};

struct BareHandle
{
    explicit BareHandle(std::size_t size) : mBlock(Checked(U_AllocateHandle(kPlace, "bench", size)))
    {
    }
    ~BareHandle() { U_FreeHandle(mBlock); }
    void* Data() { return *mBlock; }
    void** mBlock;
};

struct BareRecycled
{
    explicit BareRecycled(std::size_t size)
        : mBlock(Checked(U_AllocateRecycledPtr(kPlace, "bench", size)))
    {
    }
    ~BareRecycled() { U_FreeRecycledPtr(mBlock); }
    void* Data() { return mBlock; }
    void* mBlock;
};

struct BareHog
{
    explicit BareHog(std::size_t size)
    {
        if (U_NewHogHandle(Hog(), kPlace, "bench", size, 0, &mBlock))
            throw std::bad_alloc();
        if (U_LockHogHandle(mBlock, &mData))
            throw std::bad_alloc();
    }
    ~BareHog()
    {
        U_UnlockHogHandle(mBlock);
        U_FreeHogHandle(mBlock);
    }
    void* Data() { return mData; }
    void** mBlock = nullptr;
    void* mData = nullptr;
};

template <class OwnerType> struct Owned
{
    explicit Owned(std::size_t size) : mOwner(OwnerType::Allocate(kPlace, "bench", size)) {}
    void* Data() { return mOwner.template As<void>(); }
    OwnerType mOwner;
};

struct OwnedHog
{
    explicit OwnedHog(std::size_t size)
        : mOwner(U::cpp::HogHandle::Allocate(Hog(), kPlace, "bench", size)), mLock(mOwner)
    {
    }
    void* Data() { return mLock.As<void>(); }
    U::cpp::HogHandle mOwner;
    U::cpp::HogLock mLock;
};

// A resource as a container uses one: by a pointer to the base class, whose type the compiler does
// not know.
template <std::size_t recycledFrom> struct OfResource
{
    explicit OfResource(std::size_t size) : mSize(size), mBlock(sUsed->allocate(size)) {}
    ~OfResource() { sUsed->deallocate(mBlock, mSize); }
    void* Data() { return mBlock; }
    std::size_t mSize;
    void* mBlock;

private:
    static inline U::cpp::BudgetResource sResource{kPlace, "bench", recycledFrom};
    static inline std::pmr::memory_resource* volatile sUsed = &sResource;
};

struct OfAllocator
{
    explicit OfAllocator(std::size_t size) : mSize(size), mBlock(mAllocator.allocate(size)) {}
    ~OfAllocator() { mAllocator.deallocate(mBlock, mSize); }
    void* Data() { return mBlock; }
    U::cpp::BudgetAllocator<char> mAllocator{kPlace, "bench"};
    std::size_t mSize;
    char* mBlock;
};

template <class Block> void Pair(benchmark::State& state)
{
    const std::size_t size = static_cast<std::size_t>(state.range(0));
    if (!Block(size).Data())
        state.SkipWithError("no block");
    for (auto _ : state)
    {
        Block block(size);
        benchmark::DoNotOptimize(block.Data());
    }
}

BENCHMARK_TEMPLATE(Pair, BarePointer)->Arg(64)->Arg(4096);
BENCHMARK_TEMPLATE(Pair, Owned<U::cpp::Pointer>)->Arg(64)->Arg(4096);
BENCHMARK_TEMPLATE(Pair, OfResource<U::cpp::kNeverRecycled>)->Arg(64)->Arg(4096);
BENCHMARK_TEMPLATE(Pair, OfAllocator)->Arg(64)->Arg(4096);
BENCHMARK_TEMPLATE(Pair, BareHandle)->Arg(64);
BENCHMARK_TEMPLATE(Pair, Owned<U::cpp::Handle>)->Arg(64);
BENCHMARK_TEMPLATE(Pair, BareHog)->Arg(64);
BENCHMARK_TEMPLATE(Pair, OwnedHog)->Arg(64);
BENCHMARK_TEMPLATE(Pair, BareRecycled)->Arg(100000);
BENCHMARK_TEMPLATE(Pair, Owned<U::cpp::RecycledPointer>)->Arg(100000);
BENCHMARK_TEMPLATE(Pair, OfResource<65536>)->Arg(100000);

// A pin and its end, against the lock that a cache would hold instead.
void PinBlock(benchmark::State& state)
{
    U::cpp::CachedBlock<U::cpp::Pointer> cached(U::cpp::Pointer::Allocate(kPlace, "bench", 64));
    for (auto _ : state)
    {
        const auto pin = cached.Pin();
        benchmark::DoNotOptimize(pin->Get());
    }
}
BENCHMARK(PinBlock);

void LockBlock(benchmark::State& state)
{
    std::mutex lock;
    const U::cpp::Pointer block = U::cpp::Pointer::Allocate(kPlace, "bench", 64);
    for (auto _ : state)
    {
        const std::lock_guard<std::mutex> locked(lock);
        benchmark::DoNotOptimize(block.Get());
    }
}
BENCHMARK(LockBlock);

// A message with two texts and a number.
void FillOnce(benchmark::State& state)
{
    const U_UTF16String message = U::cpp::ToUTF16("^1 to ^2 in ^L3 s");
    const U_UTF16String from = U::cpp::ToUTF16("a file"), to = U::cpp::ToUTF16("a folder");
    if (U::cpp::Fill(message, from, to, 5) != U::cpp::ToUTF16("a file to a folder in 5 s"))
        state.SkipWithError("another text");
    for (auto _ : state)
        benchmark::DoNotOptimize(U::cpp::Fill(message, from, to, 5));
}
BENCHMARK(FillOnce);

void FillBare(benchmark::State& state)
{
    const U_UTF16String message = U::cpp::ToUTF16("^1 to ^2 in ^L3 s");
    const U_UTF16String from = U::cpp::ToUTF16("a file"), to = U::cpp::ToUTF16("a folder");
    if (U_SubString16(message, from.c_str(), to.c_str(), 5) !=
        U::cpp::ToUTF16("a file to a folder in 5 s"))
        state.SkipWithError("another text");
    for (auto _ : state)
        benchmark::DoNotOptimize(U_SubString16(message, from.c_str(), to.c_str(), 5));
}
BENCHMARK(FillBare);
} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    U::cpp::Life life("bench");
    if (!life)
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return life.End();
}
