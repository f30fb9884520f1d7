#include "memory.h"

#include <cstdlib>
#include <new>
#include <vector>

#include <platform/base/immortal.h>
#include <platform/base/locks.h>
#include <platform/base/quiet_new.h>

#include "private/checked_blocks.h"
#include "private/heap.h"
#include "private/switches.h"
#include "private/thread_record.h"
#include "private/tracked_usage.h"

namespace tolv
{
typedef platform::SwitchedFunction<bool(unsigned long long)> Predicate;
Predicate& sShouldFail = *new Predicate;

void SetHeapFailure(const boost::function<bool(unsigned long long)>& shouldFail)
{
    sShouldFail.Set(shouldFail);
}

bool AskPredicate(unsigned long long size)
{
    const auto shouldFail = sShouldFail.Get();
    return shouldFail && (*shouldFail)(size);
}

} // namespace tolv

using namespace tolv;

namespace
{
const int kNoMemory = -108;
const int kNotThisHeap = -111;
const unsigned long long kLargestBlock = 0xFFFFFFFFull - sizeof(BlockHeader);
const std::size_t kMostHeaps = 0xFFFF;
const std::uint16_t kNoHeap = 0; // the number of no heap
const std::uint32_t kNoName = 0; // the number of no name

platform::Mutex sHeapsLock;

std::vector<MEM_Heap*>& Heaps() PLATFORM_REQUIRES(sHeapsLock)
{
    static platform::Immortal<std::vector<MEM_Heap*>> heaps;
    return *heaps;
}

MEM_Heap* TakeEndedHeap() PLATFORM_REQUIRES(sHeapsLock)
{
    for (MEM_Heap* heap : Heaps())
    {
        if (!heap->mEnded.exchange(false))
            continue;
        heap->mBaselineBlocks = 0;
        heap->mBaselineBytes = 0;
        return heap;
    }
    return nullptr;
}

bool MayHave(unsigned long long size)
{
    return size <= kLargestBlock && !FailureInjected(size);
}

void SetSize(void** slot, unsigned long long size)
{
    Slab* slab = SlabOf(slot);
    StoreRelease(slab->mSizes[SlotIndex(slab, slot)], static_cast<std::uint32_t>(size));
}

unsigned long long SizeOf(void** slot)
{
    Slab* slab = SlabOf(slot);
    return slab->mSizes[SlotIndex(slab, slot)];
}

// Frees the thread's cached blocks and delayed blocks.
void EmptyCache(ThreadRecord& record)
{
    while (BlockHeader* header = record.mBlocks.TakeAny())
    {
        GiveSlot(&record, header->mSlot);
        std::free(header);
    }
    if (IsWatched())
        FreeDelayed(record);
}

// Returns the bytes to allocate for a block that is not checked. A watched block has no spare bytes
// at its end.
std::size_t BytesOfBlock(std::size_t size)
{
    return sizeof(BlockHeader) + (IsWatched() ? size : BlockCache::Capacity(size));
}

// Calls allocate(), which returns memory or null. After a failure frees the thread's cache and
// calls allocate() again.
template <class Allocate> void* AllocateOrTrim(ThreadRecord* record, Allocate allocate)
{
    if (void* memory = allocate())
        return memory;
    if (!record)
        return nullptr;
    EmptyCache(*record);
    return allocate();
}

// Gives a block its size and its heap, and stores the block's address in the slot.
inline void Publish(BlockHeader* header, unsigned long long size, std::uint16_t heap)
{
    void** const slot = header->mSlot;
    Slab* const slab = SlabOf(slot);
    const std::size_t index = SlotIndex(slab, slot);
    StoreRelease(slab->mSizes[index], static_cast<std::uint32_t>(size));
    StoreRelease(slab->mHeaps[index], heap);
    StoreRelease(*slot, static_cast<void*>(header + 1));
}

// Returns a new block with a slot, or null without memory. The block is not charged.
BlockHeader* AllocateBlock(ThreadRecord* record, std::uint16_t heap, std::size_t size,
                           std::uint32_t name, BlockKind kind)
{
    void** slot = TakeSlot(record);
    if (!slot)
        return nullptr;
    const bool isChecked = IsWatched() && MayCheck(slot);
    void* memory = AllocateOrTrim(record, [=] {
        return isChecked ? NewCheckedMemory(record, size) : std::malloc(BytesOfBlock(size));
    });
    if (!memory)
    {
        GiveSlot(record, slot);
        return nullptr;
    }
    BlockHeader* header = new (memory) BlockHeader{slot, name, 0};
    if (isChecked)
        BeginCheck(record, header, size, kind);
    else if (IsWatched())
        HideHeader(header);
    Publish(header, size, heap);
    return header;
}

// Returns the bytes of a new block, null for null.
inline void* BytesOfNew(BlockHeader* header)
{
    return header ? header + 1 : nullptr;
}

// Charges a new block, and returns the block.
[[gnu::noinline]] BlockHeader* Charged(ThreadRecord* record, BlockHeader* header,
                                       unsigned long long size)
{
    AddUsage(record, static_cast<long long>(size));
    return header;
}

// NewBlock without the thread's cache.
[[gnu::noinline]] BlockHeader* NewUncached(MEM_HeapRef heap, unsigned long long size,
                                           std::uint32_t name, BlockKind kind)
{
    if (!heap || !MayHave(size))
        return nullptr;
    ThreadRecord* const record = MyRecord();
    BlockHeader* const header =
        AllocateBlock(record, heap->mNumber, static_cast<std::size_t>(size), name, kind);
    return header ? Charged(record, header, size) : nullptr;
}

// Makes a block, or returns null. `name` is the number of the block's name.
//
// Most blocks come from the thread's cache, and their charge fits the thread's part. Functions that
// are not inlined do all other work, and NewBlock returns their results unchanged. So the usual
// block needs no stack frame, as in FreeBlock. With Up_AllocateSlowly that saves a quarter of the
// time of a pointer of 64 bytes.
[[gnu::always_inline]] inline BlockHeader* NewBlock(MEM_HeapRef heap, unsigned long long size,
                                                    std::uint32_t name, BlockKind kind)
{
    ThreadRecord* const record = tRecord;
    if (!heap || !record || sShouldFail.Installed())
        return NewUncached(heap, size, name, kind);
    BlockHeader* const header = record->mBlocks.Take(static_cast<std::size_t>(size));
    if (!header)
        return NewUncached(heap, size, name, kind);
    header->mName = name;
    Publish(header, size, heap->mNumber);
    if (record->mClaimed || !AddToPart(*record, static_cast<long long>(size)))
        return Charged(record, header, size);
    return header;
}

// On failure returns false and keeps the block.
bool ResizeBlock(void** slot, unsigned long long size)
{
    if (!MayHave(size))
        return false;
    const unsigned long long oldSize = SizeOf(slot);
    const std::size_t bytes = static_cast<std::size_t>(size);
    const BlockRecord* const checked = IsWatched() ? RecordOf(slot) : nullptr;
    ThreadRecord* record = MyRecord();
    if (checked)
        InterruptCheck(slot);
    else if (IsWatched())
        RevealHeader(HeaderOf(*slot));
    void* memory = AllocateOrTrim(record, [=] {
        return checked ? ResizeCheckedMemory(record, *checked, bytes)
                       : std::realloc(HeaderOf(*slot), BytesOfBlock(bytes));
    });
    if (memory)
    {
        SetSize(slot, size);
        StoreRelease(*slot, static_cast<void*>(static_cast<BlockHeader*>(memory) + 1));
    }
    if (checked)
        ContinueCheck(slot);
    else if (IsWatched())
        HideHeader(HeaderOf(*slot));
    if (!memory)
        return false;
    AddUsage(record, static_cast<long long>(size) - static_cast<long long>(oldSize));
    return true;
}

// Frees a block that is not charged, and its slot, which is marked as free.
void ReleaseBlock(ThreadRecord* record, void** slot, BlockHeader* header, BlockKind kind)
{
    if (IsWatched() && RecordOf(slot))
        return DelayBlock(record, slot, kind);
    if (IsWatched())
        RevealHeader(header);
    GiveSlot(record, slot);
    std::free(header);
}

// The rest of FreeBlock for a block that the thread's cache does not keep.
[[gnu::noinline]] void FreeUncached(void** slot, BlockHeader* header, BlockKind kind)
{
    ThreadRecord* const record = MyRecord();
    AddUsage(record, -static_cast<long long>(SizeOf(slot)));
    ReleaseBlock(record, slot, header, kind);
}

// `kind` is the kind that the function of the caller frees.
[[gnu::always_inline]] inline void FreeBlock(void** slot, BlockKind kind)
{
    ThreadRecord* const record = tRecord;
    const unsigned long long size = SizeOf(slot);
    BlockHeader* const header = HeaderOf(*slot);
    MarkFree(slot);
    if (!record || !record->mBlocks.Give(header, static_cast<std::size_t>(size)))
        return FreeUncached(slot, header, kind);
    AddUsage(record, -static_cast<long long>(size));
}

// Returns the slot of a live handle, or null.
void** FindHandle(void** handle)
{
    if (SlabOfHandle(handle))
        return handle;
    if (IsWatched() && handle)
        Explain(handle, kHandle);
    return nullptr;
}

// Returns the slot of a live block, or null.
void** FindBlock(void* block)
{
    return IsWatched() ? FindWatched(block) : SlotOfBlock(block);
}

// Returns the size of a live block, 0 for null.
unsigned long long VerifiedSizeOf(void** slot)
{
    if (slot && IsWatched() && RecordOf(slot))
        VerifyBlock(slot);
    return slot ? SizeOf(slot) : 0;
}

// The rest of MEM_GetHandleSize.
[[gnu::noinline]] unsigned long long VerifiedSizeOfHandle(void** handle)
{
    return VerifiedSizeOf(FindHandle(handle));
}

// MEM_DisposePtr while the heap is watched.
[[gnu::noinline]] void DisposeWatched(void* pointer)
{
    if (void** const slot = FindWatched(pointer))
        FreeBlock(slot, kPointer);
}

// MEM_NewPtrDebug with a name.
[[gnu::noinline]] void* NewNamed(MEM_HeapRef heap, unsigned long long size, const char* name)
{
    ThreadRecord* const record = MyRecord();
    return BytesOfNew(
        NewBlock(heap, size, record ? record->mNames.NumberOf(name) : InternName(name), kPointer));
}
} // namespace

namespace tolv
{
void* NewCheckedRecycled(std::size_t size)
{
    ThreadRecord* const record = ChecksNewBlocks() ? MyRecord() : nullptr;
    BlockHeader* const header =
        record ? AllocateBlock(record, kNoHeap, size, kNoName, kRecycled) : nullptr;
    if (!header || RecordOf(header->mSlot))
        return BytesOfNew(header);
    void** const slot = header->mSlot; // without memory for a record
    MarkFree(slot);
    ReleaseBlock(record, slot, header, kRecycled);
    return nullptr;
}

bool FreeCheckedRecycled(void* block)
{
    void** const slot = FindLive(block);
    if (!slot || !RecordOf(slot))
        return false;
    MarkFree(slot);
    DelayBlock(MyRecord(), slot, kRecycled);
    return true;
}
} // namespace tolv

MEM_HeapRef MEM_NewHeap()
{
    if (FailureInjected(0))
        return nullptr;
    StartWatching();
    const platform::ScLock lock(sHeapsLock);
    if (MEM_Heap* ended = TakeEndedHeap())
        return ended;
    std::vector<MEM_Heap*>& heaps = Heaps();
    if (heaps.size() >= kMostHeaps)
        return nullptr;
    try
    {
        heaps.reserve(heaps.size() + 1);
        heaps.push_back(new MEM_Heap(static_cast<std::uint16_t>(heaps.size() + 1)));
        return heaps.back();
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
}

void** MEM_NewHandle(MEM_HeapRef heap, unsigned long long size)
{
    BlockHeader* const header = NewBlock(heap, size, kNoName, kHandle);
    return header ? header->mSlot : nullptr;
}

int MEM_SetHandleSize(MEM_HeapRef heap, void** handle, unsigned long long size)
{
    const int failure = MEM_SetHogHandleSize(heap, handle, size);
    if (!failure && IsWatched())
        VerifyKind(handle, kHandle);
    return failure;
}

int MEM_SetHogHandleSize(MEM_HeapRef heap, void** handle, unsigned long long size)
{
    if (!handle || MEM_CheckHandleFromHeap(heap, handle))
    {
        FindHandle(handle); // reports
        return kNotThisHeap;
    }
    return ResizeBlock(handle, size) ? 0 : kNoMemory;
}

unsigned long long MEM_GetHandleSize(MEM_HeapRef, void** handle)
{
    if (SlabOfHandle(handle) && !IsWatched())
        return SizeOf(handle);
    return VerifiedSizeOfHandle(handle);
}

void MEM_DisposeHandle(MEM_HeapRef, void** handle)
{
    if (FindHandle(handle))
        FreeBlock(handle, kHandle);
}

void MEM_DisposeHogHandle(MEM_HeapRef, void** handle)
{
    if (FindHandle(handle))
        FreeBlock(handle, kHogHandle);
}

int MEM_CheckHandleFromHeap(MEM_HeapRef heap, void** handle)
{
    if (!handle)
        return 0;
    Slab* slab = SlabOfHandle(handle);
    return heap && slab && slab->mHeaps[SlotIndex(slab, handle)] == heap->mNumber ? 0
                                                                                  : kNotThisHeap;
}

int MEM_DisposeHandleFromHeap(MEM_HeapRef heap, void** handle)
{
    if (const int foreign = MEM_CheckHandleFromHeap(heap, handle))
        return foreign;
    if (handle)
        FreeBlock(handle, kHandle);
    return 0;
}

void* MEM_NewPtrDebug(MEM_HeapRef heap, unsigned long long size, const char* name, const char*, int)
{
    return name ? NewNamed(heap, size, name) : BytesOfNew(NewBlock(heap, size, kNoName, kPointer));
}

void* MEM_ResizePtr(MEM_HeapRef heap, void* pointer, unsigned long long size)
{
    if (!pointer)
        return MEM_NewPtrDebug(heap, size, nullptr, nullptr, 0);
    void** slot = FindBlock(pointer);
    if (slot && IsWatched())
        VerifyKind(slot, kPointer);
    return slot && ResizeBlock(slot, size) ? *slot : nullptr;
}

void MEM_DisposePtr(MEM_HeapRef, void* pointer)
{
    if (IsWatched())
        return DisposeWatched(pointer);
    if (void** slot = SlotOfBlock(pointer))
        FreeBlock(slot, kPointer);
}

unsigned long long MEM_GetPtrSize(MEM_HeapRef, void* pointer)
{
    return VerifiedSizeOf(FindBlock(pointer));
}

int MEM_CheckPtr(void* pointer)
{
    if (!pointer)
        return 0;
    return (IsWatched() ? FindLive(pointer) : SlotOfBlock(pointer)) ? 0 : kNotThisHeap;
}
