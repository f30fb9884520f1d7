#include "U_Hog.h"

#include <new>

#include "U_Alloc.h"
#include "U_Assert.h"
#include "U_Report.h"
#include "indep/U_Memory/HogTable.h"
#include "indep/U_Memory/Memory.h"
#include "indep/errors/Refuse.h"
#include "indep/errors/Strings.h"
#include "indep/frame/Globals.h"

namespace
{
const U_u32 kNoHog = 0xFFFFFFFF;
const U_Status kLockedHog = 1;

const U_u32 kFreePlace = kModule | 0x21;
const U_u32 kLockPlace = kModule | 0x22;
const U_u32 kUnlockPlace = kModule | 0x23;
const U_u32 kSizePlace = kModule | 0x24;
const U_u32 kResizePlace = kModule | 0x25;

const U_u32 kLockedText = 116; // index of a text
const int kConvertLine = 525;  // told when there is no hog handle to convert
const char kConversion[] = "conversion handle";

// In front of the data, and keeps them aligned for any type.
struct alignas(16) HogHeader
{
    U_i32 mLockCount;
    U_u32 mHogIndex;
};
static_assert(sizeof(HogHeader) == 16, "sizes count on it");

HogHeader* HeaderOf(void** handle)
{
    return static_cast<HogHeader*>(*handle);
}

// The hog that the handle counts for; kNoHog if it tells none. What isn't live, or has
// no room for the header, isn't read.
U_u32 HogOf(void** handle)
{
    if (MEM_GetHandleSize(UHeap(), handle) < sizeof(HogHeader))
        return kNoHog;
    const U_u32 index = HeaderOf(handle)->mHogIndex;
    return IsHog(index) ? index : kNoHog;
}

void* DataOf(void** handle)
{
    return HeaderOf(handle) + 1;
}

// The size of a block for that much data; more than any block can have if there is
// none of that size.
U_u64 BlockSize(U_u64 dataSize)
{
    return dataSize > kLargestBlock ? dataSize : dataSize + sizeof(HogHeader);
}

// Of a handle that tells a hog.
U_Status GetDataSize(void** handle, U_u32* size)
{
    U_u32 blockSize = 0;
    if (U_Status failure = U_GetHandleSize(handle, &blockSize))
        return failure;
    *size = blockSize - static_cast<U_u32>(sizeof(HogHeader));
    return 0;
}

void** AllocateBlock(U_u32 location, const char* opName, U_u64 size, U_u32 flags)
{
    if (flags & U_Hog_Quiet)
        return flags & U_Hog_Clear ? U_AllocateHandleClearQuiet(size) : U_AllocateHandleQuiet(size);
    return flags & U_Hog_Clear ? U_AllocateHandleClear(location, opName, size)
                               : U_AllocateHandle(location, opName, size);
}

} // namespace

U_Status U_NewHogHandle(U_u32 id, U_u32 location, const char* opName, U_u64 size, U_u32 flags,
                        void*** out)
{
    if (!out)
        return RefuseArgument("U_NewHogHandle: no place for the handle");
    *out = nullptr;
    const U_u32 index = HogIndexOrId(id);
    if (!IsHog(index))
        return RefuseHog(location);
    void** const handle = AllocateBlock(location, opName, BlockSize(size), flags);
    if (!handle)
        return U_Err_OutOfMemory;
    new (*handle) HogHeader{0, index};
    CountHog(index, 1, static_cast<U_u32>(size));
    *out = handle;
    return 0;
}

U_Status U_FreeHogHandle(void** handle)
{
    const U_u32 index = HogOf(handle);
    if (index == kNoHog)
        return RefuseHog(kFreePlace);
    U_u32 size = 0;
    const U_Status failure = GetDataSize(handle, &size);
    if (!failure)
        CountHog(index, ~0u, 0 - size);
    U_FreeHandle(handle);
    return failure;
}

U_Status U_ResizeHogHandle(U_u32 location, const char* opName, U_u64 newSize, void** handle)
{
    const U_u32 index = HogOf(handle);
    if (index == kNoHog)
        return RefuseHog(kResizePlace);
    if (HeaderOf(handle)->mLockCount)
    {
        Up_ReportErrString(kResizePlace, U_Sev_PROBLEM, Up_StringOrEnglish(kLockedText));
        return kLockedHog;
    }
    U_u32 oldSize = 0;
    if (U_Status failure = GetDataSize(handle, &oldSize))
        return failure;
    if (U_Status failure = U_ResizeHandle(location, BlockSize(newSize), opName, &handle))
        return failure;
    CountHog(index, 0, static_cast<U_u32>(newSize) - oldSize);
    return 0;
}

U_Status U_LockHogHandle(void** handle, void** data)
{
    if (!data)
        return RefuseArgument("U_LockHogHandle: no place for the address");
    *data = nullptr;
    if (HogOf(handle) == kNoHog)
        return RefuseHog(kLockPlace);
    ++HeaderOf(handle)->mLockCount;
    *data = DataOf(handle);
    return 0;
}

U_Status U_UnlockHogHandle(void** handle)
{
    if (HogOf(handle) == kNoHog)
        return RefuseHog(kUnlockPlace);
    HogHeader& header = *HeaderOf(handle);
    if (header.mLockCount > 0)
        --header.mLockCount;
    return 0;
}

U_Status U_GetHogHandleSize(void** handle, U_u64* size)
{
    if (!size)
        return RefuseArgument("U_GetHogHandleSize: no place for the size");
    *size = 0;
    if (HogOf(handle) == kNoHog)
        return RefuseHog(kSizePlace);
    U_u32 dataSize = 0;
    const U_Status failure = GetDataSize(handle, &dataSize);
    *size = dataSize;
    return failure;
}

U_Status U_NewHandleFromHogHandle(void** hogHandle, void*** out)
{
    if (!out)
        return RefuseArgument("U_NewHandleFromHogHandle: no place for the copy");
    if (!hogHandle)
    {
        U_ReportFailedVerification(0, kConvertLine, nullptr, nullptr);
        return U_Err_BadParameter;
    }
    U_u64 size = 0;
    const U_Status failure = U_GetHogHandleSize(hogHandle, &size);
    *out = U_AllocateHandle(0, kConversion, size);
    if (failure)
        return failure;
    if (!*out)
        return U_Err_OutOfMemory;
    void* data = nullptr;
    if (U_Status refused = U_LockHogHandle(hogHandle, &data))
        return refused;
    CopyBytes(**out, data, size);
    return U_UnlockHogHandle(hogHandle);
}

U_Status U_NewHogHandleFromHandle(U_u32 id, void** handle, void*** out)
{
    if (!out)
        return RefuseArgument("U_NewHogHandleFromHandle: no place for the copy");
    U_u32 size = 0;
    const U_Status failure = U_GetHandleSize(handle, &size);
    *out = nullptr;
    if (failure)
        return failure;
    if (U_Status refused = U_NewHogHandle(id, 0, kConversion, size, 0, out))
        return refused;
    void* data = nullptr;
    if (U_Status refused = U_LockHogHandle(*out, &data))
        return refused;
    CopyBytes(data, *handle, size);
    return U_UnlockHogHandle(*out);
}
