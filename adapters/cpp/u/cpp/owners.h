// Owners of the library's blocks: move-only objects that free their block at the end of a scope.
//
//     auto thumbnail = U::cpp::Handle::AllocateClear(1, "Thumbnail", 4096);
//     thumbnail.Resize(1, "Thumbnail", 8192);
//     thumbnail.As<char>()[8191] = 1; // the block may have moved
//     U::cpp::Pointer row(U_AllocatePtrQuiet(512));
//     const bool hasRoom = bool(row); // false if the budget refuses the block
//
// An owner is made in two ways:
// - Allocate and AllocateClear throw std::bad_alloc for a block that is refused.
// - The constructor takes over a block that the caller has allocated, or null. So a host for which
//   a refused block is an ordinary answer calls the bare function and queries the owner.
//
// An owner has the size of a pointer, and allocates nothing but its block. `location` and `opName`
// name the allocation in the report of a failure (U_Alloc.h).
//
// Thread safety: an owner is as thread-safe as a plain pointer. The functions that it calls may
// be called on any thread between birth and death.
//
// REQUIRES: an owner of a block is destroyed before the library's death. The reports that a
// destructor may cause, for a handle that is not live, throw nothing (U_Interact.h).

#ifndef U_CPP_OWNERS_H
#define U_CPP_OWNERS_H

#include <limits>
#include <new>
#include <utility>

#include <tolv/toolbox.h>

#include <U_Alloc.h>
#include <U_Hog.h>

#include <u/cpp/errors.h>

namespace U::cpp
{
// The base of all owners. The function Free of `Family` frees a block.
template <class Block, class Family> class Owner
{
public:
    // The type of the block: void* or void**.
    typedef Block BlockType;

    // Makes an empty owner.
    Owner() noexcept = default;

    // Takes ownership of `block`, which may be null.
    explicit Owner(Block block) noexcept : mBlock(block) {}

    // Take the block of `other`, which is empty afterwards. The assignment frees the old block.
    Owner(Owner&& other) noexcept : mBlock(other.Release()) {}
    Owner& operator=(Owner&& other) noexcept
    {
        Reset(other.Release());
        return *this;
    }
    ~Owner() { Reset(); }

    // Returns the block, which the owner keeps; null for an empty owner.
    Block Get() const noexcept { return mBlock; }

    // Returns true if the owner has a block.
    explicit operator bool() const noexcept { return mBlock != nullptr; }

    // Returns the block, which the caller owns from now on.
    [[nodiscard]] Block Release() noexcept { return std::exchange(mBlock, nullptr); }

    // Frees the block and takes ownership of another one, or of none.
    void Reset(Block block = nullptr) noexcept
    {
        if (const Block old = std::exchange(mBlock, block))
            Family::Free(old);
    }

protected:
    // Returns an owner of a block that must not be null. Throws: std::bad_alloc for null.
    template <class Derived> static Derived Require(Block block)
    {
        if (!block)
            throw std::bad_alloc();
        return Derived(block);
    }

private:
    Block mBlock = nullptr;
};

// An owner as the out-parameter of a function that stores a new block:
//
//     U::cpp::Handle copy;
//     U::cpp::Check(U_DuplicateHandle(handle.Get(), "copy", U::cpp::Out(copy)));
//
// At the end of the expression the owner frees its old block and takes ownership of the new one.
// If the function stores nothing, the owner is empty.
template <class OwnerType> class Out
{
public:
    // REQUIRES: `owner` outlives the expression.
    explicit Out(OwnerType& owner) noexcept : mOwner(owner) {}
    ~Out() { mOwner.Reset(mBlock); }
    Out(const Out&) = delete;
    Out& operator=(const Out&) = delete;

    // Returns the address at which the function stores the block.
    operator typename OwnerType::BlockType *() noexcept { return &mBlock; }

private:
    OwnerType& mOwner;
    typename OwnerType::BlockType mBlock = nullptr;
};

namespace detail
{
struct PointerFamily
{
    static void Free(void* block) noexcept { U_FreePtr(block); }
};
struct RecycledFamily
{
    static void Free(void* block) noexcept { U_FreeRecycledPtr(block); }
};
struct HandleFamily
{
    static void Free(void** handle) noexcept { U_FreeHandle(handle); }
};
struct HogFamily
{
    static void Free(void** handle) noexcept { U_FreeHogHandle(handle); }
};
struct ToolboxFamily
{
    static void Free(void** handle) noexcept { DisposeHandle(handle); }
};
} // namespace detail

// Owns a pointer of U_AllocatePtr.
class Pointer : public Owner<void*, detail::PointerFamily>
{
public:
    // The constructors of Owner.
    using Owner::Owner;

    // Return a new block of `size` bytes; that of AllocateClear is cleared to 0.
    //
    // Throw: std::bad_alloc.
    static Pointer Allocate(U_u32 location, const char* opName, U_u64 size)
    {
        return Require<Pointer>(U_AllocatePtr(location, opName, size));
    }
    static Pointer AllocateClear(U_u32 location, const char* opName, U_u64 size)
    {
        return Require<Pointer>(U_AllocatePtrClear(location, opName, size));
    }

    // Returns the address of the data, null for an empty owner. A resize may change the address.
    template <class T> T* As() const noexcept { return static_cast<T*>(Get()); }

    // Returns the size of the block in bytes, as it was allocated; 0 for an empty owner.
    U_u64 Size() const
    {
        U_u64 size = 0;
        Check(U_GetPtrSize(Get(), &size));
        return size;
    }

    // Resizes the block, which may move. Added bytes are not cleared. An empty owner allocates.
    //
    // Throws: std::bad_alloc; the owner keeps the old block then.
    void Resize(U_u32 location, const char* opName, U_u64 newSize)
    {
        void* block = Get();
        Check(U_ResizePtr(location, newSize, opName, &block));
        static_cast<void>(Release()); // the resize has freed the old address
        Reset(block);
    }
};

// Owns a recycled pointer of U_AllocateRecycledPtr.
class RecycledPointer : public Owner<void*, detail::RecycledFamily>
{
public:
    // The constructors of Owner.
    using Owner::Owner;

    // Returns a block of at least `size` bytes, whose content is undefined.
    //
    // Throws: std::bad_alloc.
    static RecycledPointer Allocate(U_u32 location, const char* opName, U_u64 size)
    {
        return Require<RecycledPointer>(U_AllocateRecycledPtr(location, opName, size));
    }

    // Returns the address of the data, null for an empty owner.
    template <class T> T* As() const noexcept { return static_cast<T*>(Get()); }
};

// Owns a handle of U_AllocateHandle.
class Handle : public Owner<void**, detail::HandleFamily>
{
public:
    // The constructors of Owner.
    using Owner::Owner;

    // Return a new block of `size` bytes; that of AllocateClear is cleared to 0.
    //
    // Throw: std::bad_alloc.
    static Handle Allocate(U_u32 location, const char* opName, U_u64 size)
    {
        return Require<Handle>(U_AllocateHandle(location, opName, size));
    }
    static Handle AllocateClear(U_u32 location, const char* opName, U_u64 size)
    {
        return Require<Handle>(U_AllocateHandleClear(location, opName, size));
    }

    // Returns the address of the data, null for an empty owner. A resize changes the address.
    template <class T> T* As() const noexcept { return Get() ? static_cast<T*>(*Get()) : nullptr; }

    // Returns the size of the block in bytes, as it was allocated.
    //
    // Throws: StatusError with 3 for an empty owner.
    U_u64 Size() const
    {
        U_u32 size = 0;
        Check(U_GetHandleSize(Get(), &size));
        return size;
    }

    // Resizes the block, which may move. The handle keeps its value. Added bytes are not cleared.
    //
    // Throws: std::bad_alloc; StatusError with 3 for an empty owner. The block is unchanged then.
    // REQUIRES: the owner alone frees the handle. U_CheckHandleFromHeap reports a handle that was
    // freed elsewhere, and the exception is std::bad_alloc, too.
    void Resize(U_u32 location, const char* opName, U_u64 newSize)
    {
        void** handle = Get();
        Check(U_ResizeHandle(location, newSize, opName, &handle));
    }
};

// Owns a hog handle of U_NewHogHandle. HogLock gives access to the data.
class HogHandle : public Owner<void**, detail::HogFamily>
{
public:
    // The constructors of Owner.
    using Owner::Owner;

    // Returns a new block of `size` bytes. `hog` is an identifier of U_RegisterHog. `flags` are
    // those of U_NewHogHandle.
    //
    // Throws: std::bad_alloc; StatusError with 2 for an unknown identifier.
    static HogHandle Allocate(U_u32 hog, U_u32 location, const char* opName, U_u64 size,
                              U_u32 flags = 0)
    {
        HogHandle handle;
        Check(U_NewHogHandle(hog, location, opName, size, flags, Out<HogHandle>(handle)));
        return handle;
    }

    // Returns the size of the block in bytes, as it was allocated.
    //
    // Throws: StatusError with 2 for an empty owner.
    U_u64 Size() const
    {
        U_u64 size = 0;
        Check(U_GetHogHandleSize(Get(), &size));
        return size;
    }

    // Resizes the block, which may move. The handle keeps its value. Added bytes are not cleared.
    //
    // Throws: std::bad_alloc; StatusError with 1 while a HogLock holds the handle, with 2 for an
    // empty owner. The data is unchanged then.
    void Resize(U_u32 location, const char* opName, U_u64 newSize)
    {
        Check(U_ResizeHogHandle(location, opName, newSize, Get()));
    }
};

// Locks a hog handle for a scope: the data keeps its address.
//
// REQUIRES: the handle is not freed while the lock exists.
class HogLock
{
public:
    // Throws: StatusError with 2 for an empty owner.
    explicit HogLock(const HogHandle& handle) : mHandle(handle.Get())
    {
        Check(U_LockHogHandle(mHandle, &mData));
    }
    HogLock(HogLock&& other) noexcept
        : mHandle(std::exchange(other.mHandle, nullptr)), mData(std::exchange(other.mData, nullptr))
    {
    }
    HogLock& operator=(HogLock&&) = delete;
    ~HogLock()
    {
        if (mHandle)
            U_UnlockHogHandle(mHandle);
    }

    // Returns the address of the data.
    template <class T> T* As() const noexcept { return static_cast<T*>(mData); }

private:
    void** mHandle;
    void* mData = nullptr;
};

// Owns a handle of the toolbox, which is outside the budget. An owner may also be the
// out-parameter of U_DuplicateHandleToPlatform.
class ToolboxHandle : public Owner<void**, detail::ToolboxFamily>
{
public:
    // The constructors of Owner.
    using Owner::Owner;

    // Returns a new block of `size` bytes, whose content is undefined.
    //
    // Throws: std::bad_alloc, also for a size above 0x7FFFFFFF.
    static ToolboxHandle Allocate(U_u64 size)
    {
        const bool isPossible = size <= U_u64(std::numeric_limits<int>::max());
        return Require<ToolboxHandle>(isPossible ? NewHandle(static_cast<int>(size)) : nullptr);
    }

    // Returns the address of the data, null for an empty owner.
    template <class T> T* As() const noexcept { return Get() ? static_cast<T*>(*Get()) : nullptr; }

    // Returns the size of the block in bytes, 0 for an empty owner.
    U_u64 Size() const noexcept { return static_cast<U_u64>(GetHandleSize(Get())); }
};
} // namespace U::cpp

#endif
