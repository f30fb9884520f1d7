#include "private/tracked_usage.h"

#include <algorithm>

#include "memory.h"

namespace tolv
{
ProcessUsage sProcessUsage;

namespace
{
FramePart sFramesWithoutRecord; // of threads without a record

const int kMostRefusals = 16; // while other threads change the usage at every comparison

bool Fits(unsigned long long usage, unsigned long long size, unsigned long long limit)
{
    return usage <= limit && size <= limit - usage;
}

unsigned long long AtLeastZero(long long bytes)
{
    return bytes > 0 ? static_cast<unsigned long long>(bytes) : 0;
}

long long ClaimOf(const ThreadRecord* record)
{
    return record ? static_cast<long long>(record->mClaimed) : 0;
}

long long SumOfParts()
{
    long long sum = 0;
    for (const ThreadRecord* record = FirstRecord(); record; record = record->mNext)
        sum += record->mUsagePart.load();
    return sum;
}

// Returns the sum of one member of all parts of the frame counter.
template <class Member> auto SumOfFrames(const Member& member)
{
    auto sum = member(sFramesWithoutRecord).load(std::memory_order_acquire);
    for (const ThreadRecord* record = FirstRecord(); record; record = record->mNext)
        sum += member(record->mFrames).load(std::memory_order_acquire);
    return sum;
}

// Returns an upper bound of the sum of all parts. Parts of threads that have ended are 0.
long long MostOfParts()
{
    return kMostPart * LiveRecords();
}

long long BytesOf(const MEM_Pool* pool)
{
    return pool ? static_cast<long long>(pool->mBytes()) : 0;
}

long long MostOf(const MEM_Pool* pool)
{
    return pool ? static_cast<long long>(pool->mMostBytes()) : 0;
}

// Compares again after a change of the figure that was decided with the sum of the parts. The parts
// are read before the figure, so a part that is handed over meanwhile is in one of the two.
bool StillFits(const ThreadRecord& record, long long pool, unsigned long long size,
               unsigned long long limit)
{
    const long long parts = SumOfParts();
    const long long figure = sProcessUsage.mBytes.load();
    return Fits(AtLeastZero(figure - ClaimOf(&record) + pool + parts), size, limit);
}

// Charges a claim to the thread's part if use is far from the limit. The budget asks for each block
// of 2 KiB and more, and threads that wrote the figure for each would wait for its cache line.
//
// The comparison includes the most that all parts can contain, so it is true for any sequence of
// charges to parts. A thread that compares near the limit, with the sum of the parts, may have read
// the old part. So that thread reads the parts again after its change of the figure, and this
// thread reads the figure again after its change of the part: one of the two sees the other change.
bool ClaimInPart(ThreadRecord& record, unsigned long long size, unsigned long long growth,
                 unsigned long long limit, const MEM_Pool* pool)
{
    if (growth >= static_cast<unsigned long long>(kMostPart))
        return false;
    const long long oldPart = record.mUsagePart.load(std::memory_order_relaxed);
    const long long part = oldPart + static_cast<long long>(growth);
    if (part >= kMostPart)
        return false;
    const long long before = MostOf(pool);
    const long long figure = sProcessUsage.mBytes.load(std::memory_order_acquire);
    const long long most = std::max(before, MostOf(pool));
    if (!Fits(AtLeastZero(figure - ClaimOf(&record) + most + MostOfParts()), size, limit))
        return false;
    record.mUsagePart.exchange(part);
    if (sProcessUsage.mBytes.load() == figure && MostOf(pool) <= most)
    {
        record.mClaimed += growth;
        return true;
    }
    record.mUsagePart.store(oldPart, std::memory_order_release);
    return false;
}
} // namespace

// The order of the two stores matters. A reader that finds a positive part empty also finds the
// figure changed, so the exchange of a claim that has read the old figure fails. After a negative
// part was emptied, the usage reads too high for a moment.
void HandOver(ThreadRecord& record, long long bytes)
{
    const long long part = record.mUsagePart.load(std::memory_order_relaxed);
    if (part > 0)
    {
        sProcessUsage.mBytes.fetch_add(part + bytes, std::memory_order_release);
        record.mUsagePart.store(0, std::memory_order_release);
        return;
    }
    record.mUsagePart.store(0, std::memory_order_relaxed);
    sProcessUsage.mBytes.fetch_add(part + bytes, std::memory_order_release);
}

unsigned long long UsageSeenBy(const ThreadRecord* record)
{
    const long long figure = sProcessUsage.mBytes.load(std::memory_order_acquire);
    return AtLeastZero(figure - ClaimOf(record) + SumOfParts());
}

// A block that leaves the pool is charged, to the figure or a part, before the pool's bytes fall. A
// block that is freed is in the pool before its charge is taken off. So the larger of two readings
// of the pool, before and after the figure, counts each moving block at least once.
// - If the pool has grown after the exchange, a block may have left the pool and come back between
//   the readings, and both may have missed it. Then the claim is made anew.
// - If the pool, the figure or the parts change meanwhile, a block may have been counted twice.
// Then
//   a refusal is not final, and the comparison is repeated.
bool ClaimUsage(ThreadRecord* record, unsigned long long size, unsigned long long growth,
                unsigned long long limit, const MEM_Pool* pool, unsigned long long* usage)
{
    if (record && growth && ClaimInPart(*record, size, growth, limit, pool))
        return true;
    // The parts are summed near the limit only, and the pool's blocks are counted near the limit
    // only, since both visit every thread.
    bool isNear = false;
    for (int refusals = 0;;)
    {
        const auto readPool = isNear ? &BytesOf : &MostOf;
        const long long before = readPool(pool);
        long long figure = sProcessUsage.mBytes.load(std::memory_order_acquire);
        const long long after = readPool(pool);
        const long long most = std::max(before, after);
        const long long seen = figure - ClaimOf(record) + most;
        if (!isNear && !Fits(AtLeastZero(seen + MostOfParts()), size, limit))
        {
            isNear = true;
            continue;
        }
        if (isNear)
        {
            const long long parts = SumOfParts();
            *usage = AtLeastZero(seen + parts);
            if (!Fits(*usage, size, limit))
            {
                if (++refusals == kMostRefusals ||
                    (before == after && before == BytesOf(pool) && parts == SumOfParts() &&
                     figure == sProcessUsage.mBytes.load(std::memory_order_acquire)))
                    return false;
                continue;
            }
        }
        if (!record || !growth)
            return true;
        if (!sProcessUsage.mBytes.compare_exchange_strong(figure,
                                                          figure + static_cast<long long>(growth)))
            continue;
        record->mClaimed += growth;
        if (readPool(pool) <= most && (!isNear || StillFits(*record, most, size, limit)))
            return true;
        ReleaseClaim(*record, record->mClaimed - growth);
    }
}

void ReleaseClaim(ThreadRecord& record, unsigned long long kept)
{
    if (record.mClaimed <= kept)
        return;
    const unsigned long long released = record.mClaimed - kept;
    record.mClaimed = kept;
    sProcessUsage.mBytes.fetch_sub(static_cast<long long>(released), std::memory_order_release);
}

// The order matters: at every moment the usage includes the counter's bytes. The count of changes
// is raised between the two, so a reader that finds the count unchanged has read a usage that
// includes the counter's bytes.
void AddFrames(ThreadRecord* record, long long bytes)
{
    FramePart& part = record ? record->mFrames : sFramesWithoutRecord;
    const auto add = [&](auto& value, auto more) {
        if (record) // only this thread writes the part
            value.store(value.load(std::memory_order_relaxed) + more, std::memory_order_release);
        else
            value.fetch_add(more, std::memory_order_acq_rel);
    };
    if (bytes > 0)
        AddUsage(record, bytes);
    else
        add(part.mBytes, bytes);
    add(part.mChanges, 1u);
    if (bytes > 0)
        add(part.mBytes, bytes);
    else
        AddUsage(record, bytes);
}

long long Frames()
{
    return SumOfFrames([](const FramePart& part) -> const auto& { return part.mBytes; });
}

// Repeats the reading if the counter changes between the two, since a frame would then be in one of
// them only.
unsigned long long UsageWithFrames(const ThreadRecord* record, long long* frames)
{
    const int kMostTries = 1000;
    const auto changes = [] {
        return SumOfFrames([](const FramePart& part) -> const auto& { return part.mChanges; });
    };
    for (int tries = 1;; ++tries)
    {
        const unsigned before = changes();
        *frames = Frames();
        const unsigned long long usage = UsageSeenBy(record);
        if (before == changes())
            return usage;
        if (tries == kMostTries)
        {
            *frames = std::min(*frames, static_cast<long long>(usage));
            return usage;
        }
    }
}
} // namespace tolv
