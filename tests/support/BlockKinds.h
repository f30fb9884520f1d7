// The kinds of blocks, for tests of faults in blocks.

#ifndef TESTS_SUPPORT_BLOCK_KINDS_H
#define TESTS_SUPPORT_BLOCK_KINDS_H

#include "U_Alloc.h"
#include "U_Hog.h"

const U_u32 kBlockLocation = 7 << 16 | 9;

struct Block
{
    void* mOwner = nullptr; // the pointer or the handle
    char* mBytes = nullptr;
};

inline Block AllocatePointer(U_u64 size)
{
    void* const pointer = U_AllocatePtr(kBlockLocation, "op", size);
    return {pointer, static_cast<char*>(pointer)};
}

inline Block AllocateHandle(U_u64 size)
{
    void** const handle = U_AllocateHandle(kBlockLocation, "op", size);
    return {handle, static_cast<char*>(*handle)};
}

// The block shrinks and grows where it lies, or is moved.
inline Block AllocateResized(U_u64 size)
{
    void** handle = U_AllocateHandle(kBlockLocation, "op", size + 1000);
    U_ResizeHandle(0, size / 2, "another operation", &handle);
    U_ResizeHandle(0, size, "another operation", &handle);
    return {handle, static_cast<char*>(*handle)};
}

inline U_u32 sBlockHog = 0; // registered by the test

inline Block AllocateHog(U_u64 size)
{
    void** handle = nullptr;
    U_NewHogHandle(sBlockHog, kBlockLocation, "op", size, 0, &handle);
    return {handle, static_cast<char*>(*handle) + 16};
}

inline Block AllocateRecycled(U_u64 size)
{
    void* const pointer = U_AllocateRecycledPtr(kBlockLocation, "op", size);
    return {pointer, static_cast<char*>(pointer)};
}

inline void FreeHandle(void* handle)
{
    U_FreeHandle(static_cast<void**>(handle));
}

struct BlockKind
{
    const char* mName; // in a report
    Block (*mAllocate)(U_u64 size);
    void (*mFree)(void* owner);
    bool mFindsUnderrun; // the header of a hog handle belongs to the block
};

const BlockKind kBlockKinds[] = {
    {"pointer", &AllocatePointer, [](void* block) { U_FreePtr(block); }, true},
    {"handle", &AllocateHandle, &FreeHandle, true},
    {"handle", &AllocateResized, &FreeHandle, true},
    {"hog handle", &AllocateHog, [](void* handle) { U_FreeHogHandle(static_cast<void**>(handle)); },
     false},
    {"recycled pointer", &AllocateRecycled, [](void* block) { U_FreeRecycledPtr(block); }, true},
};

#endif
