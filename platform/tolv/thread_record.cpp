#include "thread_record.h"

#include <new>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/tss.hpp>

namespace tolv
{
namespace
{
#if defined(__GNUC__)
// One pointer in the static block: a record is found without a call.
#define TOLV_STATIC_TLS __attribute__((tls_model("initial-exec")))
#else
#define TOLV_STATIC_TLS
#endif
TOLV_STATIC_TLS thread_local ThreadRecord* sRecord = nullptr;

boost::mutex sIdleLock; // guards the idle list
ThreadRecord* sFirstIdle = nullptr;
std::atomic<ThreadRecord*> sFirstRecord(nullptr);

// The share of threads for which no record could be made.
std::atomic<long long> sStrayUsage(0);

void Retire(ThreadRecord* record)
{
    sRecord = nullptr;
    boost::lock_guard<boost::mutex> lock(sIdleLock);
    record->mNextIdle = sFirstIdle;
    sFirstIdle = record;
}

boost::thread_specific_ptr<ThreadRecord>& Owner()
{
    // Never destroyed: static destructors free blocks too.
    static boost::thread_specific_ptr<ThreadRecord>& owner =
        *new boost::thread_specific_ptr<ThreadRecord>(&Retire);
    return owner;
}

ThreadRecord* TakeIdle()
{
    boost::lock_guard<boost::mutex> lock(sIdleLock);
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

ThreadRecord* MakeRecord()
{
    ThreadRecord* record = nullptr;
    try
    {
        record = TakeIdle();
        if (!record)
            record = NewRecord();
        Owner().reset(record);
        return sRecord = record;
    }
    catch (const std::exception&)
    {
        if (record)
            Retire(record);
        return nullptr;
    }
}

ThreadRecord* MyRecord()
{
    ThreadRecord* record = sRecord;
    return record ? record : MakeRecord();
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
        return; // the active chain just grows on
    record.mSpare = record.mActive;
    record.mActive = SlotChain();
}
} // namespace

void** TakeSlot()
{
    ThreadRecord* record = MyRecord();
    if (!record || (!record->mActive.mCount && !Refill(*record)))
        return nullptr;
    return Pop(record->mActive);
}

void GiveSlot(void** slot)
{
    ThreadRecord* record = MyRecord();
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

void AddUsage(long long bytes)
{
    ThreadRecord* record = MyRecord();
    if (!record)
    {
        sStrayUsage.fetch_add(bytes, std::memory_order_relaxed);
        return;
    }
    record->mUsage.store(record->mUsage.load(std::memory_order_relaxed) + bytes,
                         std::memory_order_relaxed);
}

unsigned long long SumUsage()
{
    long long sum = sStrayUsage.load(std::memory_order_relaxed);
    for (ThreadRecord* record = sFirstRecord.load(std::memory_order_acquire); record;
         record = record->mNext)
        sum += record->mUsage.load(std::memory_order_relaxed);
    return sum > 0 ? static_cast<unsigned long long>(sum) : 0;
}
} // namespace tolv
