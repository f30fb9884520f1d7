// The tracked usage: one figure of the process, and a small part in each thread's record.
//
// A thread adds a charge to its part if the part then stays within kMostPart. Otherwise the thread
// adds the charge and the part to the figure. The usage is the figure plus all parts, which is
// exact while no thread charges. A part is between -16 KiB and 16 KiB, so it changes by at most
// 32 KiB while a reader sums.
//
// A claim is a charge for a block that the thread does not have yet. Far from the limit a small
// claim is charged to the thread's part, so that threads do not write the figure for each block;
// any other claim is charged to the figure. The thread's next charges are paid out of its claim,
// also charges of a callback that runs before the block is made. The thread's own readings leave
// the claim out.

#ifndef TOLV_TRACKED_USAGE_H
#define TOLV_TRACKED_USAGE_H

#include <algorithm>
#include <atomic>

#include <platform/base/thread_local.h>

#include "thread_record.h"

struct MEM_Pool;

namespace tolv
{
const long long kMostPart = 16384; // bytes; a part is between -kMostPart and kMostPart

// Every thread writes the figure, and each processor fetches two cache lines at once.
struct alignas(2 * platform::kCacheLine) ProcessUsage
{
    std::atomic<long long> mBytes{0};
};
extern ProcessUsage sProcessUsage;

// Adds the thread's part and the bytes, which may be negative, to the process's figure, and empties
// the part.
void HandOver(ThreadRecord& record, long long bytes);

// Returns whether -bound < value < bound.
inline bool IsWithin(long long value, long long bound)
{
    const unsigned long long most = static_cast<unsigned long long>(bound) - 1;
    return static_cast<unsigned long long>(value) + most <= 2 * most;
}

// Pays a charge out of the thread's claim. Returns the bytes that the claim does not cover.
inline long long PayFromClaim(ThreadRecord& record, long long bytes)
{
    if (bytes <= 0)
        return bytes;
    const unsigned long long paid =
        std::min(record.mClaimed, static_cast<unsigned long long>(bytes));
    record.mClaimed -= paid;
    return bytes - static_cast<long long>(paid);
}

// Adds the bytes, which may be negative, to the thread's part. If the part has no room, changes
// nothing and returns false.
inline bool AddToPart(ThreadRecord& record, long long bytes)
{
    const long long part = record.mUsagePart.load(std::memory_order_relaxed) + bytes;
    if (!IsWithin(part, kMostPart))
        return false;
    record.mUsagePart.store(part, std::memory_order_release);
    return true;
}

// Charges the bytes, which may be negative. A null record charges the process's figure.
inline void AddUsage(ThreadRecord* record, long long bytes)
{
    if (!record)
    {
        sProcessUsage.mBytes.fetch_add(bytes, std::memory_order_release);
        return;
    }
    if (record->mClaimed)
        bytes = PayFromClaim(*record, bytes);
    if (!AddToPart(*record, bytes))
        HandOver(*record, bytes);
}

// Adds to the frame counter and to the usage, which includes the counter's bytes at every moment.
void AddFrames(ThreadRecord* record, long long bytes);

// The frame counter: the sum of the parts of all threads.
long long Frames();

// The usage without the claim of the calling thread, with a frame counter that the usage includes.
unsigned long long UsageWithFrames(const ThreadRecord* record, long long* frames);

// The usage without the claim of the calling thread, at least 0.
unsigned long long UsageSeenBy(const ThreadRecord* record);

// If the usage seen by the thread, plus the bytes of the pool, plus `size`, is at most `limit`,
// adds `growth` to the usage and to the thread's claim, in one atomic step with the comparison.
// Otherwise returns false and stores in *usage the usage with the bytes of the pool. Without a
// record nothing is claimed. `pool` may be null.
bool ClaimUsage(ThreadRecord* record, unsigned long long size, unsigned long long growth,
                unsigned long long limit, const MEM_Pool* pool, unsigned long long* usage);

// Cancels the thread's claim except `kept` bytes.
void ReleaseClaim(ThreadRecord& record, unsigned long long kept);
} // namespace tolv

#endif
