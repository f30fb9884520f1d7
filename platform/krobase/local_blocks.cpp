#include "private/local_blocks.h"

#include <new>

#include <platform/base/locks.h>
#include <platform/base/per_thread.h>
#include <platform/base/quiet_new.h>

#include "small_block.h"

namespace krobase
{
namespace utility
{
namespace
{
PLATFORM_THREAD_LOCAL(LocalBlocks*, tLocal);

platform::Mutex sIdleLock;
LocalBlocks* sFirstIdle PLATFORM_GUARDED_BY(sIdleLock) = nullptr;
std::atomic<LocalBlocks*> sFirst(nullptr);
std::atomic<unsigned long long> sLive(0); // of threads that have not ended

LocalBlocks* TakeIdle()
{
    const platform::ScLock lock(sIdleLock);
    LocalBlocks* const idle = sFirstIdle;
    if (idle)
        sFirstIdle = idle->mNextIdle;
    return idle;
}
} // namespace

// Destroyed when the thread ends.
struct LocalBlocksOwner
{
    ~LocalBlocksOwner()
    {
        tLocal = nullptr;
        if (!mLocal)
            return;
        for (std::atomic<std::uint64_t>& word : mLocal->mWords)
        {
            // The block is in the shared pool before the block stops counting as kept here. The
            // mark keeps a purge from the block meanwhile.
            std::uint64_t kept = word.load(std::memory_order_relaxed);
            if (!kept || !word.compare_exchange_strong(kept, kept | LocalBlocks::kTaken,
                                                       std::memory_order_acquire))
                continue;
            mGive(LocalBlocks::BlockOf(kept), LocalBlocks::SizeOf(kept));
            word.store(0, std::memory_order_release);
        }
        SmallBlockAllocator::Dispose(mLocal->TakeObject());
        sLive.fetch_sub(1, std::memory_order_release);
        const platform::ScLock lock(sIdleLock);
        mLocal->mNextIdle = sFirstIdle;
        sFirstIdle = mLocal;
    }

    LocalBlocks* mLocal = nullptr;
    LocalBlocks::Give mGive = nullptr;
};

LocalBlocks* LocalBlocks::Find()
{
    return tLocal;
}

LocalBlocks* LocalBlocks::Make(Give give)
{
    if (LocalBlocks* const present = tLocal)
        return present;
    const platform::ScQuietNew quiet; // a block that is freed must not report
    LocalBlocksOwner* const owner = platform::PerThread<LocalBlocksOwner>::Make();
    LocalBlocks* local = owner ? TakeIdle() : nullptr;
    if (owner && !local)
    {
        local = new (std::nothrow) LocalBlocks;
        if (local)
        {
            local->mNext = sFirst.load(std::memory_order_relaxed);
            while (!sFirst.compare_exchange_weak(local->mNext, local, std::memory_order_release,
                                                 std::memory_order_relaxed))
            {
            }
        }
    }
    if (!local)
        return nullptr;
    sLive.fetch_add(1, std::memory_order_acq_rel);
    owner->mGive = give;
    return tLocal = owner->mLocal = local;
}

unsigned long long LocalBlocks::BytesOfAll()
{
    unsigned long long sum = 0;
    for (const LocalBlocks* local = First(); local; local = local->mNext)
    {
        for (const std::atomic<std::uint64_t>& word : local->mWords)
            sum += SizeOf(word.load(std::memory_order_acquire));
    }
    return sum;
}

unsigned long long LocalBlocks::MostBytesOfAll()
{
    return kBlocks * kLargest * sLive.load(std::memory_order_acquire);
}

LocalBlocks* LocalBlocks::First()
{
    return sFirst.load(std::memory_order_acquire);
}
} // namespace utility
} // namespace krobase
