// A host on two threads under one budget.

#ifndef FUZZ_HEAP_THREADS_H
#define FUZZ_HEAP_THREADS_H

#include <algorithm>
#include <atomic>
#include <thread>

#include "U_Budget.h"
#include "heap_block.h"
#include "model.h"
#include "second_thread.h"

const U_u64 kBaseUse = 100000; // at the start of each input

inline U_u64 Stat(U_u32 which)
{
    U_u64 value = 0;
    Require(U_GetMemoryStat(which, &value) == 0);
    return value;
}

// One of the threads. It has its own blocks, and may be refused.
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
            else if (mChoices.Flag())
                block.Free();
            else
                ResizeOne(block);
        }
    }

    void AddTo(Held* held) const
    {
        for (const Block& block : mBlocks)
            held->Add(block, 0);
    }

    // Each refusal comes after a request on the thread.
    void CheckRequests() const { Require(mRequests >= mRefusals); }

    // The purge callback, on the thread that allocates. Every second request frees a block of the
    // thread, but not the one that the thread resizes.
    static int Asked(void* refcon, U_u64 request, U_u64 amount, bool* flag)
    {
        HostThread* const hosts = static_cast<HostThread*>(refcon);
        HostThread& self = hosts[hosts[1].mThread == std::this_thread::get_id()];
        Require(request && amount && !*flag && self.mThread == std::this_thread::get_id());
        if (self.mRequests++ % 2)
            return 0;
        for (Block& block : self.mBlocks)
        {
            if (&block != self.mResized && block.Free())
                break;
        }
        return 0;
    }

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
        block.mKind = static_cast<Kind>(mChoices.Below(kRecycled));
        block.mSize = Size();
        block.mHog = 0;
        block.mAddress = NewBlock(block.mKind, block.mSize, nullptr, mChoices.Flag(), 0);
        mRefusals += !block.mAddress;
        if (block.mAddress)
            block.Fill(mChoices.Byte());
    }

    void ResizeOne(Block& block)
    {
        const U_u64 size = Size();
        mResized = &block;
        const U_Status status = Resize(block, size, nullptr);
        mResized = nullptr;
        mRefusals += status != 0;
        if (status)
            return Require(status == 4), block.RequireSound();
        block.RequireBytes(std::min(block.mSize, size));
        block.mSize = size;
        block.Fill(mChoices.Byte());
    }

    Choices mChoices;
    const bool mIsTight;
    Block mBlocks[kBlocks];
    const Block* mResized = nullptr; // now
    unsigned mRequests = 0;
    unsigned mRefusals = 0;
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
    Held held;
    for (const HostThread& host : hosts)
    {
        host.AddTo(&held);
        host.CheckRequests();
    }
    Require(Stat(U_MemStat_InUse) == kBaseUse + held.mCharge);
    Require(!isTight || kBaseUse + held.mCharge <= maximum);
    held.RequireStats(0);
    U_SetPurgeRequestCallback(nullptr, nullptr);
    for (HostThread& host : hosts)
        host.FreeAll();
}

#endif
