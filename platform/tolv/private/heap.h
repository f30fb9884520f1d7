// Heaps, blocks and the names of blocks, for the sources of the heap.

#ifndef TOLV_HEAP_H
#define TOLV_HEAP_H

#include <atomic>
#include <cstddef>
#include <cstdint>

#include <platform/base/memory_tools.h>

#include "slots.h"

struct MEM_Heap
{
    explicit MEM_Heap(std::uint16_t number) : mNumber(number) {}

    const std::uint16_t mNumber;
    std::atomic<bool> mEnded{false}; // was empty at its end: MEM_NewHeap may return it again
    std::atomic<long long> mBaselineBlocks{0};
    std::atomic<long long> mBaselineBytes{0};
};

namespace tolv
{
// The bytes before the caller's bytes.
struct alignas(16) BlockHeader
{
    void** mSlot;
    std::uint32_t mName;
    std::uint32_t mGuard; // of a checked block
};

inline BlockHeader* HeaderOf(void* block)
{
    return static_cast<BlockHeader*>(block) - 1;
}

// True once the heap is checked, and in a process under a sanitizer or valgrind. The heap keeps no
// freed block for reuse then. The value never returns to false.
extern std::atomic<bool> sIsWatched;
void SetWatched();

inline bool IsWatched()
{
    return sIsWatched.load(std::memory_order_relaxed);
}

// Hide the end of a header from the checker that watches the process, and reveal the end. The
// head, which each free of a pointer reads, remains visible.
void HideHeader(const BlockHeader* header);
void RevealHeader(const BlockHeader* header);

// Returns the number of a block's name. The header may be hidden.
std::uint32_t ReadName(const BlockHeader* header);

// Returns the slot of a live block, or null for null and for an address that is no block.
// REQUIRES: the bytes before the address are readable.
inline void** SlotOfBlock(void* block)
{
    if (!block)
        return nullptr;
    void** slot = HeaderOf(block)->mSlot;
    return FindSlab(slot) && *slot == block ? slot : nullptr;
}

// Works like SlotOfBlock for an address before which there may be no memory of the heap: no checker
// of the process reports the reading.
void** SlotOfAny(void* block);

// Works like SlotOfBlock while the heap is watched. While the heap is checked, reads no memory that
// may be unmapped.
void** FindLive(void* block);

// Works like FindLive, and reports an address that is no live block: by the checked heap, or else
// by the checker of the process. Repairs the header of a checked block.
void** FindWatched(void* block);

// Returns the slab of a live handle, or null for any other address.
inline Slab* SlabOfHandle(void** handle)
{
    // No slab has the address null. NOLINTNEXTLINE(clang-analyzer-core.NonNullParamChecker)
    return IsSlot(handle) && IsLive(LoadAcquire(*handle)) ? SlabOf(handle) : nullptr;
}

// Returns the number of a name, 0 for null. The number is valid until the process ends. Names are
// cut to 63 bytes. The table is bounded: names without a free entry share one number. Takes no
// lock.
std::uint32_t InternName(const char* name);

const char* NameOf(std::uint32_t number);
} // namespace tolv

#endif
