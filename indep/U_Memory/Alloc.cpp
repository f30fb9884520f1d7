#include "U_Alloc.h"

#include "indep/U_Memory/AllocationLoop.h"
#include "indep/U_Memory/Memory.h"
#include "indep/errors/Report.h"

namespace
{
void* AllocatePtr(U_u32 location, const char* opName, U_u64 size, Clearing clearing)
{
    auto attempt = [=](Claim*) { return MEM_NewPtrDebug(UHeap(), size, opName, nullptr, 0); };
    return Up_AllocateShared({location, opName, size, size, clearing, false}, attempt);
}
} // namespace

void** U_AllocateHandle(U_u32 location, const char* opName, U_u64 size)
{
    return AllocateHandle(location, opName, size, kAsIs);
}

void** U_AllocateHandleClear(U_u32 location, const char* opName, U_u64 size)
{
    return AllocateHandle(location, opName, size, kClear);
}

void** U_AllocateHandleQuiet(U_u64 size)
{
    return AllocateHandle(0, nullptr, size, kAsIs);
}

void** U_AllocateHandleClearQuiet(U_u64 size)
{
    return AllocateHandle(0, nullptr, size, kClear);
}

void* U_AllocatePtr(U_u32 location, const char* opName, U_u64 size)
{
    return AllocatePtr(location, opName, size, kAsIs);
}

void* U_AllocatePtrClear(U_u32 location, const char* opName, U_u64 size)
{
    return AllocatePtr(location, opName, size, kClear);
}

void* U_AllocatePtrQuiet(U_u64 size)
{
    return AllocatePtr(0, nullptr, size, kAsIs);
}

void* U_AllocatePtrClearQuiet(U_u64 size)
{
    return AllocatePtr(0, nullptr, size, kClear);
}

U_Status U_ResizeHandle(U_u32 location, U_u64 newSize, const char* opName, void*** handle)
{
    if (!handle || !*handle)
        return BadArgument("U_ResizeHandle: no handle");
    void** resized = *handle;
    auto attempt = [=](Claim*) -> void* {
        return MEM_SetHandleSize(UHeap(), resized, newSize) == 0 ? *resized : nullptr;
    };
    const U_u64 growth = Growth(MEM_GetHandleSize(UHeap(), resized), newSize);
    return Up_AllocateShared({location, opName, newSize, growth, kAsIs, false}, attempt)
               ? 0
               : U_Err_OutOfMemory;
}

U_Status U_ResizePtr(U_u32 location, U_u64 newSize, const char* opName, void** pointer)
{
    if (!pointer)
        return BadArgument("U_ResizePtr: no pointer to a pointer");
    void* oldBlock = *pointer;
    auto attempt = [=](Claim*) { return MEM_ResizePtr(UHeap(), oldBlock, newSize); };
    const U_u64 growth = Growth(MEM_GetPtrSize(UHeap(), oldBlock), newSize);
    *pointer = Up_AllocateShared({location, opName, newSize, growth, kAsIs, false}, attempt);
    return *pointer ? 0 : U_Err_OutOfMemory;
}

U_Status U_ResizePtrQuiet(U_u64 newSize, void** pointer)
{
    return U_ResizePtr(0, newSize, nullptr, pointer);
}

U_Status U_FreeHandle(void** handle)
{
    U_CheckHandleFromHeap(handle);
    MEM_DisposeHandle(UHeap(), handle);
    return 0;
}

U_Status U_FreePtr(void* pointer)
{
    MEM_DisposePtr(UHeap(), pointer);
    return 0;
}
