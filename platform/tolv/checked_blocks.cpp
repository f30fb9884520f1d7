#include "private/checked_blocks.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "private/thread_record.h"

namespace tolv
{
namespace
{
const std::uint32_t kFrontGuard = 0xFDFDFDFD;
const unsigned char kTailGuard = 0xFD;
const std::size_t kTailBytes = 16;
const unsigned char kFreedFill = 0xDD;
const std::size_t kFilledAtEnd = 128;            // of a large block only the ends are filled
const std::size_t kMostDelayedBytes = 16u << 20; // of each thread
const std::size_t kDelayedSlots = 0x4000;        // of each thread

const char kOtherKind[] = "a block was freed by a function for another kind of block";

unsigned char* BytesOf(const BlockRecord& record)
{
    return reinterpret_cast<unsigned char*>(record.mHeader + 1);
}

bool IsAll(const unsigned char* bytes, std::size_t count, unsigned char value)
{
    // Each byte equals the byte before.
    return !count || (bytes[0] == value && std::memcmp(bytes, bytes + 1, count - 1) == 0);
}

// Calls visit(first, count) for the parts of a freed block that are filled.
template <class Visit> void VisitFilled(const BlockRecord& record, Visit visit)
{
    unsigned char* const bytes = BytesOf(record);
    const std::size_t size = record.mSize;
    if (size <= 2 * kFilledAtEnd)
        return visit(bytes, size);
    visit(bytes, kFilledAtEnd);
    visit(bytes + size - kFilledAtEnd, kFilledAtEnd);
}

// The number of the name in the header. The heap names pointers only.
std::uint32_t NameInHeader(const BlockRecord& record)
{
    return record.mKind == kPointer ? record.mName : 0;
}

void WriteHeader(void** slot, const BlockRecord& record)
{
    *record.mHeader = {slot, NameInHeader(record), kFrontGuard};
}

void WriteTail(const BlockRecord& record)
{
    std::memset(BytesOf(record) + record.mSize, kTailGuard, kTailBytes);
}

std::size_t VerifyFront(void** slot, const BlockRecord& record)
{
    const BlockHeader& header = *record.mHeader;
    if (header.mSlot == slot && header.mName == NameInHeader(record) &&
        header.mGuard == kFrontGuard)
        return 0;
    WriteHeader(slot, record);
    ReportFault("bytes before the block were overwritten", BytesOf(record), &record);
    return 1;
}

std::size_t VerifyOwnerHeader(const BlockRecord& record)
{
    if (!record.mHasOwnerHeader ||
        std::memcmp(BytesOf(record), record.mOwnerHeader, kOwnerBytes) == 0)
        return 0;
    std::memcpy(BytesOf(record), record.mOwnerHeader, kOwnerBytes);
    ReportFault("bytes before the block were overwritten", BytesOf(record), &record);
    return 1;
}

std::size_t VerifyTail(const BlockRecord& record)
{
    const unsigned char* const tail = BytesOf(record) + record.mSize;
    if (IsAll(tail, kTailBytes, kTailGuard))
        return 0;
    WriteTail(record);
    ReportFault("bytes after the end of the block were overwritten", BytesOf(record), &record);
    return 1;
}

// Reports a block that was written after its end of life.
std::size_t VerifyFreed(const BlockRecord& record)
{
    bool isWhole = true;
    VisitFilled(record, [&](const unsigned char* first, std::size_t count) {
        isWhole = isWhole && IsAll(first, count, kFreedFill);
    });
    if (isWhole)
        return 0;
    VisitFilled(record, [](unsigned char* first, std::size_t count) {
        std::memset(first, kFreedFill, count);
    });
    ReportFault("the block was written after it was freed", BytesOf(record), &record);
    return 1;
}

// The record of a slot that may have been no checked block.
BlockRecord* AnyRecordOf(void** slot)
{
    const Slab* const slab = SlabOf(slot);
    BlockRecord* const records = slab->mRecords.load(std::memory_order_acquire);
    return records ? &records[SlotIndex(slab, slot)] : nullptr;
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
} // namespace

// The checks of one thread: the blocks and the slots that the thread has freed, in that order.
// The slots are kept longer than the blocks, so that a handle is known as stale for longer.
class ThreadChecks
{
public:
    // Returns whether the stacks of the next block are kept.
    bool SelectsBlock()
    {
        const unsigned one = CurrentChecks().mStacks;
        if (!one || ++mBlocks < one)
            return false;
        mBlocks = 0;
        return true;
    }

    void FreeBlocks()
    {
        while (mOldestBlock != mNext)
            FreeOldestBlock();
    }

    void Add(ThreadRecord* thread, void** slot)
    {
        if (mNext - mOldestSlot == kDelayedSlots)
            FreeOldestSlot(thread);
        mSlots[mNext++ % kDelayedSlots] = slot;
        mBytes += AnyRecordOf(slot)->mSize;
        const std::size_t most = CurrentChecks().mDelay;
        while (mNext - mOldestBlock > most || mBytes > kMostDelayedBytes)
            FreeOldestBlock();
    }

private:
    void FreeOldestBlock()
    {
        BlockRecord& record = *AnyRecordOf(mSlots[mOldestBlock++ % kDelayedSlots]);
        mBytes -= record.mSize;
        VerifyFreed(record);
        VerifyTail(record);
        record.mState = kFreed;
        std::free(record.mHeader);
        record.mHeader = nullptr;
    }

    void FreeOldestSlot(ThreadRecord* thread)
    {
        if (mOldestBlock == mOldestSlot)
            FreeOldestBlock();
        void** const slot = mSlots[mOldestSlot++ % kDelayedSlots];
        AnyRecordOf(slot)->mState = kUnchecked;
        GiveSlot(thread, slot);
    }

    std::size_t mNext; // the three positions only grow
    std::size_t mOldestBlock;
    std::size_t mOldestSlot;
    std::size_t mBytes; // of the delayed blocks
    unsigned mBlocks;   // since the last block with stacks
    void** mSlots[kDelayedSlots];
};

namespace
{
// Returns the slot of the block, live or freed, at an address. Null if there is none.
void** FindOwner(const void* block)
{
    void** found = nullptr;
    VisitRecords([&](void** slot, const BlockRecord& record) {
        if (record.mHeader && BytesOf(record) == block)
            found = slot;
    });
    return found;
}

// Returns null without memory.
ThreadChecks* ChecksOf(ThreadRecord* thread)
{
    if (thread && !thread->mChecks)
        thread->mChecks = static_cast<ThreadChecks*>(std::calloc(1, sizeof(ThreadChecks)));
    return thread ? thread->mChecks : nullptr;
}
} // namespace

BlockRecord* RecordOf(void** slot)
{
    BlockRecord* const record = AnyRecordOf(slot);
    return record && record->mState != kUnchecked ? record : nullptr;
}

bool MayCheck(void** slot)
{
    if (!CurrentChecks().mOn)
        return false;
    Slab* const slab = SlabOf(slot);
    if (slab->mRecords.load(std::memory_order_acquire))
        return true;
    BlockRecord* none = nullptr;
    BlockRecord* const records =
        static_cast<BlockRecord*>(std::calloc(kSlotsPerSlab, sizeof(BlockRecord)));
    if (records && !slab->mRecords.compare_exchange_strong(none, records))
        std::free(records); // another thread was first
    return slab->mRecords.load(std::memory_order_acquire) != nullptr;
}

std::size_t BytesOfChecked(std::size_t size)
{
    return size + kTailBytes;
}

void BeginCheck(ThreadRecord* thread, BlockHeader* header, std::size_t size, BlockKind kind)
{
    ThreadChecks* const checks = ChecksOf(thread);
    const Stack* const stack = checks && checks->SelectsBlock() ? KeepStack(1) : nullptr;
    BlockRecord& record = *AnyRecordOf(header->mSlot);
    record.mHeader = header;
    record.mAllocated = stack;
    record.mFreed = nullptr;
    record.mSize = static_cast<std::uint32_t>(size);
    record.mName = header->mName;
    record.mLocation = 0;
    record.mKind = kind;
    record.mState = kLive;
    record.mHasOwnerHeader = false;
    header->mGuard = kFrontGuard;
    WriteTail(record);
}

void ContinueCheck(void** slot)
{
    const Slab* const slab = SlabOf(slot);
    BlockRecord& record = *AnyRecordOf(slot);
    record.mHeader = HeaderOf(*slot);
    record.mSize = slab->mSizes[SlotIndex(slab, slot)];
    WriteTail(record);
}

std::size_t VerifyBlock(void** slot)
{
    const BlockRecord& record = *AnyRecordOf(slot);
    return VerifyFront(slot, record) + VerifyOwnerHeader(record) + VerifyTail(record);
}

void DelayBlock(ThreadRecord* thread, void** slot, BlockKind kind)
{
    VerifyBlock(slot);
    BlockRecord& record = *AnyRecordOf(slot);
    if ((record.mKind == kPointer) != (kind == kPointer))
        ReportFault(kOtherKind, BytesOf(record), &record);
    record.mState = kDelayed;
    record.mHasOwnerHeader = false;
    record.mFreed = record.mAllocated ? KeepStack(1) : nullptr;
    VisitFilled(record, [](unsigned char* first, std::size_t count) {
        std::memset(first, kFreedFill, count);
    });
    if (ThreadChecks* const checks = ChecksOf(thread))
        return checks->Add(thread, slot);
    record.mState = kUnchecked;
    std::free(record.mHeader);
    GiveSlot(thread, slot);
}

void FreeDelayed(ThreadRecord& thread)
{
    if (thread.mChecks)
        thread.mChecks->FreeBlocks();
}

bool ExplainRecycled(void* block)
{
    void* const bytes = static_cast<unsigned char*>(block) + kOwnerBytes; // the caller's bytes
    void** const other = FindOwner(bytes);
    if (!other)
        return ExplainPointer(block) != nullptr;
    ReportFault(kOtherKind, bytes, RecordOf(other));
    return false;
}

void** ExplainPointer(void* pointer)
{
    if (!CurrentChecks().mOn)
        return nullptr;
    void** const found = FindOwner(pointer);
    const BlockRecord* const record = found ? RecordOf(found) : nullptr;
    if (record && record->mState == kLive)
    {
        VerifyBlock(found);
        return found;
    }
    if (record)
        ReportFault("a freed block was used, or freed a second time", pointer, record);
    else
        ReportFault("an address that is no live block was used or freed", pointer, nullptr);
    return nullptr;
}

void ExplainHandle(void** handle)
{
    if (!CurrentChecks().mOn)
        return;
    const Slab* const slab = FindSlab(handle);
    const bool isSlot = slab && reinterpret_cast<std::uintptr_t>(handle) % sizeof(void*) == 0 &&
                        SlotIndex(slab, handle) < kSlotsPerSlab;
    const BlockRecord* const record = isSlot ? RecordOf(handle) : nullptr;
    if (record)
        ReportFault("a freed handle was used, or freed a second time", handle, record);
    else
        ReportFault("an address that is no live handle was used or freed", handle, nullptr);
}

std::size_t VerifyAllBlocks()
{
    std::size_t faults = 0;
    VisitRecords([&](void** slot, const BlockRecord& record) {
        if (record.mState == kLive)
            faults += VerifyBlock(slot);
        if (record.mState == kDelayed)
            faults += VerifyFreed(record) + VerifyTail(record);
    });
    return faults;
}
} // namespace tolv
