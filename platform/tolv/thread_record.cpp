#include "private/thread_record.h"

#include <cstdlib>
#include <new>

#include <platform/base/locks.h>
#include <platform/base/per_thread.h>
#include <platform/base/quiet_new.h>

#include "private/tracked_usage.h"

namespace tolv
{
PLATFORM_THREAD_LOCAL(ThreadRecord*, tRecord);

std::atomic<std::size_t> BlockCache::sEnd(BlockCache::kLargest + 1);

namespace
{
platform::Mutex sIdleLock;
ThreadRecord* sFirstIdle PLATFORM_GUARDED_BY(sIdleLock) = nullptr;
std::atomic<ThreadRecord*> sFirstRecord(nullptr);
std::atomic<long long> sLiveRecords(0);

// The part is handed over before the count falls: the record of a thread that is not counted has
// the part 0.
void Retire(ThreadRecord* record)
{
    tRecord = nullptr;
    ReleaseClaim(*record, 0); // a host may have left an allocation with a jump
    // The next thread with this record may never need blocks of these sizes.
    while (BlockHeader* const header = record->mBlocks.TakeCoarse())
    {
        GiveSlot(record, header->mSlot);
        std::free(header);
    }
    HandOver(*record, 0);
    sLiveRecords.fetch_sub(1, std::memory_order_release);
    const platform::ScLock lock(sIdleLock);
    record->mNextIdle = sFirstIdle;
    sFirstIdle = record;
}

// Destroyed when the thread ends.
struct RecordOwner
{
    ~RecordOwner()
    {
        if (mRecord)
            Retire(mRecord);
    }

    ThreadRecord* mRecord = nullptr;
};

ThreadRecord* TakeIdle()
{
    const platform::ScLock lock(sIdleLock);
    ThreadRecord* record = sFirstIdle;
    if (record)
        sFirstIdle = record->mNextIdle;
    return record;
}

ThreadRecord* NewRecord()
{
    ThreadRecord* record = new ThreadRecord;
    record->mNext = sFirstRecord.load(std::memory_order_relaxed);
    while (!sFirstRecord.compare_exchange_weak(record->mNext, record, std::memory_order_release,
                                               std::memory_order_relaxed))
    {
    }
    return record;
}

bool Refill(ThreadRecord& record)
{
    if (record.mSpare.mCount)
    {
        record.mActive = record.mSpare;
        record.mSpare = SlotChain();
        return true;
    }
    record.mActive = TakeChain();
    return record.mActive.mCount != 0;
}

void Spill(ThreadRecord& record)
{
    if (record.mSpare.mCount && !GiveChain(record.mSpare))
        return; // without memory for the pool the active chain grows
    record.mSpare = record.mActive;
    record.mActive = SlotChain();
}
} // namespace

ThreadRecord* MakeRecord()
{
    const platform::ScQuietNew quiet; // a quiet allocation must not report its record
    RecordOwner* const owner = platform::PerThread<RecordOwner>::Make();
    if (!owner)
        return nullptr;
    try
    {
        ThreadRecord* const idle = TakeIdle();
        owner->mRecord = idle ? idle : NewRecord();
        sLiveRecords.fetch_add(1, std::memory_order_relaxed);
        return tRecord = owner->mRecord;
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
}

void** TakeSlot(ThreadRecord* record)
{
    if (!record || (!record->mActive.mCount && !Refill(*record)))
        return nullptr;
    return Pop(record->mActive);
}

void GiveSlot(ThreadRecord* record, void** slot)
{
    if (!record)
    {
        SlotChain single;
        Push(single, slot);
        GiveChain(single);
        return;
    }
    if (record->mActive.mCount >= kChainSlots)
        Spill(*record);
    Push(record->mActive, slot);
}

ThreadRecord* FirstRecord()
{
    return sFirstRecord.load(std::memory_order_acquire);
}

long long LiveRecords()
{
    return sLiveRecords.load(std::memory_order_acquire);
}
} // namespace tolv
