// Master pointers.
//
// Every live block owns one slot, which contains the block's address. A handle is the address of
// a slot. Slots are elements of slabs that are aligned to their size: the address of a slot
// determines the slab, and so the block's size and heap. A free slot contains the address of the
// next free slot with the lowest bit set. No block's address has that bit.

#ifndef TOLV_SLOTS_H
#define TOLV_SLOTS_H

#include <atomic>
#include <cstddef>
#include <cstdint>

#include <boost/atomic/atomic_ref.hpp>

namespace tolv
{
const std::size_t kSlabBytes = 0x10000;
const std::size_t kSlotsPerSlab = 4680;

struct BlockRecord; // of the checked heap

// Sizes and heaps have arrays of their own, so that a block costs 14 bytes here and not 16.
struct Slab
{
    void* mBlocks[kSlotsPerSlab];
    std::uint32_t mSizes[kSlotsPerSlab];
    std::uint16_t mHeaps[kSlotsPerSlab];
    Slab* mNext;                                 // the list of all slabs
    std::atomic<BlockRecord*> mRecords{nullptr}; // null until the slab has a checked block
};
static_assert(sizeof(Slab) <= kSlabBytes, "a slab must fit its alignment");

// Free slots, linked through themselves.
struct SlotChain
{
    void** mFirst = nullptr;
    std::size_t mCount = 0;
};

// Returns a chain of free slots from the common pool, an empty chain without memory. Takes the
// pool's lock.
SlotChain TakeChain();

// Gives a chain to the common pool. If the pool cannot grow, returns false and the caller keeps the
// chain. Takes the pool's lock.
bool GiveChain(const SlotChain& chain);

// Returns the slab that contains an address, or null. The address need not be readable.
Slab* FindSlab(const void* address);

// Returns the newest slab, the head of the list of all slabs. Slabs are never freed.
Slab* FirstSlab();

inline Slab* SlabOf(void** slot)
{
    return reinterpret_cast<Slab*>(reinterpret_cast<std::uintptr_t>(slot) & ~(kSlabBytes - 1));
}

inline std::size_t SlotIndex(const Slab* slab, void** slot)
{
    return static_cast<std::size_t>(slot - slab->mBlocks);
}

// Returns whether an address is that of a slot, live or free. The address need not be readable.
inline bool IsSlot(void** address)
{
    const Slab* const slab = FindSlab(address);
    return slab && reinterpret_cast<std::uintptr_t>(address) % sizeof(void*) == 0 &&
           SlotIndex(slab, address) < kSlotsPerSlab;
}

// Access to a slot, its size and its heap. The block's owner writes them, and a report on any
// thread may read them at the same time.
template <class T> T LoadAcquire(T& value)
{
    return boost::atomic_ref<T>(value).load(boost::memory_order_acquire);
}
template <class T> void StoreRelease(T& value, T newValue)
{
    boost::atomic_ref<T>(value).store(newValue, boost::memory_order_release);
}

inline bool IsLive(void* slotContent)
{
    return (reinterpret_cast<std::uintptr_t>(slotContent) & 1) == 0 && slotContent != nullptr;
}

// Marks the slot of a cached block. The slot is in no chain.
inline void MarkFree(void** slot)
{
    StoreRelease(*slot, reinterpret_cast<void*>(std::uintptr_t(1)));
}

// The link of a free slot is the address of the next slot plus 1, and 1 at the end of a chain. It
// is computed as an integer: nothing may be added to a null pointer.
inline void Push(SlotChain& chain, void** slot)
{
    const auto next = reinterpret_cast<std::uintptr_t>(chain.mFirst);
    StoreRelease(*slot, reinterpret_cast<void*>(next + 1));
    chain.mFirst = slot;
    ++chain.mCount;
}

// REQUIRES: the chain is not empty.
inline void** Pop(SlotChain& chain)
{
    void** slot = chain.mFirst;
    chain.mFirst = reinterpret_cast<void**>(reinterpret_cast<std::uintptr_t>(*slot) - 1);
    --chain.mCount;
    return slot;
}
} // namespace tolv

#endif
