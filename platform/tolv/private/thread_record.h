// The heap's record of a thread: free slots, freed small blocks for the next request of
// their size, and the thread's part of the tracked usage.
//
// Only its own thread writes a record, so an allocation takes no lock. When a thread ends,
// a later thread takes over its record.

#ifndef TOLV_THREAD_RECORD_H
#define TOLV_THREAD_RECORD_H

#include <atomic>

#include <platform/base/thread_local.h>

#include "block.h"
#include "slots.h"

#if defined(__SANITIZE_ADDRESS__)
#define TOLV_WITH_ADDRESS_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TOLV_WITH_ADDRESS_SANITIZER
#endif
#endif

namespace tolv
{
const std::size_t kChainSlots = 585;

// Small blocks that their thread freed, with their slots, by the size that
// they can hold. The C library keeps such a cache too, but ends it where our
// header carries a block of 1 KiB past it. A full cache of all sizes holds
// 1 MiB.
class BlockCache
{
public:
#if defined(TOLV_WITH_ADDRESS_SANITIZER)
    // The sanitizer is to see each block come and go.
    static const std::size_t kLargest = 0;
#else
    static const std::size_t kLargest = 2048;
#endif

    // A block that holds size bytes, null if there is none. Its slot is free.
    BlockHeader* Take(std::size_t size)
    {
        const std::size_t place = Class(size);
        if (size > kLargest || !mFirst[place])
            return nullptr;
        BlockHeader* header = mFirst[place];
        mFirst[place] = *Next(header);
        --mCount[place];
        return header;
    }

    // Any block, null once the cache is empty.
    BlockHeader* TakeAny()
    {
        for (std::size_t place = 0; place < kClasses; ++place)
        {
            if (BlockHeader* header = Take(place * kStep))
                return header;
        }
        return nullptr;
    }

    // False if the block isn't small or there are enough of its size.
    bool Give(BlockHeader* header, std::size_t size)
    {
        const std::size_t place = Class(size);
        if (size > kLargest || mCount[place] == kMostPerClass)
            return false;
        *Next(header) = mFirst[place];
        mFirst[place] = header;
        ++mCount[place];
        return true;
    }

    // The bytes to allocate for a block of that size: all of its class.
    static std::size_t Capacity(std::size_t size)
    {
        return size && size <= kLargest ? Class(size) * kStep : size < kStep ? kStep : size;
    }

private:
    static const std::size_t kStep = 16;
    static const std::size_t kClasses = kLargest / kStep + 1;
    static const unsigned char kMostPerClass = 8;

    static std::size_t Class(std::size_t size)
    {
        return (size + kStep - 1) / kStep;
    }
    static BlockHeader** Next(BlockHeader* header)
    {
        return reinterpret_cast<BlockHeader**>(header + 1);
    }

    BlockHeader* mFirst[kClasses] = {};
    unsigned char mCount[kClasses] = {};
};

struct alignas(platform::kCacheLine) ThreadRecord
{
    std::atomic<long long> mUsagePart{0}; // bytes not handed over yet, see tracked_usage.h
    unsigned long long mClaimed = 0;      // bytes charged for blocks that the thread lacks yet
    SlotChain mActive;                    // slots are taken from here and given back to here
    SlotChain mSpare;                     // keeps a thread that swings round an edge off the pool
    ThreadRecord* mNext = nullptr;        // the list of all records
    ThreadRecord* mNextIdle = nullptr;
    BlockCache mBlocks;
};

extern PLATFORM_THREAD_LOCAL ThreadRecord* tRecord;

// Makes the calling thread's record; null without memory.
ThreadRecord* MakeRecord();

// The calling thread's record; null without memory.
inline ThreadRecord* MyRecord()
{
    ThreadRecord* record = tRecord;
    return record ? record : MakeRecord();
}

// A free slot, null without memory.
void** TakeSlot(ThreadRecord* record);

// Makes a slot free again. It stays with the calling thread, or goes to the
// common pool once that has plenty. A null record gives it to the pool.
void GiveSlot(ThreadRecord* record, void** slot);

// The newest record; mNext leads from there through all. Records are never freed.
ThreadRecord* FirstRecord();

// Records of threads that have not ended.
long long LiveRecords();
} // namespace tolv

#endif
