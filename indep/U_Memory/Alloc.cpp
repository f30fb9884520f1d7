#include "U_Alloc.h"

#include <cstdio>
#include <cstring>
#include <limits>

#include <boost/numeric/conversion/cast.hpp>

#include <win32/memory.h>
#include <wril/wril.h>

#include "U_Assert.h"
#include "U_Report.h"
#include "indep/U_Memory/AllocationLoop.h"
#include "indep/U_Memory/LibraryHeap.h"
#include "indep/errors/Report.h"
#include "indep/frame/Guard.h"
#include "text/OwnTexts.h"

namespace
{
const U_u32 kSizeLocation = kModule | 0x17;
const int kSizeLine = 1859;
const int kCheckLine = 2033;

void* AllocatePtr(U_u32 location, const char* opName, U_u64 size, Clearing clearing)
{
    const auto attempt = [=](Claim*) { return MEM_NewPtrDebug(UHeap(), size, opName, nullptr, 0); };
    void* const block = Up_AllocateShared({location, opName, size, size, clearing}, attempt);
    if (KeepsOrigin(block))
        MEM_SetOrigin(block, {opName, location, false, false});
    return block;
}

// The size of a handle of another heap may not fit. Then reports and returns a negative value.
U_i32 NarrowSize(U_u64 size)
{
    try
    {
        return boost::numeric_cast<U_i32>(size);
    }
    catch (const boost::numeric::bad_numeric_cast& failure)
    {
        U_ReportFailedVerification(kSizeLocation, kSizeLine, nullptr, failure.what());
        return std::numeric_limits<U_i32>::min();
    }
}

// Returns the address in a handle, null if the handle is unreadable. The handle may be misaligned,
// so the address is copied.
void* BlockOf(void** handle)
{
    void* block = nullptr;
    if (!win32::IsBadReadPtr(handle, sizeof(block)))
        std::memcpy(&block, handle, sizeof(block));
    return block;
}

// Reports a handle that is not live. No purge would help, so the user gets no report.
U_Status RefuseHandle(void** handle)
{
    U_CheckHandleFromHeap(handle);
    MEM_GetHandleSize(UHeap(), handle); // the checked heap reports
    return U_Err_OutOfMemory;
}

// The same for a pointer, which the checked heap has reported. Makes the pointer null.
U_Status RefusePtr(void** pointer)
{
    LogSafely([&] { WRIL_sprintf(0, "U", "U_ResizePtr", "%p is no live pointer", *pointer); });
    *pointer = nullptr;
    return U_Err_OutOfMemory;
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
    if (MEM_CheckHandleFromHeap(UHeap(), resized))
        return RefuseHandle(resized);
    // The purge callback may have freed the handle. More memory would not help then, so the attempt
    // ends the loop.
    bool isFreed = false;
    auto attempt = [&](Claim*) -> void* {
        isFreed = MEM_CheckHandleFromHeap(UHeap(), resized) != 0;
        return isFreed || MEM_SetHandleSize(UHeap(), resized, newSize) == 0 ? resized : nullptr;
    };
    const U_u64 growth = Growth(MEM_GetHandleSize(UHeap(), resized), newSize);
    if (!Up_AllocateShared({location, opName, newSize, growth, kAsIs}, attempt))
        return U_Err_OutOfMemory;
    return isFreed ? RefuseHandle(resized) : 0;
}

U_Status U_ResizePtr(U_u32 location, U_u64 newSize, const char* opName, void** pointer)
{
    if (!pointer)
        return BadArgument("U_ResizePtr: no pointer to a pointer");
    void* const oldBlock = *pointer;
    if (!oldBlock)
    {
        *pointer = AllocatePtr(location, opName, newSize, kAsIs);
        return *pointer ? 0 : U_Err_OutOfMemory;
    }
    const U_u64 oldSize = MEM_GetPtrSize(UHeap(), oldBlock);
    if (!oldSize && MEM_CheckPtr(oldBlock))
        return RefusePtr(pointer);
    // The purge callback may have freed the block, as in U_ResizeHandle.
    bool isFreed = false;
    auto attempt = [&](Claim*) {
        void* const block = MEM_ResizePtr(UHeap(), oldBlock, newSize);
        isFreed = !block && MEM_CheckPtr(oldBlock);
        return isFreed ? oldBlock : block;
    };
    const U_u64 growth = Growth(oldSize, newSize);
    void* const block = Up_AllocateShared({location, opName, newSize, growth, kAsIs}, attempt);
    if (isFreed)
        return RefusePtr(pointer);
    *pointer = block;
    return block ? 0 : U_Err_OutOfMemory;
}

U_Status U_ResizePtrQuiet(U_u64 newSize, void** pointer)
{
    return U_ResizePtr(0, newSize, nullptr, pointer);
}

U_Status U_FreeHandle(void** handle)
{
    if (MEM_DisposeHandleFromHeap(UHeap(), handle) == 0)
        return 0;
    U_CheckHandleFromHeap(handle); // reports
    MEM_DisposeHandle(UHeap(), handle);
    return 0;
}

U_Status U_FreePtr(void* pointer)
{
    MEM_DisposePtr(UHeap(), pointer);
    return 0;
}

U_Status U_GetHandleSize(void** handle, U_u32* size)
{
    U_CheckHandleFromHeap(handle);
    if (!handle || !size)
    {
        Up_ReportNuloErrString(kSizeLocation, U_Sev_PROBLEM, U_Err_BadParameter,
                               Up_StringOrEnglish(kTextGettingHandleSize));
        return U_Err_BadParameter;
    }
    const U_i32 narrow = NarrowSize(MEM_GetHandleSize(UHeap(), handle));
    if (narrow < 0)
    {
        Up_ReportSyserrString(kSizeLocation, U_Sev_PROBLEM, narrow,
                              Up_StringOrEnglish(kTextGettingHandleSize));
        return narrow;
    }
    *size = static_cast<U_u32>(narrow);
    return 0;
}

U_Status U_GetPtrSize(void* pointer, U_u64* size)
{
    if (!size)
        return BadArgument("U_GetPtrSize: no place for the size");
    *size = static_cast<U_u32>(MEM_GetPtrSize(UHeap(), pointer));
    return 0;
}

U_Status U_CheckHandleFromHeap(void** handle)
{
    const U_Status foreign = MEM_CheckHandleFromHeap(UHeap(), handle);
    if (foreign)
    {
        char text[128];
        std::snprintf(text, sizeof(text), "Handle is not from U heap. MP:%p P:%p",
                      static_cast<void*>(handle), BlockOf(handle));
        Up_AssertFailed(text, "..\\indep\\U_Memory", kCheckLine);
    }
    return foreign;
}
