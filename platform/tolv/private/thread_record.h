// The heap's record of a thread: free slots, freed small blocks for the next request of
// their size, the numbers of names, and the thread's part of the tracked usage.
//
// Only its own thread writes a record, so an allocation takes no lock. When a thread ends,
// a later thread takes over its record.

#ifndef TOLV_THREAD_RECORD_H
#define TOLV_THREAD_RECORD_H

#include <atomic>
#include <cstdint>
#include <cstring>

#include <platform/base/thread_local.h>

#include "heap.h"
#include "slots.h"

namespace tolv
{
const std::size_t kChainSlots = 585;

// Blocks that the thread freed, with their slots, by capacity. The C library has such a cache, too,
// but only up to about 1 KiB, which a block of 1 KiB with our header exceeds. A full cache of all
// sizes contains 2 MiB.
class BlockCache
{
public:
    static const std::size_t kLargest = 16384;

    // Ends the caches of all threads: Take finds no block, and Give keeps no block.
    static void End() { sEnd.store(0, std::memory_order_relaxed); }

    // Returns a block with a capacity of at least `size` bytes, or null. The slot of the block is
    // marked as free.
    BlockHeader* Take(std::size_t size)
    {
        if (size >= sEnd.load(std::memory_order_relaxed))
            return nullptr;
        const std::size_t sizeClass = Class(size);
        return mFirst[sizeClass] ? Pop(sizeClass) : nullptr;
    }

    // Returns any block, or null if the cache is empty. TakeCoarse returns a block above
    // kLargestFine.
    BlockHeader* TakeAny() { return TakeFrom(0); }
    BlockHeader* TakeCoarse() { return TakeFrom(kFineClasses); }

    // Returns false, and the caller keeps the block, if the block is too large, if the cache of its
    // size class is full, or after End.
    bool Give(BlockHeader* header, std::size_t size)
    {
        if (size >= sEnd.load(std::memory_order_relaxed))
            return false;
        const std::size_t sizeClass = Class(size);
        if (mCount[sizeClass] == (size <= kLargestFine ? kMostPerFine : kMostPerCoarse))
            return false;
        *Next(header) = mFirst[sizeClass];
        mFirst[sizeClass] = header;
        ++mCount[sizeClass];
        return true;
    }

    // Returns the bytes to allocate for a block: the largest size of its size class.
    static std::size_t Capacity(std::size_t size)
    {
        if (size > kLargest)
            return size;
        const std::size_t step = size <= kLargestFine ? kFineStep : kCoarseStep;
        return size ? (size + step - 1) / step * step : step;
    }

private:
    // Classes in fine steps, and then in coarse steps.
    static const std::size_t kFineStep = 16;
    static const std::size_t kLargestFine = 2048;
    static const std::size_t kFineClasses = kLargestFine / kFineStep + 1;
    static const std::size_t kCoarseStep = 256;
    static const std::size_t kClasses = kFineClasses + (kLargest - kLargestFine) / kCoarseStep;
    static const unsigned char kMostPerFine = 8;
    static const unsigned char kMostPerCoarse = 2;

    // Returns a block of a class from `sizeClass` on, or null.
    BlockHeader* TakeFrom(std::size_t sizeClass)
    {
        for (; sizeClass < kClasses; ++sizeClass)
        {
            if (mFirst[sizeClass])
                return Pop(sizeClass);
        }
        return nullptr;
    }

    static std::size_t Class(std::size_t size)
    {
        if (size <= kLargestFine)
            return (size + kFineStep - 1) / kFineStep;
        return kFineClasses + (size - kLargestFine - 1) / kCoarseStep;
    }
    static BlockHeader** Next(BlockHeader* header)
    {
        return reinterpret_cast<BlockHeader**>(header + 1);
    }

    // REQUIRES: the cache of the size class is not empty.
    BlockHeader* Pop(std::size_t sizeClass)
    {
        BlockHeader* header = mFirst[sizeClass];
        mFirst[sizeClass] = *Next(header);
        --mCount[sizeClass];
        return header;
    }

    // Blocks of this size and larger blocks are not kept: kLargest + 1, or 0 after End. So one
    // comparison decides both.
    static std::atomic<std::size_t> sEnd;

    BlockHeader* mFirst[kClasses] = {};
    unsigned char mCount[kClasses] = {};
};

// The numbers of names that the thread passed lately, by the address of the name. Most names are
// literals, so the comparison with the stored name is all the work. A host may also change the name
// at an address.
class NameCache
{
public:
    std::uint32_t NumberOf(const char* name)
    {
        Entry& entry = mEntries[(reinterpret_cast<std::uintptr_t>(name) * kSpread) >> kShift];
        if (entry.mAddress == name && std::strcmp(entry.mName, name) == 0)
            return entry.mNumber;
        return Intern(name, entry);
    }

private:
    struct Entry
    {
        const char* mAddress;
        const char* mName; // the interned name; longer names are not entered
        std::uint32_t mNumber;
    };

    static std::uint32_t Intern(const char* name, Entry& entry);

    static const std::uint64_t kSpread = 0x9E3779B97F4A7C15; // 2^64 by the golden ratio
    static const int kShift = 58;

    Entry mEntries[std::size_t(1) << (64 - kShift)] = {};
};

class ThreadChecks; // of the checked heap

// A thread's part of the frame counter. The changes are counted so that a reader notices them.
struct FramePart
{
    std::atomic<long long> mBytes{0};
    std::atomic<unsigned> mChanges{0};
};

struct alignas(platform::kCacheLine) ThreadRecord
{
    std::atomic<long long> mUsagePart{0}; // bytes not handed over yet, see tracked_usage.h
    FramePart mFrames;                    // stays when the thread ends
    unsigned long long mClaimed = 0;      // bytes charged for blocks that the thread lacks yet
    SlotChain mActive;                    // TakeSlot and GiveSlot use this chain
    SlotChain mSpare;                     // full or empty; saves visits to the pool
    ThreadRecord* mNext = nullptr;        // the list of all records
    ThreadRecord* mNextIdle = nullptr;
    BlockCache mBlocks;
    NameCache mNames;
    ThreadChecks* mChecks = nullptr; // null until the thread has a checked block
};

extern PLATFORM_THREAD_LOCAL(ThreadRecord*, tRecord);

// Makes the calling thread's record. Returns null without memory.
ThreadRecord* MakeRecord();

// Returns the calling thread's record, or null without memory.
inline ThreadRecord* MyRecord()
{
    ThreadRecord* record = tRecord;
    return record ? record : MakeRecord();
}

// Returns a free slot, or null without memory.
void** TakeSlot(ThreadRecord* record);

// Frees a slot, which the record keeps. If two chains are full, one of them is moved to the common
// pool. Without a record the slot is moved to the pool.
void GiveSlot(ThreadRecord* record, void** slot);

// Returns the newest record, the head of the list of all records. Records are never freed.
ThreadRecord* FirstRecord();

// Returns the number of records of threads that have not ended.
long long LiveRecords();
} // namespace tolv

#endif
