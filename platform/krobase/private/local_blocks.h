// The recycled blocks that a thread keeps for itself, before the pool that all threads share.
//
// Only the owner thread stores blocks. The owner and a purge on any thread take blocks. A block
// that the owner takes is marked until the block is charged: the mark keeps a purge away, and the
// block still counts as pooled.

#ifndef KROBASE_LOCAL_BLOCKS_H
#define KROBASE_LOCAL_BLOCKS_H

#include <atomic>
#include <cstddef>
#include <cstdint>

#include <platform/base/thread_local.h>

namespace krobase
{
namespace utility
{
struct alignas(platform::kCacheLine) LocalBlocks
{
    static const std::size_t kLargest = 16384; // bytes of a block

    // Returns the calling thread's blocks, null if the thread has none yet.
    static LocalBlocks* Find();

    // Returns the calling thread's blocks, or null without memory. When the thread ends, its blocks
    // are passed to `give`.
    typedef void (*Give)(void* block, std::size_t size);
    static LocalBlocks* Make(Give give);

    // Returns a block of `least` to `most` bytes, stores its size in *size and calls charge(*size)
    // before the block stops counting as pooled. Returns null if the thread keeps no such block.
    // REQUIRES: runs on the owner thread, and least > 0.
    template <class Charge>
    void* Take(std::size_t least, std::size_t most, std::size_t* size, const Charge& charge)
    {
        for (std::atomic<std::uint64_t>& word : mWords)
        {
            std::uint64_t kept = word.load(std::memory_order_relaxed);
            if (SizeOf(kept) < least || SizeOf(kept) > most ||
                !word.compare_exchange_strong(kept, kept | kTaken, std::memory_order_acquire))
                continue;
            *size = SizeOf(kept);
            charge(*size);
            word.store(0, std::memory_order_release);
            return BlockOf(kept);
        }
        return nullptr;
    }

    // Returns false, and the caller keeps the block, if the block is too large or there is no room.
    // REQUIRES: runs on the owner thread.
    bool Keep(void* block, std::size_t size)
    {
        const std::uint64_t address = reinterpret_cast<std::uintptr_t>(block);
        if (size > kLargest || address >> kSizeShift || (address & kTaken))
            return false;
        for (std::atomic<std::uint64_t>& word : mWords)
        {
            if (word.load(std::memory_order_relaxed))
                continue;
            word.store(address | std::uint64_t(size) << kSizeShift, std::memory_order_release);
            return true;
        }
        return false;
    }

    // The thread keeps the memory of one RecycledMemory object for its next object.
    //
    // KeepObject stores the memory. If memory is already stored, KeepObject returns false, and the
    // caller frees the memory. TakeObject passes the stored memory to the caller, or returns null
    // if there is none.
    //
    // REQUIRES: run on the owner thread; `object` is not null, and its destructor has run.
    bool KeepObject(void* object)
    {
        if (mObject)
            return false;
        mObject = object;
        return true;
    }
    void* TakeObject()
    {
        void* const object = mObject;
        mObject = nullptr;
        return object;
    }

    // Returns the bytes that all threads keep. The cost grows with the number of threads.
    static unsigned long long BytesOfAll();

    // Returns the most bytes that all threads can keep. The cost does not depend on their number.
    static unsigned long long MostBytesOfAll();

    // Takes the blocks of all threads. Calls enter(size) before a block stops counting as kept, and
    // then take(block, size), or leave(size) if the owner took the block meanwhile.
    template <class Enter, class Take, class Leave>
    static void TakeAll(const Enter& enter, const Take& take, const Leave& leave)
    {
        for (LocalBlocks* local = First(); local; local = local->mNext)
        {
            for (std::atomic<std::uint64_t>& word : local->mWords)
            {
                std::uint64_t kept = word.load(std::memory_order_acquire);
                if (!kept || (kept & kTaken))
                    continue;
                const std::size_t size = SizeOf(kept);
                enter(size);
                if (word.compare_exchange_strong(kept, 0, std::memory_order_acq_rel))
                    take(BlockOf(kept), size);
                else
                    leave(size);
            }
        }
    }

    static const std::size_t kBlocks = 4;

    // A word is 0, or the address of a block with its size in the upper 16 bits.
    static const unsigned kSizeShift = 48;
    static const std::uint64_t kTaken = 1;
    static_assert(kLargest >> (64 - kSizeShift) == 0, "a size must fit into 16 bits");

    static std::size_t SizeOf(std::uint64_t word)
    {
        return static_cast<std::size_t>(word >> kSizeShift);
    }
    static void* BlockOf(std::uint64_t word)
    {
        const std::uint64_t address = word & ((std::uint64_t(1) << kSizeShift) - 1) & ~kTaken;
        return reinterpret_cast<void*>(static_cast<std::uintptr_t>(address));
    }

    static LocalBlocks* First();

    std::atomic<std::uint64_t> mWords[kBlocks] = {};
    void* mObject = nullptr;
    LocalBlocks* mNext = nullptr; // the list of all threads' blocks; elements are never freed
    LocalBlocks* mNextIdle = nullptr;
};
} // namespace utility
} // namespace krobase

#endif
