// The shape of a block: a header in front of the caller's bytes.

#ifndef TOLV_BLOCK_H
#define TOLV_BLOCK_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "slots.h"

namespace tolv
{
struct alignas(16) BlockHeader
{
    void** mSlot;
    std::uint32_t mName;
};

inline BlockHeader* HeaderOf(void* block)
{
    return static_cast<BlockHeader*>(block) - 1;
}

// The slot of a live block; null for what is none.
inline void** SlotOfBlock(void* block)
{
    if (!block)
        return nullptr;
    void** slot = HeaderOf(block)->mSlot;
    return FindSlab(slot) && *slot == block ? slot : nullptr;
}

// The slab of a live handle; null for what is none.
inline Slab* SlabOfHandle(void** handle)
{
    Slab* slab = FindSlab(handle);
    if (!slab || reinterpret_cast<std::uintptr_t>(handle) % sizeof(void*) ||
        SlotIndex(slab, handle) >= kSlotsPerSlab || !IsLive(Peek(*handle)))
        return nullptr;
    return slab;
}
} // namespace tolv

#endif
