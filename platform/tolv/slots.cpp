#include "private/slots.h"

#include <atomic>
#include <new>
#include <vector>

#include <platform/base/immortal.h>
#include <platform/base/locks.h>
#include <platform/base/quiet_new.h>
#include <win32/memory.h>

#include "private/thread_record.h"

#if defined(__ELF__)
// A function of the leak checker. Its address is null in a process without a leak checker.
// Weak, since a host may be built with a sanitizer while this library is built without one.
extern "C" __attribute__((weak)) void __lsan_register_root_region(const void*, std::size_t);
#endif

namespace tolv
{
namespace
{
const std::size_t kChainsPerSlab = kSlotsPerSlab / kChainSlots;
static_assert(kSlotsPerSlab % kChainSlots == 0, "a slab is cut into whole chains");

// Guards the pool and changes of the list of slabs.
platform::Mutex sPoolLock;

// Never destroyed, since blocks are freed until the process ends.
std::vector<SlotChain>& Pool() PLATFORM_REQUIRES(sPoolLock)
{
    static platform::Immortal<std::vector<SlotChain>> pool;
    return *pool;
}

std::atomic<Slab*> sFirstSlab(nullptr);

// The directory of slabs: a bit for each 64 KiB of the address space, in leaves of 4 GiB. The
// directory is read without a lock. A bit is never cleared.
const unsigned kAddressBits = 48;
const unsigned kLeafBits = 32;
const unsigned kSlabBits = 16;
static_assert(kSlabBytes == std::size_t(1) << kSlabBits, "a bit represents one slab");

struct Leaf
{
    std::atomic<std::uint64_t> mWords[(std::size_t(1) << (kLeafBits - kSlabBits)) / 64];
};
std::atomic<Leaf*> sLeaves[std::size_t(1) << (kAddressBits - kLeafBits)];

std::size_t BitOf(std::uintptr_t address)
{
    return (address >> kSlabBits) & ((std::size_t(1) << (kLeafBits - kSlabBits)) - 1);
}

bool EnterInDirectory(Slab* slab)
{
    const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(slab);
    if (address >> kAddressBits)
        return false;
    std::atomic<Leaf*>& leaf = sLeaves[address >> kLeafBits];
    if (!leaf.load(std::memory_order_relaxed))
    {
        Leaf* fresh = new (std::nothrow) Leaf();
        if (!fresh)
            return false;
        leaf.store(fresh, std::memory_order_release);
    }
    const std::size_t bit = BitOf(address);
    leaf.load(std::memory_order_relaxed)
        ->mWords[bit / 64]
        .fetch_or(std::uint64_t(1) << (bit % 64), std::memory_order_release);
    return true;
}

// Registers the slab with the leak checker, which searches no mapped memory by itself.
// Without the registration the leak checker reports each object that only a block refers to.
void ShowToLeakChecker([[maybe_unused]] const Slab* slab)
{
#if defined(__ELF__)
    if (__lsan_register_root_region)
        __lsan_register_root_region(slab, sizeof(*slab));
#endif
}

Slab* NewSlab()
{
    void* memory = win32::VirtualAlloc(nullptr, kSlabBytes, win32::kMemReserve | win32::kMemCommit,
                                       win32::kPageReadWrite);
    if (!memory)
        return nullptr;
    Slab* slab = new (memory) Slab;
    if (EnterInDirectory(slab))
    {
        ShowToLeakChecker(slab);
        return slab;
    }
    win32::VirtualFree(memory, 0, win32::kMemRelease);
    return nullptr;
}

// Divides a new slab into chains and adds the chains to the pool.
bool GrowPool() PLATFORM_REQUIRES(sPoolLock)
{
    std::vector<SlotChain>& pool = Pool();
    try
    {
        pool.reserve(pool.size() + kChainsPerSlab);
    }
    catch (const std::bad_alloc&)
    {
        return false;
    }
    Slab* slab = NewSlab();
    if (!slab)
        return false;
    for (std::size_t first = 0; first < kSlotsPerSlab; first += kChainSlots)
    {
        SlotChain chain;
        for (std::size_t i = kChainSlots; i-- > 0;)
            Push(chain, &slab->mBlocks[first + i]);
        pool.push_back(chain);
    }
    slab->mNext = sFirstSlab.load(std::memory_order_relaxed);
    sFirstSlab.store(slab, std::memory_order_release);
    return true;
}
} // namespace

SlotChain TakeChain()
{
    const platform::ScLock lock(sPoolLock);
    std::vector<SlotChain>& pool = Pool();
    if (pool.empty() && !GrowPool())
        return SlotChain();
    SlotChain chain = pool.back();
    pool.pop_back();
    return chain;
}

bool GiveChain(const SlotChain& chain)
{
    const platform::ScLock lock(sPoolLock);
    try
    {
        Pool().push_back(chain);
        return true;
    }
    catch (const std::bad_alloc&)
    {
        return false;
    }
}

Slab* FindSlab(const void* address)
{
    const std::uintptr_t value = reinterpret_cast<std::uintptr_t>(address);
    if (value >> kAddressBits)
        return nullptr;
    Leaf* leaf = sLeaves[value >> kLeafBits].load(std::memory_order_acquire);
    if (!leaf)
        return nullptr;
    const std::size_t bit = BitOf(value);
    if (!(leaf->mWords[bit / 64].load(std::memory_order_acquire) >> (bit % 64) & 1))
        return nullptr;
    return reinterpret_cast<Slab*>(value & ~(kSlabBytes - 1));
}

Slab* FirstSlab()
{
    return sFirstSlab.load(std::memory_order_acquire);
}
} // namespace tolv
