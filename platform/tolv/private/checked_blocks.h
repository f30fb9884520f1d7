// The checked heap: guards around blocks, freed blocks that are delayed, and the stacks of
// blocks. docs/debugging.md describes the checks.
//
// A checked block has a record beside its slot, outside the block, so that no access outside a
// block damages the record. The header before the block is the guard in front: the record
// determines each of its bytes. A guard follows the block. When the block is freed, the heap
// fills the block with a pattern, and the calling thread keeps the block and its slot in a queue.
//
// The thread that uses a block writes its record, and the record of a freed block is written by
// the thread that freed the block. A report on another thread may read a record at the same time
// if the host commits a fault.

#ifndef TOLV_CHECKED_BLOCKS_H
#define TOLV_CHECKED_BLOCKS_H

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "heap.h"
#include "stacks.h"
#include <tolv/memory.h>

namespace tolv
{
struct ThreadRecord;

enum BlockKind : unsigned char
{
    kPointer,
    kHandle,
    kHogHandle,
    kRecycled
};

enum BlockState : unsigned char
{
    kUnchecked,
    kLive,
    kDelayed, // freed, and the memory is kept
    kFreed    // freed, and only the slot is kept
};

const std::size_t kOwnerBytes = 16;

struct FreedBlock
{
    void** mNext;          // of a queue
    std::uint64_t mNumber; // of two blocks, the block that was freed later has the larger number
};

struct BlockRecord
{
    BlockHeader* mHeader;    // in the state kFreed another block may have the address
    const Stack* mAllocated; // null if the stack is not kept
    const Stack* mFreed;     // null if the stack is not kept
    std::uint32_t mSize;     // bytes
    std::uint32_t mName;     // number of the operation's name
    std::uint32_t mLocation;
    BlockKind mKind;
    BlockState mState;
    unsigned char mOwnerBytes; // kOwnerBytes if the block begins with a header of the caller, or 0
    bool mHasOwnerHeader;      // mOwnerHeader is set
    union
    {
        unsigned char mOwnerHeader[kOwnerBytes]; // a copy of a header that the block begins with
        FreedBlock mFreedBlock;                  // in the states kDelayed and kFreed
    };
};

inline unsigned char* BytesOf(const BlockRecord& record)
{
    return reinterpret_cast<unsigned char*>(record.mHeader + 1);
}

// The bytes that the host has asked for.
inline unsigned char* CallersBytes(const BlockRecord& record)
{
    return BytesOf(record) + record.mOwnerBytes;
}

inline std::uint32_t CallersSize(const BlockRecord& record)
{
    return record.mSize - record.mOwnerBytes;
}

// The settings of the checks, which a host may change at any time. Variables, since each allocation
// and each free reads them.
extern std::atomic<unsigned> sStacks; // one of so many blocks has stacks, 0 for none
extern std::atomic<unsigned> sDelay;  // freed blocks that each thread keeps
extern std::atomic<bool> sAbort;      // a fault ends the process

// Returns whether new blocks are checked.
inline bool ChecksNewBlocks()
{
    return MEM_KeepsOrigins.load(std::memory_order_relaxed);
}

// Calls visit(slot, record) for each slot with a record.
template <class Visit> void VisitRecords(Visit visit)
{
    for (Slab* slab = FirstSlab(); slab; slab = slab->mNext)
    {
        BlockRecord* const records = slab->mRecords.load(std::memory_order_acquire);
        for (std::size_t i = 0; records && i < kSlotsPerSlab; ++i)
        {
            if (records[i].mState != kUnchecked)
                visit(&slab->mBlocks[i], records[i]);
        }
    }
}

inline std::uint16_t HeapOf(void** slot)
{
    Slab* const slab = SlabOf(slot);
    return LoadAcquire(slab->mHeaps[SlotIndex(slab, slot)]);
}

// Returns the record of a checked block that is live or freed. Null for any other slot.
BlockRecord* RecordOf(void** slot);

// Prepares a slot for a checked block. Returns false without memory, and if new blocks are not
// checked.
bool MayCheck(void** slot);

// Allocate and resize the memory of a checked block, with its header and its guard. Without memory
// return null, and a resize keeps the old memory.
void* NewCheckedMemory(ThreadRecord* thread, std::size_t size);
void* ResizeCheckedMemory(ThreadRecord* thread, const BlockRecord& record, std::size_t size);

// Begins the checks of a new block, whose slot may not contain the block's address yet.
void BeginCheck(ThreadRecord* record, BlockHeader* header, std::size_t size, BlockKind kind);

// Verify a block that is about to be moved or resized, and continue the checks after that.
void InterruptCheck(void** slot);
void ContinueCheck(void** slot);

// Hides the guards, and the end of the owner's header, from a checker of the process.
void HideGuards(const BlockRecord& record);

// Reports a damaged guard, and repairs the guard. Returns the number of faults.
std::size_t VerifyBlock(void** slot);

// Reports a checked block that is not of the kind.
void VerifyKind(void** slot, BlockKind kind);

// Frees a checked block and its slot, the slot later if the thread has a record. The block is freed
// later, too, unless a checker watches the process, which delays the block itself. Reports a block
// of another kind than `kind`.
// REQUIRES: the slot is marked as free.
void DelayBlock(ThreadRecord* record, void** slot, BlockKind kind);

// Frees the delayed blocks of the thread, but not their slots.
void FreeDelayed(ThreadRecord& record);

// Stores that the slot is the owner of the block, for FindLive.
void EnterInIndex(void* block, void** slot);

// Reports an address that a caller uses as a live pointer, handle or recycled pointer, and that
// FindLive does not find. If the block is live and of the kind, repairs its header and returns its
// slot; otherwise returns null.
void** Explain(void* address, BlockKind asked);

// Allocate and free the block of a recycled pointer. Without memory, and if new blocks are not
// checked, NewCheckedRecycled returns null. FreeCheckedRecycled returns false for a block that was
// not allocated by NewCheckedRecycled.
void* NewCheckedRecycled(std::size_t size);
bool FreeCheckedRecycled(void* block);

// Verifies all blocks. Returns the number of faults.
// REQUIRES: no other thread uses the heap.
std::size_t VerifyAllBlocks();

// Logs the checked blocks that are left in a heap, and the recycled blocks that are left.
void LogCheckedLeaks(const MEM_Heap* heap);

// Makes a hog handle a plain handle for the checks.
void MakePlain(BlockRecord* record);

// Makes the hog handles that are left in a heap plain handles: after death no function knows their
// hogs, so the host frees them as handles.
void ForgetHogs(const MEM_Heap* heap);

// Logs a fault with the block's record, which may be null, and the stack of the caller.
void ReportFault(const char* fault, const void* address, const BlockRecord* record);

// Reports a block that was used or freed by a function for another kind of block.
void ReportOtherKind(const void* address, const BlockRecord& record);

// Reports a block or a handle of this heap that was passed to a function of another heap. Returns
// false for any other address, and without checks.
bool ReportIfOfHeap(void* address);
} // namespace tolv

#endif
