// Standard containers under the budget, and cached blocks that the purge callback spares.
//
//     U::cpp::BudgetResource memory(1, "Pixels");
//     std::pmr::vector<float> pixels(4096, &memory);
//     std::vector<int, U::cpp::BudgetAllocator<int>> sums;
//     U::cpp::CachedBlock<U::cpp::Handle> tile(U::cpp::Handle::Allocate(1, "Tile", 4096));
//     if (const auto pin = tile.Pin())
//         pin->As<char>()[0] = 1; // a purge callback does not free the block meanwhile
//
// A refused block throws std::bad_alloc, after the purge callback has had its chance and the
// failure was reported under `opName` (U_Alloc.h). A null opName means that failures are not
// reported to the user.
//
// Blocks of one size may be recycled: blocks of `recycledFrom` bytes and more come from the
// recycled pool and return there. That suits large blocks that are allocated and freed all the
// time.
//
// An allocation may call the purge callback on the calling thread. So a container that the purge
// callback shrinks is not enlarged under the lock that the callback takes.
//
// Thread safety: resources and allocators may be used on any thread between birth and death.

#ifndef U_CPP_MEMORY_H
#define U_CPP_MEMORY_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory_resource>
#include <new>
#include <utility>

#include <U_Alloc.h>

namespace U::cpp
{
// The value of `recycledFrom` with which no block is recycled.
const std::size_t kNeverRecycled = std::numeric_limits<std::size_t>::max();

namespace detail
{
const std::size_t kBlockAlignment = 16;

inline void* AllocateBlock(U_u32 location, const char* opName, std::size_t recycledFrom,
                           std::size_t bytes)
{
    void* const block = bytes >= recycledFrom ? U_AllocateRecycledPtr(location, opName, bytes)
                                              : U_AllocatePtr(location, opName, bytes);
    if (!block)
        throw std::bad_alloc();
    return block;
}

// Without noexcept, so that U_FreePtr is called by a jump.
inline void FreeBlock(void* block, std::size_t recycledFrom, std::size_t bytes)
{
    if (bytes >= recycledFrom)
        U_FreeRecycledPtr(block);
    else
        U_FreePtr(block);
}

// A block with a larger alignment than the library's begins inside a longer block. The word
// before it has the address of the longer block: both addresses are multiples of 16. Out of line,
// which keeps the ordinary path short.
[[gnu::noinline]] inline void* AllocateAligned(U_u32 location, const char* opName,
                                               std::size_t recycledFrom, std::size_t bytes,
                                               std::size_t alignment)
{
    if (bytes > kNeverRecycled - alignment)
        throw std::bad_alloc();
    void* const whole = AllocateBlock(location, opName, recycledFrom, bytes + alignment);
    const std::uintptr_t past = reinterpret_cast<std::uintptr_t>(whole) & (alignment - 1);
    char* const block = static_cast<char*>(whole) + (alignment - past);
    std::memcpy(block - sizeof(whole), &whole, sizeof(whole));
    return block;
}

[[gnu::noinline]] inline void FreeAligned(void* block, std::size_t recycledFrom, std::size_t bytes,
                                          std::size_t alignment)
{
    void* whole = nullptr;
    std::memcpy(&whole, static_cast<char*>(block) - sizeof(whole), sizeof(whole));
    FreeBlock(whole, recycledFrom, bytes + alignment);
}

inline void* Allocate(U_u32 location, const char* opName, std::size_t recycledFrom,
                      std::size_t bytes, std::size_t alignment)
{
    return alignment > kBlockAlignment
               ? AllocateAligned(location, opName, recycledFrom, bytes, alignment)
               : AllocateBlock(location, opName, recycledFrom, bytes);
}

inline void Free(void* block, std::size_t recycledFrom, std::size_t bytes, std::size_t alignment)
{
    if (alignment > kBlockAlignment)
        FreeAligned(block, recycledFrom, bytes, alignment);
    else
        FreeBlock(block, recycledFrom, bytes);
}
} // namespace detail

// A memory resource under the budget. Any alignment is served. Two resources with the same
// `recycledFrom` are equal: each frees the blocks of the other.
//
// REQUIRES: `opName` outlives the resource, which does not copy the text.
class BudgetResource final : public std::pmr::memory_resource
{
public:
    // `location` and `opName` name the allocations in the report of a failure (U_Alloc.h). Blocks
    // of `recycledFrom` bytes and more are recycled.
    explicit BudgetResource(U_u32 location, const char* opName,
                            std::size_t recycledFrom = kNeverRecycled) noexcept
        : mLocation(location), mOpName(opName), mRecycledFrom(recycledFrom)
    {
    }

private:
    void* do_allocate(std::size_t bytes, std::size_t alignment) override
    {
        return detail::Allocate(mLocation, mOpName, mRecycledFrom, bytes, alignment);
    }
    void do_deallocate(void* block, std::size_t bytes, std::size_t alignment) override
    {
        detail::Free(block, mRecycledFrom, bytes, alignment);
    }
    bool do_is_equal(const std::pmr::memory_resource& other) const noexcept override
    {
        const auto* const same = dynamic_cast<const BudgetResource*>(&other);
        return same && same->mRecycledFrom == mRecycledFrom;
    }

    const U_u32 mLocation;
    const char* const mOpName;
    const std::size_t mRecycledFrom;
};

// An allocator under the budget, for containers whose type names their allocator. All objects
// of one type are equal, whatever their names are.
//
// REQUIRES: `opName` outlives the allocator and its copies, which do not copy the text.
template <class T, std::size_t RecycledFrom = kNeverRecycled> class BudgetAllocator
{
public:
    // The members that std::allocator_traits requires.
    typedef T value_type;
    typedef std::true_type is_always_equal;

    // The allocator of another type.
    template <class Other> struct rebind
    {
        // Recycles from the same size.
        typedef BudgetAllocator<Other, RecycledFrom> other;
    };

    // Names the allocations "BudgetAllocator", at the location 0.
    BudgetAllocator() noexcept = default;

    // `location` and `opName` name the allocations in the report of a failure (U_Alloc.h).
    BudgetAllocator(U_u32 location, const char* opName) noexcept
        : mLocation(location), mOpName(opName)
    {
    }

    // Takes the location and the name of `other`.
    template <class Other>
    BudgetAllocator(const BudgetAllocator<Other, RecycledFrom>& other) noexcept
        : mLocation(other.Location()), mOpName(other.OpName())
    {
    }

    // Returns room for `count` objects.
    //
    // Throws: std::bad_alloc.
    T* allocate(std::size_t count)
    {
        if (count > kNeverRecycled / sizeof(T))
            throw std::bad_array_new_length();
        return static_cast<T*>(
            detail::Allocate(mLocation, mOpName, RecycledFrom, count * sizeof(T), alignof(T)));
    }

    // Frees the room for `count` objects that an allocator of the same type has returned.
    void deallocate(T* block, std::size_t count) noexcept
    {
        detail::Free(block, RecycledFrom, count * sizeof(T), alignof(T));
    }

    // Return the names of the allocations.
    U_u32 Location() const noexcept { return mLocation; }
    const char* OpName() const noexcept { return mOpName; }

    // All allocators of a type are equal.
    friend bool operator==(const BudgetAllocator&, const BudgetAllocator&) noexcept { return true; }
    friend bool operator!=(const BudgetAllocator&, const BudgetAllocator&) noexcept
    {
        return false;
    }

private:
    U_u32 mLocation = 0;
    const char* mOpName = "BudgetAllocator";
};

template <class OwnerType> class BlockPin;

// A block of a host's cache. The purge callback frees the block with Purge, unless a thread has
// a pin on it.
//
// Thread safety: all functions may be called on any thread. Of a Pin and a Purge at the same time
// one succeeds.
// Ordering: the writes under a pin happen before a Purge that succeeds, and those of Refill before
// a later Pin returns.
// REQUIRES: the object outlives its pins. The purge callback that may see the object is ordered
// with the object's constructor and destructor, usually by the lock of the cache.
template <class OwnerType> class CachedBlock
{
public:
    // Makes an object without a block.
    CachedBlock() noexcept = default;

    // Takes ownership of a block, which may be none.
    explicit CachedBlock(OwnerType block) noexcept
        : mBlock(std::move(block)), mPins(mBlock ? 0 : kEmpty)
    {
    }
    CachedBlock(const CachedBlock&) = delete;
    CachedBlock& operator=(const CachedBlock&) = delete;

    // Returns a pin on the block, which is empty if the block was purged.
    BlockPin<OwnerType> Pin() noexcept
    {
        int pins = mPins.load(std::memory_order_relaxed);
        while (pins >= 0)
        {
            if (mPins.compare_exchange_weak(pins, pins + 1, std::memory_order_acquire,
                                            std::memory_order_relaxed))
                return BlockPin<OwnerType>(this);
        }
        return BlockPin<OwnerType>();
    }

    // Frees the block unless it is pinned. For the purge callback: allocates nothing.
    //
    // Returns: true if this call has freed the block.
    bool Purge() noexcept
    {
        if (!Change(0))
            return false;
        mBlock.Reset();
        mPins.store(kEmpty, std::memory_order_release);
        return true;
    }

    // Gives the object a block again after a purge.
    //
    // Returns: true; false if the object has a block, and then `block` is unchanged.
    // REQUIRES: `block` is not empty.
    bool Refill(OwnerType&& block) noexcept
    {
        if (!Change(kEmpty))
            return false;
        mBlock = std::move(block);
        mPins.store(0, std::memory_order_release);
        return true;
    }

private:
    friend class BlockPin<OwnerType>;

    // States of mPins below 0.
    static const int kEmpty = -1;
    static const int kChanging = -2; // one thread frees or stores the block

    bool Change(int from) noexcept
    {
        return mPins.compare_exchange_strong(from, kChanging, std::memory_order_acquire,
                                             std::memory_order_relaxed);
    }

    OwnerType mBlock;
    std::atomic<int> mPins{kEmpty}; // the number of pins, or a state
};

// Keeps a block in its cache for a scope. Move-only.
template <class OwnerType> class BlockPin
{
public:
    // Makes an empty pin.
    BlockPin() noexcept = default;

    // Take the pin of `other`, which is empty afterwards. The assignment ends the old pin.
    BlockPin(BlockPin&& other) noexcept : mCached(std::exchange(other.mCached, nullptr)) {}
    BlockPin& operator=(BlockPin&& other) noexcept
    {
        BlockPin taken(std::move(other));
        std::swap(mCached, taken.mCached);
        return *this;
    }
    ~BlockPin()
    {
        if (mCached)
            mCached->mPins.fetch_sub(1, std::memory_order_release);
    }

    // Returns true if the pin keeps a block.
    explicit operator bool() const noexcept { return mCached != nullptr; }

    // The owner of the block. Threads that have pins at the same time share the owner.
    //
    // REQUIRES: the pin is not empty. The owner is not reset or moved from.
    OwnerType& operator*() const noexcept { return mCached->mBlock; }
    OwnerType* operator->() const noexcept { return &mCached->mBlock; }

private:
    friend class CachedBlock<OwnerType>;
    explicit BlockPin(CachedBlock<OwnerType>* cached) noexcept : mCached(cached) {}

    CachedBlock<OwnerType>* mCached = nullptr;
};
} // namespace U::cpp

#endif
