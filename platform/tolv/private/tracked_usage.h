// The tracked usage: one figure of the process, and a small part that each thread keeps back.
//
// A thread adds charges below kDirectCharge to a part of its own and hands the part over
// when it reaches kHandOver either way. Larger charges change the process's figure at once.
// The usage is the process's figure plus all parts. The sum of both is exact while no
// thread changes them. A part stays within 16 KiB either way, so it moves by at most 32 KiB
// while a reader sums.
//
// A claim is a charge to the process's figure for a block that the thread does not have
// yet. The thread's next charges are paid out of its claim, also charges of a callback that
// runs before the block is made. The thread's own readings leave the claim out.

#ifndef TOLV_TRACKED_USAGE_H
#define TOLV_TRACKED_USAGE_H

#include <atomic>

#include <platform/base/thread_local.h>

#include "thread_record.h"

namespace tolv
{
const long long kDirectCharge = 2048; // bytes
const long long kHandOver = 14336;    // bytes

// Every thread writes the figure, and each processor fetches two cache lines at once.
struct alignas(2 * platform::kCacheLine) ProcessUsage
{
    std::atomic<long long> mBytes{0};
};
extern ProcessUsage sProcessUsage;

// Adds the thread's part to the process's figure and empties the part.
void HandOver(ThreadRecord& record);

// Charges the process's figure, apart from the bytes that the thread's claim pays.
void ChargeProcess(ThreadRecord* record, long long bytes);

// Returns whether -bound < value < bound.
inline bool IsWithin(long long value, long long bound)
{
    const unsigned long long most = static_cast<unsigned long long>(bound) - 1;
    return static_cast<unsigned long long>(value) + most <= 2 * most;
}

// Charges the bytes, which may be negative. A null record charges the process's figure.
inline void AddUsage(ThreadRecord* record, long long bytes)
{
    if (!record || record->mClaimed || !IsWithin(bytes, kDirectCharge))
        return ChargeProcess(record, bytes);
    const long long part = record->mUsagePart.load(std::memory_order_relaxed) + bytes;
    record->mUsagePart.store(part, std::memory_order_relaxed);
    if (!IsWithin(part, kHandOver))
        HandOver(*record);
}

// The usage without the claim of the calling thread, at least 0.
unsigned long long UsageSeenBy(const ThreadRecord* record);

// If the usage seen by the thread, plus the bytes beside it, plus `size`, is at most `limit`,
// adds `growth` to the process's figure and to the thread's claim, in one atomic step with
// the comparison. Otherwise returns false and stores in *usage the usage with the bytes
// beside it. Without a record nothing is claimed. `beside` may be null.
bool ClaimUsage(ThreadRecord* record, unsigned long long size, unsigned long long growth,
                unsigned long long limit, unsigned long long (*beside)(),
                unsigned long long* usage);

// Takes back the thread's claim but for `kept` bytes.
void ReleaseClaim(ThreadRecord& record, unsigned long long kept);
} // namespace tolv

#endif
