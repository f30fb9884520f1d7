// Hosts of the heap: blocks with the bytes that their owner has written, a cache, and two threads
// under one budget.

#ifndef FUZZ_HEAP_HOST_H
#define FUZZ_HEAP_HOST_H

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <thread>
#include <utility>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "U_Hog.h"
#include "budget_model.h"
#include "model.h"
#include "second_thread.h"

const U_u64 kHogHeader = 16;
const U_u64 kRecycledHeader = 16;
const std::size_t kHogs = 2;

inline U_u32 sHogs[kHogs];

enum Kind
{
    kPointer,
    kHandle,
    kHogHandle,
    kRecycled,
    kKinds
};

// A block of the heap or of the pool.
struct Block
{
    void* Data() const
    {
        if (mKind == kHogHandle)
            return static_cast<char*>(*static_cast<void**>(mAddress)) + kHogHeader;
        return mKind == kHandle ? *static_cast<void**>(mAddress) : mAddress;
    }

    // The bounds of a recycled block, without the charge for its header.
    U_u64 LeastBytes() const { return mSize + kRecycledHeader; }
    U_u64 MostBytes() const { return LeastBytes() + std::max<U_u64>(LeastBytes() * 41 / 100, 64); }

    U_u64 Charge() const { return mSize + (mKind == kHogHandle ? kHogHeader : 0) + mRounding; }

    void Fill(std::uint8_t byte)
    {
        mByte = byte;
        std::memset(Data(), byte, mSize);
    }

    // The first `count` bytes are those of Fill.
    void RequireBytes(U_u64 count) const
    {
        const std::uint8_t* const bytes = static_cast<const std::uint8_t*>(Data());
        Require(!count || (bytes[0] == mByte && !std::memcmp(bytes, bytes + 1, count - 1)));
    }

    void RequireSound() const
    {
        U_u64 size = mSize;
        U_u32 ofHandle = 0;
        if (mKind == kPointer)
            Require(U_GetPtrSize(mAddress, &size) == 0);
        if (mKind == kHogHandle)
            Require(U_GetHogHandleSize(static_cast<void**>(mAddress), &size) == 0);
        if (mKind == kHandle || mKind == kHogHandle)
            Require(U_GetHandleSize(static_cast<void**>(mAddress), &ofHandle) == 0 &&
                    ofHandle == Charge());
        Require(size == mSize);
        const bool isAligned =
            reinterpret_cast<std::uintptr_t>(Data()) % alignof(std::max_align_t) == 0;
        Require(isAligned || mKind == kRecycled); // aligned for any type
        RequireBytes(mSize);
    }

    // Returns whether there was a block.
    bool Free()
    {
        if (!mAddress)
            return false;
        RequireSound();
        void** const handle = static_cast<void**>(mAddress);
        Require((mKind == kPointer     ? U_FreePtr(mAddress)
                 : mKind == kHandle    ? U_FreeHandle(handle)
                 : mKind == kHogHandle ? U_FreeHogHandle(handle)
                                       : U_FreeRecycledPtr(mAddress)) == 0);
        mAddress = nullptr;
        return true;
    }

    Kind mKind = kPointer;
    void* mAddress = nullptr; // of the block, or the handle
    U_u64 mSize = 0;
    U_u64 mRounding = 0; // of a recycled block, with the headers
    std::uint8_t mByte = 0;
    std::size_t mHog = 0;
    unsigned mLocks = 0;
};

inline void* NewBlock(Kind kind, U_u64 size, const char* name, bool clear, std::size_t hog)
{
    if (kind == kHogHandle)
    {
        void** handle = nullptr;
        const U_u32 flags = U_Hog_Clear * clear | U_Hog_Quiet * !name;
        const U_Status status = U_NewHogHandle(sHogs[hog], 1, name, size, flags, &handle);
        Require(status == (handle ? 0 : 4));
        return handle;
    }
    if (kind == kRecycled)
        return U_AllocateRecycledPtr(1, name, size);
    if (kind == kPointer)
        return name ? (clear ? U_AllocatePtrClear : U_AllocatePtr)(1, name, size)
                    : (clear ? U_AllocatePtrClearQuiet : U_AllocatePtrQuiet)(size);
    return name ? (clear ? U_AllocateHandleClear : U_AllocateHandle)(1, name, size)
                : (clear ? U_AllocateHandleClearQuiet : U_AllocateHandleQuiet)(size);
}

// Returns the result of the call, and the address of a pointer that moved.
inline U_Status Resize(Block& block, U_u64 size, const char* name)
{
    void** handle = static_cast<void**>(block.mAddress);
    if (block.mKind == kHogHandle)
        return U_ResizeHogHandle(1, name, size, handle);
    if (block.mKind == kHandle)
    {
        const U_Status status = U_ResizeHandle(1, size, name, &handle);
        Require(handle == block.mAddress);
        return status;
    }
    void* pointer = block.mAddress;
    const U_Status status =
        name ? U_ResizePtr(1, size, name, &pointer) : U_ResizePtrQuiet(size, &pointer);
    Require((status == 0) == (pointer != nullptr));
    if (pointer)
        block.mAddress = pointer;
    return status;
}

// The bytes in the blocks of a host, and in those of one hog.
struct Held
{
    void Add(const Block& block, std::size_t hog)
    {
        mCharge += block.mAddress ? block.Charge() : 0;
        if (!block.mAddress || block.mKind != kHogHandle || block.mHog != hog)
            return;
        ++mCount;
        mBytes += static_cast<U_u32>(block.mSize);
    }

    void RequireStats(std::size_t hog) const
    {
        U_u32 count = 0;
        U_u32 bytes = 0;
        Require(U_GetHogStats(sHogs[hog], &count, &bytes) == 0);
        Require(count == mCount && bytes == mBytes);
    }

    U_u64 mCharge = 0;
    U_u32 mCount = 0;
    U_u32 mBytes = 0;
};

// An allocation of the host's own, whose first attempts fail.
struct Procedure
{
    static const U_Status kFailure = 77;

    static int Attempt(void* refcon, bool* okay)
    {
        Procedure& self = *static_cast<Procedure*>(refcon);
        Require(!*okay);
        *okay = self.mAttempts++ >= self.mFailures;
        return *okay ? 0 : kFailure;
    }

    std::size_t mFailures;
    std::size_t mAttempts = 0;
};

// The cache of a host, as the model of the budget has it.
class HostCache
{
public:
    bool Has(std::size_t place) const { return mBlocks[place]; }

    void Fill(U_u64 size)
    {
        if (FreePlace() == mBlocks + kCachePlaces)
            return;
        void* const cached = U_AllocatePtrQuiet(size);
        if (FreePlace() == mBlocks + kCachePlaces)
            U_FreePtr(cached); // a request within the allocation has filled the cache
        else
            *FreePlace() = cached;
    }

    // Answers a request to purge.
    int Answer(unsigned answer, bool* flag)
    {
        const unsigned sort = answer % 8;
        *flag |= sort == kSetsFlag || sort == kSetsFlagAndFreesOne;
        if (sort == kFreesOne || sort == kFreesTwo || sort == kSetsFlagAndFreesOne)
            FreeOne();
        if (sort == kFreesTwo)
            FreeOne();
        if (sort == kAllocates)
            Fill(BudgetModel::SizeOf(answer));
        if (sort == kPurgesPool)
            U_PurgeRecycledMemory(answer * 64);
        return sort == kFails ? 9 : 0;
    }

    void FreeAll()
    {
        for (void* block : mBlocks)
            U_FreePtr(block);
    }

private:
    void FreeOne()
    {
        for (void*& block : mBlocks)
        {
            if (block)
                return void(U_FreePtr(std::exchange(block, nullptr)));
        }
    }

    void** FreePlace() { return std::find(mBlocks, mBlocks + kCachePlaces, nullptr); }

    void* mBlocks[kCachePlaces] = {};
};

const U_u64 kBaseUse = 100000; // at the start of each input

inline U_u64 Stat(U_u32 which)
{
    U_u64 value = 0;
    Require(U_GetMemoryStat(which, &value) == 0);
    return value;
}

// A thread that allocates, resizes and frees blocks of its own. The library may refuse the thread a
// block after a request to purge.
class HostThread
{
public:
    HostThread(Choices choices, bool isTight) : mChoices(choices), mIsTight(isTight) {}

    void Run()
    {
        mThread = std::this_thread::get_id();
        while (!mChoices.Empty())
        {
            Block& block = mBlocks[mChoices.Below(kBlocks)];
            if (!block.mAddress)
                New(block);
            else if (block.mKind == kRecycled || mChoices.Flag())
                block.Free();
            else
                ResizeOne(block);
        }
    }

    // Frees the recycled blocks. Returns the least charge that the blocks may have had.
    U_u64 FreeRecycled()
    {
        U_u64 least = 0;
        for (Block& block : mBlocks)
        {
            if (block.mKind == kRecycled && block.mAddress)
                least += block.LeastBytes() + kRecycledHeader;
            if (block.mKind == kRecycled)
                block.Free();
        }
        return least;
    }

    void AddTo(Held* held, std::size_t hog) const
    {
        for (const Block& block : mBlocks)
            held->Add(block, hog);
    }

    // The purge callback, on the thread that allocates. Every second request frees a block of the
    // thread, but not the one that the thread resizes. The others are answered by choices.
    static int Asked(void* refcon, U_u64 request, U_u64 amount, bool* flag)
    {
        HostThread* const hosts = static_cast<HostThread*>(refcon);
        HostThread& self = hosts[hosts[1].mThread == std::this_thread::get_id()];
        Require(request && amount && self.mThread == std::this_thread::get_id());
        if (self.mRequests++ % 2)
            return self.mCache.Answer(self.mChoices.Byte(), flag);
        for (Block& block : self.mBlocks)
        {
            if (&block != self.mResized && block.Free())
                break;
        }
        return 0;
    }

    void FreeCache() { mCache.FreeAll(); }

    void FreeAll()
    {
        for (Block& block : mBlocks)
            block.Free();
    }

private:
    static const std::size_t kBlocks = 4;

    // Under a tight limit all blocks are measured, and are compared with all of the use.
    U_u64 Size() { return (mIsTight ? 2048 : 0) + mChoices.Size() % 30011; }

    void New(Block& block)
    {
        const unsigned requests = mRequests;
        block.mKind = static_cast<Kind>(mChoices.Below(kKinds));
        block.mSize = Size();
        block.mHog = mChoices.Below(kHogs);
        block.mAddress = NewBlock(block.mKind, block.mSize, nullptr, mChoices.Flag(), block.mHog);
        Require(block.mAddress || mRequests > requests);
        if (block.mAddress)
            block.Fill(mChoices.Byte());
    }

    void ResizeOne(Block& block)
    {
        const U_u64 size = Size();
        const unsigned requests = mRequests;
        mResized = &block;
        const U_Status status = Resize(block, size, nullptr);
        mResized = nullptr;
        if (status)
            return Require(status == 4 && mRequests > requests), block.RequireSound();
        block.RequireBytes(std::min(block.mSize, size));
        block.mSize = size;
        block.Fill(mChoices.Byte());
    }

    Choices mChoices;
    const bool mIsTight;
    HostCache mCache;
    Block mBlocks[kBlocks];
    const Block* mResized = nullptr; // now
    unsigned mRequests = 0;
    std::atomic<std::thread::id> mThread{};
};

inline void RunTwoThreads(Choices& choices)
{
    static SecondThread second;
    const bool isTight = choices.Flag();
    const U_u64 maximum = kBaseUse + choices.Size();
    if (isTight)
        U_SetMemUsageLimits(kBaseUse, maximum);
    HostThread hosts[] = {{choices.Half(), isTight}, {choices, isTight}};
    U_SetPurgeRequestCallback(&HostThread::Asked, hosts);
    second.RunBoth([&] { hosts[0].Run(); }, [&] { hosts[1].Run(); });
    U_SetPurgeRequestCallback(nullptr, nullptr);
    for (HostThread& host : hosts)
        host.FreeCache();
    const U_u64 all = Stat(U_MemStat_InUseByLibrary);
    U_u64 least = 0; // of the recycled blocks
    for (HostThread& host : hosts)
        least += host.FreeRecycled();
    const U_u64 others = Stat(U_MemStat_InUseByLibrary);
    Require(all - others >= least && (least || all == others) && (!isTight || others <= maximum));
    for (std::size_t hog = 0; hog < kHogs; ++hog)
    {
        Held held;
        for (const HostThread& host : hosts)
            host.AddTo(&held, hog);
        Require(others == kBaseUse + held.mCharge);
        held.RequireStats(hog);
    }
    for (HostThread& host : hosts)
        host.FreeAll();
    U_PurgeRecycledMemory(~U_u64(0));
}

#endif
