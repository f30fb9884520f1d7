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
    kFreed    // only the slot is kept
};

const std::size_t kOwnerBytes = 16;

struct BlockRecord
{
    BlockHeader* mHeader;    // null in the state kFreed
    const Stack* mAllocated; // null if the stack is not kept
    const Stack* mFreed;     // null if the stack is not kept
    std::uint32_t mSize;     // bytes
    std::uint32_t mName;     // number of the operation's name
    std::uint32_t mLocation;
    BlockKind mKind;
    BlockState mState;
    bool mHasOwnerHeader;                    // the next field is set
    unsigned char mOwnerHeader[kOwnerBytes]; // a copy of a header that the block begins with
};

// The settings of the checks.
struct HeapChecks
{
    bool mOn = false;
    unsigned mStacks = 4096; // one of so many blocks has stacks, 0 for none
    unsigned mDelay = 256;   // freed blocks that each thread keeps
    bool mAbort = false;     // a fault ends the process
};
HeapChecks CurrentChecks();
const unsigned kMostDelay = 10000;

// Returns the record of a checked block that is live or freed. Null for any other slot.
BlockRecord* RecordOf(void** slot);

// Prepares a slot for a checked block. Returns false without memory, and if new blocks are not
// checked.
bool MayCheck(void** slot);

// The bytes that a checked block takes besides its header.
std::size_t BytesOfChecked(std::size_t size);

// Begins the checks of a new block, whose slot may not contain the block's address yet. Continues
// the checks after a block was moved or resized.
void BeginCheck(ThreadRecord* record, BlockHeader* header, std::size_t size, BlockKind kind);
void ContinueCheck(void** slot);

// Reports a damaged guard, and repairs the guard. Returns the number of faults.
std::size_t VerifyBlock(void** slot);

// Frees a checked block and its slot, later if the thread has a record. Reports a block of another
// kind than `kind`.
// REQUIRES: the slot is marked as free.
void DelayBlock(ThreadRecord* record, void** slot, BlockKind kind);

// Frees the delayed blocks of the thread, but not their slots.
void FreeDelayed(ThreadRecord& record);

// Report an address that is no live block or handle. ExplainPointer returns the slot of a
// live block whose header was damaged, after a repair; otherwise null.
void** ExplainPointer(void* pointer);
void ExplainHandle(void** handle);

// The same for the block of a recycled pointer. Returns whether the block is live after a repair.
bool ExplainRecycled(void* block);

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

// Logs a fault with the block's record, which may be null, and the stack of the caller.
void ReportFault(const char* fault, const void* address, const BlockRecord* record);
} // namespace tolv

#endif
