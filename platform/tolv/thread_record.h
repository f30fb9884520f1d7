// What the heap keeps per thread: free slots and a share of the usage figure.
//
// Only its thread writes a record, so that an allocation takes no lock and
// writes nothing that other threads write. When a thread ends, a later one
// goes on with its record.

#ifndef TOLV_THREAD_RECORD_H
#define TOLV_THREAD_RECORD_H

#include <atomic>

#include "slots.h"

namespace tolv
{
const std::size_t kChainSlots = 585;

struct alignas(64) ThreadRecord
{
    std::atomic<long long> mUsage{0}; // bytes; negative where others' blocks were freed
    SlotChain mActive;                // slots are taken from here and given back to here
    SlotChain mSpare;                 // keeps a thread that swings round an edge off the pool
    ThreadRecord* mNext = nullptr;    // the list of all records
    ThreadRecord* mNextIdle = nullptr;
};

// A free slot, null without memory.
void** TakeSlot();

// Makes a slot free again. It stays with the calling thread, or goes to the
// common pool once that has plenty.
void GiveSlot(void** slot);

// Adds to the calling thread's share of the usage figure.
void AddUsage(long long bytes);

// The sum of all shares. While other threads allocate and free it is a figure
// of about now, and never below 0.
unsigned long long SumUsage();
} // namespace tolv

#endif
