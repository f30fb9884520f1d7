#include "private/checked_blocks.h"

#include <cstdlib>
#include <cstring>

#include <platform/base/memory_tools.h>

#include "private/checked_cells.h"
#include "private/own_pages.h"
#include "private/thread_record.h"

namespace tolv
{
namespace
{
const std::uint32_t kFrontGuard = 0xFDFDFDFD;
const unsigned char kTailGuard = 0xFD;
const std::size_t kTailBytes = 16;
const unsigned char kFreedFill = 0xDD;
const std::size_t kFilledAtEnd = 128; // of a large block only the ends are filled
// Of each thread. The slot of a handle is kept for longer, since a host that uses a stale handle
// reads the slot.
const std::size_t kMostDelayedBytes = 16u << 20;
const std::size_t kMostSlotsOfHandles = 0x40000;
const std::size_t kMostOtherSlots = 0x4000;

std::atomic<std::uint64_t> sFreedBlocks(0);

// Stored, since each allocation and each free of a checked block asks several times.
const bool sHasChecker = platform::MemoryIsWatched();

bool IsAll(const unsigned char* bytes, std::size_t count, unsigned char value)
{
    std::uint64_t pattern = 0;
    std::memset(&pattern, value, sizeof(pattern));
    std::uint64_t difference = 0;
    for (; count >= sizeof(pattern); count -= sizeof(pattern), bytes += sizeof(pattern))
    {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes, sizeof(word));
        difference |= word ^ pattern;
    }
    for (; count; --count, ++bytes)
        difference |= static_cast<std::uint64_t>(*bytes ^ value);
    return difference == 0;
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

unsigned char* TailOf(const BlockRecord& record)
{
    return BytesOf(record) + record.mSize;
}

void WriteTail(const BlockRecord& record)
{
    std::memset(TailOf(record), kTailGuard, kTailBytes);
}

void RevealGuards(const BlockRecord& record)
{
    if (!sHasChecker)
        return;
    RevealHeader(record.mHeader);
    platform::RevealMemory(TailOf(record), kTailBytes);
    if (record.mHasOwnerHeader)
        platform::RevealMemory(BytesOf(record), kOwnerBytes);
}

std::size_t VerifyFront(void** slot, const BlockRecord& record)
{
    const BlockHeader& header = *record.mHeader;
    if (header.mSlot == slot && header.mName == NameInHeader(record) &&
        header.mGuard == kFrontGuard)
        return 0;
    WriteHeader(slot, record);
    ReportFault("bytes before the block were overwritten", CallersBytes(record), &record);
    return 1;
}

std::size_t VerifyOwnerHeader(const BlockRecord& record)
{
    if (!record.mHasOwnerHeader ||
        std::memcmp(BytesOf(record), record.mOwnerHeader, kOwnerBytes) == 0)
        return 0;
    std::memcpy(BytesOf(record), record.mOwnerHeader, kOwnerBytes);
    ReportFault("bytes before the block were overwritten", CallersBytes(record), &record);
    return 1;
}

std::size_t VerifyTail(const BlockRecord& record)
{
    const unsigned char* const tail = TailOf(record);
    if (IsAll(tail, kTailBytes, kTailGuard))
        return 0;
    WriteTail(record);
    ReportFault("bytes after the end of the block were overwritten", CallersBytes(record), &record);
    return 1;
}

// Reports a freed block whose bytes or guards were written after the free.
std::size_t VerifyFreed(void** slot, const BlockRecord& record)
{
    const std::size_t faults = VerifyFront(slot, record) + VerifyTail(record);
    bool isWhole = true;
    VisitFilled(record, [&](const unsigned char* first, std::size_t count) {
        isWhole = isWhole && IsAll(first, count, kFreedFill);
    });
    if (isWhole)
        return faults;
    VisitFilled(record, [](unsigned char* first, std::size_t count) {
        std::memset(first, kFreedFill, count);
    });
    ReportFault("the block was written after it was freed", CallersBytes(record), &record);
    return faults + 1;
}

// The bytes of memory that a checked block of the size takes.
std::size_t MemoryOf(std::size_t size)
{
    return sizeof(BlockHeader) + size + kTailBytes;
}

// Frees the memory of a checked block. The C library has allocated the memory if a checker watches
// the process.
void FreeMemory(CellCache* cells, const BlockRecord& record)
{
    if (sHasChecker)
        std::free(record.mHeader);
    else
        FreeCell(cells, record.mHeader, MemoryOf(record.mSize));
}

// The record of a slot that may have been no checked block.
inline BlockRecord* AnyRecordOf(void** slot)
{
    const Slab* const slab = SlabOf(slot);
    BlockRecord* const records = slab->mRecords.load(std::memory_order_acquire);
    return records ? &records[SlotIndex(slab, slot)] : nullptr;
}

// Slots of freed blocks, the oldest first.
class SlotQueue
{
public:
    std::size_t Count() const { return mCount; }

    void Push(void** slot, BlockRecord* record)
    {
        record->mFreedBlock.mNext = nullptr;
        if (mCount++)
            mLast->mFreedBlock.mNext = slot;
        else
            mFirst = slot;
        mLast = record;
    }

    // REQUIRES: the queue is not empty.
    void** Pop(BlockRecord** record)
    {
        void** const slot = mFirst;
        *record = AnyRecordOf(slot);
        mFirst = (*record)->mFreedBlock.mNext;
        --mCount;
        // The next free reads the record, which has left the caches of the processor meanwhile.
        if (mFirst)
            __builtin_prefetch(AnyRecordOf(mFirst));
        return slot;
    }

private:
    void** mFirst;
    BlockRecord* mLast;
    std::size_t mCount;
};
} // namespace

// The checks of one thread: the blocks that the thread has freed, and the slots of those of them
// whose memory is no longer kept. All bytes are 0 at first.
class ThreadChecks
{
public:
    CellCache mCells;

    // Returns whether the stacks of the next block are kept.
    bool SelectsBlock()
    {
        const unsigned one = sStacks.load(std::memory_order_relaxed);
        if (!one || ++mUnstacked < one)
            return false;
        mUnstacked = 0;
        return true;
    }

    void FreeBlocks(ThreadRecord* thread)
    {
        while (mDelayed.Count())
            FreeOldestBlock(thread);
    }

    void Add(ThreadRecord* thread, void** slot, BlockRecord* record)
    {
        mDelayed.Push(slot, record);
        mBytes += record->mSize;
        const std::size_t most = sHasChecker ? 0 : sDelay.load(std::memory_order_relaxed);
        while (mDelayed.Count() > most || mBytes > kMostDelayedBytes)
            FreeOldestBlock(thread);
    }

private:
    // The block leaves the queue first, since a log sink may free blocks.
    void FreeOldestBlock(ThreadRecord* thread)
    {
        BlockRecord* record = nullptr;
        void** const slot = mDelayed.Pop(&record);
        mBytes -= record->mSize;
        VerifyFreed(slot, *record);
        record->mState = kFreed;
        FreeMemory(&mCells, *record);
        if (record->mKind == kHandle || record->mKind == kHogHandle)
            KeepSlot(thread, slot, record, &mHandles, kMostSlotsOfHandles);
        else
            KeepSlot(thread, slot, record, &mOthers, kMostOtherSlots);
    }

    static void KeepSlot(ThreadRecord* thread, void** slot, BlockRecord* record, SlotQueue* queue,
                         std::size_t most)
    {
        queue->Push(slot, record);
        if (queue->Count() <= most)
            return;
        BlockRecord* oldest = nullptr;
        void** const free = queue->Pop(&oldest);
        oldest->mState = kUnchecked;
        GiveSlot(thread, free);
    }

    SlotQueue mDelayed; // with the memory of the blocks
    SlotQueue mHandles;
    SlotQueue mOthers;
    std::size_t mBytes;  // of the delayed blocks
    unsigned mUnstacked; // blocks since the last block with stacks
};

namespace
{
// Returns null without memory.
ThreadChecks* ChecksOf(ThreadRecord* thread)
{
    if (thread && !thread->mChecks)
        thread->mChecks = static_cast<ThreadChecks*>(NewForever(sizeof(ThreadChecks)));
    return thread ? thread->mChecks : nullptr;
}

// Returns null for a thread without checks.
CellCache* CellsOf(ThreadRecord* thread)
{
    ThreadChecks* const checks = ChecksOf(thread);
    return checks ? &checks->mCells : nullptr;
}
} // namespace

BlockRecord* RecordOf(void** slot)
{
    BlockRecord* const record = AnyRecordOf(slot);
    return record && record->mState != kUnchecked ? record : nullptr;
}

bool MayCheck(void** slot)
{
    if (!ChecksNewBlocks())
        return false;
    Slab* const slab = SlabOf(slot);
    if (slab->mRecords.load(std::memory_order_acquire))
        return true;
    BlockRecord* none = nullptr;
    BlockRecord* const records =
        static_cast<BlockRecord*>(NewPages(kSlotsPerSlab * sizeof(BlockRecord)));
    if (records && !slab->mRecords.compare_exchange_strong(none, records))
        FreePages(records); // another thread was first
    return slab->mRecords.load(std::memory_order_acquire) != nullptr;
}

void* NewCheckedMemory(ThreadRecord* thread, std::size_t size)
{
    const std::size_t bytes = MemoryOf(size);
    return sHasChecker ? std::malloc(bytes) : NewCell(CellsOf(thread), bytes);
}

void* ResizeCheckedMemory(ThreadRecord* thread, const BlockRecord& record, std::size_t size)
{
    const std::size_t bytes = MemoryOf(size);
    if (sHasChecker)
        return std::realloc(record.mHeader, bytes);
    return ResizeCell(CellsOf(thread), record.mHeader, MemoryOf(record.mSize), bytes);
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
    record.mOwnerBytes = 0;
    record.mHasOwnerHeader = false;
    header->mGuard = kFrontGuard;
    WriteTail(record);
    HideGuards(record);
    EnterInIndex(header + 1, header->mSlot);
}

void InterruptCheck(void** slot)
{
    VerifyBlock(slot);
    RevealGuards(*AnyRecordOf(slot));
}

void ContinueCheck(void** slot)
{
    const Slab* const slab = SlabOf(slot);
    BlockRecord& record = *AnyRecordOf(slot);
    record.mHeader = HeaderOf(*slot);
    record.mSize = slab->mSizes[SlotIndex(slab, slot)];
    WriteTail(record);
    HideGuards(record);
    EnterInIndex(*slot, slot);
}

void HideGuards(const BlockRecord& record)
{
    if (!sHasChecker)
        return;
    HideHeader(record.mHeader);
    platform::HideMemory(TailOf(record), kTailBytes);
    if (record.mHasOwnerHeader)
        platform::HideMemory(BytesOf(record) + kOwnerBytes / 2, kOwnerBytes / 2);
}

std::size_t VerifyBlock(void** slot)
{
    const BlockRecord& record = *AnyRecordOf(slot);
    RevealGuards(record);
    const std::size_t faults =
        VerifyFront(slot, record) + VerifyOwnerHeader(record) + VerifyTail(record);
    HideGuards(record);
    return faults;
}

void VerifyKind(void** slot, BlockKind kind)
{
    const BlockRecord* const record = RecordOf(slot);
    if (record && record->mKind != kind)
        ReportOtherKind(CallersBytes(*record), *record);
}

void DelayBlock(ThreadRecord* thread, void** slot, BlockKind kind)
{
    VerifyBlock(slot);
    VerifyKind(slot, kind);
    BlockRecord& record = *AnyRecordOf(slot);
    RevealGuards(record);
    record.mState = kDelayed;
    record.mHasOwnerHeader = false;
    record.mFreedBlock.mNumber = sFreedBlocks.fetch_add(1, std::memory_order_relaxed);
    record.mFreed = record.mAllocated ? KeepStack(1) : nullptr;
    VisitFilled(record, [](unsigned char* first, std::size_t count) {
        std::memset(first, kFreedFill, count);
    });
    if (ThreadChecks* const checks = ChecksOf(thread))
        return checks->Add(thread, slot, &record);
    record.mState = kUnchecked;
    FreeMemory(nullptr, record);
    GiveSlot(thread, slot);
}

void FreeDelayed(ThreadRecord& thread)
{
    if (thread.mChecks)
        thread.mChecks->FreeBlocks(&thread);
}

std::size_t VerifyAllBlocks()
{
    std::size_t faults = 0;
    VisitRecords([&](void** slot, const BlockRecord& record) {
        if (record.mState == kLive)
            faults += VerifyBlock(slot);
        if (record.mState == kDelayed)
            faults += VerifyFreed(slot, record);
    });
    return faults;
}

void MakePlain(BlockRecord* record)
{
    record->mKind = kHandle;
    record->mOwnerBytes = 0;
}

void ForgetHogs(const MEM_Heap* heap)
{
    VisitRecords([heap](void** slot, BlockRecord& record) {
        if (record.mState == kLive && record.mKind == kHogHandle && HeapOf(slot) == heap->mNumber)
            MakePlain(&record);
    });
}
} // namespace tolv
