#include "memory.h"

#include <cstdlib>
#include <new>
#include <vector>

#include <platform/base/immortal.h>
#include <platform/base/locks.h>
#include <platform/base/quiet_new.h>

#include "private/heap.h"
#include "private/switches.h"
#include "private/thread_record.h"
#include "private/tracked_usage.h"

namespace tolv
{
typedef platform::SwitchedFunction<bool(unsigned long long)> Predicate;
Predicate& sShouldFail = *new Predicate;

std::atomic<bool> sIsWatched(false);

void SetHeapFailure(const boost::function<bool(unsigned long long)>& shouldFail)
{
    sShouldFail.Set(shouldFail);
}

bool AskPredicate(unsigned long long size)
{
    const auto shouldFail = sShouldFail.Get();
    return shouldFail && (*shouldFail)(size);
}

PLATFORM_READS_HIDDEN_MEMORY BlockHeader ReadHiddenHeader(const BlockHeader* header)
{
    const platform::ScHiddenReads reads;
    return *header;
}
} // namespace tolv

using namespace tolv;

namespace
{
const int kNoMemory = -108;
const int kNotThisHeap = -111;
const unsigned long long kLargestBlock = 0xFFFFFFFFull - sizeof(BlockHeader);
const std::size_t kMostHeaps = 0xFFFF;

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

// Hide a header from the checker that watches the process, and reveal the header.
void Hide(const BlockHeader* header)
{
    if (IsWatched())
        platform::HideMemory(header, sizeof(*header));
}

void Reveal(const BlockHeader* header)
{
    if (IsWatched())
        platform::RevealMemory(header, sizeof(*header));
}

// Frees the thread's cached blocks.
void EmptyCache(ThreadRecord& record)
{
    while (BlockHeader* header = record.mBlocks.TakeAny())
    {
        GiveSlot(&record, header->mSlot);
        std::free(header);
    }
}

// Returns the bytes to allocate for a block. A watched block has no spare bytes at its end.
std::size_t BytesOfBlock(std::size_t size)
{
    return sizeof(BlockHeader) + (IsWatched() ? size : BlockCache::Capacity(size));
}

// Returns memory of the C library, moved from oldMemory if that is not null. Without memory
// returns null and keeps oldMemory.
void* ReallocOrTrim(ThreadRecord* record, void* oldMemory, std::size_t bytes)
{
    if (void* memory = std::realloc(oldMemory, bytes))
        return memory;
    if (!record)
        return nullptr;
    EmptyCache(*record);
    return std::realloc(oldMemory, bytes);
}

// Returns a new block and its slot, or null without memory. The slot does not contain the address
// of the block yet.
BlockHeader* AllocateBlock(ThreadRecord* record, std::size_t size)
{
    void** slot = TakeSlot(record);
    if (!slot)
        return nullptr;
    void* memory = ReallocOrTrim(record, nullptr, BytesOfBlock(size));
    if (!memory)
    {
        GiveSlot(record, slot);
        return nullptr;
    }
    BlockHeader* header = static_cast<BlockHeader*>(memory);
    header->mSlot = slot;
    return header;
}

// Makes a block and returns its slot, or null.
void** NewBlock(MEM_HeapRef heap, unsigned long long size, const char* name)
{
    if (!heap || !MayHave(size))
        return nullptr;
    ThreadRecord* record = MyRecord();
    const std::size_t bytes = static_cast<std::size_t>(size);
    BlockHeader* header = record ? record->mBlocks.Take(bytes) : nullptr; // empty if watched
    if (!header)
        header = AllocateBlock(record, bytes);
    if (!header)
        return nullptr;
    header->mName = name ? InternName(name) : 0;
    void** slot = header->mSlot;
    Slab* slab = SlabOf(slot);
    const std::size_t index = SlotIndex(slab, slot);
    StoreRelease(slab->mSizes[index], static_cast<std::uint32_t>(size));
    StoreRelease(slab->mHeaps[index], heap->mNumber);
    StoreRelease(*slot, static_cast<void*>(header + 1));
    Hide(header);
    AddUsage(record, static_cast<long long>(size));
    return slot;
}

// On failure returns false and keeps the block.
bool ResizeBlock(void** slot, unsigned long long size)
{
    if (!MayHave(size))
        return false;
    const unsigned long long oldSize = SizeOf(slot);
    const std::size_t bytes = BytesOfBlock(static_cast<std::size_t>(size));
    ThreadRecord* record = MyRecord();
    BlockHeader* const oldHeader = HeaderOf(*slot);
    Reveal(oldHeader);
    void* memory = ReallocOrTrim(record, oldHeader, bytes);
    BlockHeader* const header = memory ? static_cast<BlockHeader*>(memory) : oldHeader;
    Hide(header);
    if (!memory)
        return false;
    SetSize(slot, size);
    StoreRelease(*slot, static_cast<void*>(header + 1));
    AddUsage(record, static_cast<long long>(size) - static_cast<long long>(oldSize));
    return true;
}

void FreeBlock(void** slot)
{
    ThreadRecord* record = MyRecord();
    const unsigned long long size = SizeOf(slot);
    BlockHeader* header = HeaderOf(*slot);
    AddUsage(record, -static_cast<long long>(size));
    MarkFree(slot);
    if (IsWatched())
        Reveal(header);
    else if (record && record->mBlocks.Give(header, static_cast<std::size_t>(size)))
        return;
    GiveSlot(record, slot);
    std::free(header);
}
} // namespace

MEM_HeapRef MEM_NewHeap()
{
    if (FailureInjected(0))
        return nullptr;
    sIsWatched.store(platform::MemoryIsWatched(), std::memory_order_relaxed);
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
    return NewBlock(heap, size, nullptr);
}

int MEM_SetHandleSize(MEM_HeapRef heap, void** handle, unsigned long long size)
{
    if (!handle || MEM_CheckHandleFromHeap(heap, handle))
        return kNotThisHeap;
    return ResizeBlock(handle, size) ? 0 : kNoMemory;
}

unsigned long long MEM_GetHandleSize(MEM_HeapRef, void** handle)
{
    return SlabOfHandle(handle) ? SizeOf(handle) : 0;
}

void MEM_DisposeHandle(MEM_HeapRef, void** handle)
{
    if (SlabOfHandle(handle))
        FreeBlock(handle);
}

int MEM_CheckHandleFromHeap(MEM_HeapRef heap, void** handle)
{
    if (!handle)
        return 0;
    Slab* slab = SlabOfHandle(handle);
    return heap && slab && slab->mHeaps[SlotIndex(slab, handle)] == heap->mNumber ? 0
                                                                                  : kNotThisHeap;
}

void* MEM_NewPtrDebug(MEM_HeapRef heap, unsigned long long size, const char* name, const char*, int)
{
    void** slot = NewBlock(heap, size, name);
    return slot ? *slot : nullptr;
}

void* MEM_ResizePtr(MEM_HeapRef heap, void* pointer, unsigned long long size)
{
    if (!pointer)
        return MEM_NewPtrDebug(heap, size, nullptr, nullptr, 0);
    void** slot = SlotOfBlock(pointer);
    return slot && ResizeBlock(slot, size) ? *slot : nullptr;
}

void MEM_DisposePtr(MEM_HeapRef, void* pointer)
{
    if (void** slot = SlotOfBlock(pointer))
        FreeBlock(slot);
}

unsigned long long MEM_GetPtrSize(MEM_HeapRef, void* pointer)
{
    void** slot = SlotOfBlock(pointer);
    return slot ? SizeOf(slot) : 0;
}
