// Master pointers.
//
// Every live block owns one slot, which holds the block's address; a handle is
// the address of a slot. Slots stand in slabs aligned to their size, so that
// the slab, and with it the block's size and heap, is found from the slot's
// address. A free slot holds the next free one with its lowest bit set, which
// no block's address has.

#ifndef TOLV_SLOTS_H
#define TOLV_SLOTS_H

#include <cstddef>
#include <cstdint>

#include <boost/atomic/atomic_ref.hpp>

namespace tolv
{
const std::size_t kSlabBytes = 0x10000;
const std::size_t kSlotsPerSlab = 4680;

// Sizes and heaps stand in arrays of their own: that keeps the bookkeeping of
// a block at 14 bytes.
struct Slab
{
    void* mBlocks[kSlotsPerSlab];
    std::uint32_t mSizes[kSlotsPerSlab];
    std::uint16_t mHeaps[kSlotsPerSlab];
    Slab* mNext; // the list of all slabs
};
static_assert(sizeof(Slab) <= kSlabBytes, "a slab must fit its alignment");

// Free slots, linked through themselves.
struct SlotChain
{
    void** mFirst = nullptr;
    std::size_t mCount = 0;
};

// A fresh or used chain of free slots from the common pool; empty without
// memory. Takes the pool's lock.
SlotChain TakeChain();

// Gives a chain to the common pool. False, with the chain left to the caller,
// if the pool can't grow. Takes the pool's lock.
bool GiveChain(const SlotChain& chain);

// The slab of an address, null if it lies in none. Any address may be asked.
Slab* FindSlab(const void* address);

// The newest slab; from there mNext leads through all. Slabs never go.
Slab* FirstSlab();

inline Slab* SlabOf(void** slot)
{
    return reinterpret_cast<Slab*>(reinterpret_cast<std::uintptr_t>(slot) & ~(kSlabBytes - 1));
}

inline std::size_t SlotIndex(const Slab* slab, void** slot)
{
    return static_cast<std::size_t>(slot - slab->mBlocks);
}

// What stands in a slot, its size or its heap is written by the block's owner
// and may be read by a report on any thread at the same time.
template <class T> T Peek(T& value)
{
    return boost::atomic_ref<T>(value).load(boost::memory_order_acquire);
}
template <class T> void Poke(T& value, T newValue)
{
    boost::atomic_ref<T>(value).store(newValue, boost::memory_order_release);
}

inline bool IsLive(void* slotContent)
{
    return (reinterpret_cast<std::uintptr_t>(slotContent) & 1) == 0 && slotContent != nullptr;
}

// Makes a slot tell of no block, while it stays with the block's memory.
inline void MarkFree(void** slot)
{
    Poke(*slot, reinterpret_cast<void*>(std::uintptr_t(1)));
}

// Pushes a slot on a chain, which makes it free.
inline void Push(SlotChain& chain, void** slot)
{
    Poke(*slot, static_cast<void*>(reinterpret_cast<char*>(chain.mFirst) + 1));
    chain.mFirst = slot;
    ++chain.mCount;
}

// Takes a slot off a chain that isn't empty.
inline void** Pop(SlotChain& chain)
{
    void** slot = chain.mFirst;
    chain.mFirst = reinterpret_cast<void**>(static_cast<char*>(*slot) - 1);
    --chain.mCount;
    return slot;
}
} // namespace tolv

#endif
