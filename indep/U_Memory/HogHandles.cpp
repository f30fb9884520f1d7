#include "U_Hog.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>

#include "U_Alloc.h"
#include "U_Assert.h"
#include "U_Report.h"
#include "indep/U_Memory/AllocationLoop.h"
#include "indep/U_Memory/HogTable.h"
#include "indep/U_Memory/LibraryHeap.h"
#include "indep/errors/Report.h"
#include "indep/frame/Guard.h"
#include "text/OwnTexts.h"

namespace
{
const U_Status kLockedHog = 1;

const U_u32 kFreeLocation = kModule | 0x21;
const U_u32 kLockLocation = kModule | 0x22;
const U_u32 kUnlockLocation = kModule | 0x23;
const U_u32 kSizeLocation = kModule | 0x24;
const U_u32 kResizeLocation = kModule | 0x25;

const int kConvertLine = 525; // reported for a null hog handle
const char kConversion[] = "conversion handle";

// The bytes before the data. Keeps the data aligned for any type.
struct alignas(16) HogHeader
{
    U_i32 mLockCount;
    U_u32 mHogIndex;
    std::uintptr_t mMark; // the result of MarkOf for a handle made by U_NewHogHandle
};
static_assert(sizeof(HogHeader) == 16, "sizes count on it");

// Returns the mark of a handle in this life of the library. A heap that has handles left at death
// is not used again, so no leaked handle has the mark of a later life.
std::uintptr_t MarkOf(void** handle, MEM_HeapRef heap)
{
    return reinterpret_cast<std::uintptr_t>(handle) ^ reinterpret_cast<std::uintptr_t>(heap);
}

// Returns the handle that has the mark.
void** MarkedHandle(std::uintptr_t mark, MEM_HeapRef heap)
{
    return reinterpret_cast<void**>(mark ^ reinterpret_cast<std::uintptr_t>(heap));
}

// Returns the header if its index is registered, otherwise null. Does not read a handle that is not
// live or has no room for the header.
HogHeader* FindHeader(void** handle, U_u64 blockSize)
{
    if (!handle || blockSize < sizeof(HogHeader))
        return nullptr;
    HogHeader* const header = static_cast<HogHeader*>(*handle);
    return IsHog(header->mHogIndex) ? header : nullptr;
}

HogHeader* FindHeader(void** handle)
{
    return FindHeader(handle, MEM_GetHandleSize(UHeap(), handle));
}

// Returns the size of a block for the data. For data that are too large, returns a size that no
// block can have.
U_u64 BlockSize(U_u64 dataSize)
{
    return dataSize > kLargestBlock ? dataSize : dataSize + sizeof(HogHeader);
}

// Reports a handle that is no hog handle of this life.
U_Status RefuseHandle(U_u32 location, void** handle)
{
    MEM_ReportNoHog(handle, nullptr);
    return RefuseHog(location);
}

// Stores the size of the data. Reports a handle of another heap.
//
// Returns: as U_GetHandleSize.
// REQUIRES: FindHeader(handle) is not null.
U_Status GetDataSize(void** handle, U_u64* size)
{
    U_u32 blockSize = 0;
    if (const U_Status failure = U_GetHandleSize(handle, &blockSize))
        return failure;
    *size = blockSize - sizeof(HogHeader);
    return 0;
}

// Frees a handle that has a registered index but was not made by U_NewHogHandle in this life: a
// copy of a hog handle, possibly in another heap. A copy has the mark of the original.
[[gnu::noinline]] U_Status FreeUnmarked(void** handle, const HogHeader& header)
{
    MEM_ReportNoHog(handle, MarkedHandle(header.mMark, UHeap()));
    U_u64 size = 0;
    const U_Status failure = GetDataSize(handle, &size);
    if (!failure)
        CountHog(header.mHogIndex, -1, -static_cast<U_i64>(size));
    U_FreeHandle(handle);
    return failure;
}

U_Status RefuseLockedHog()
{
    Up_ReportErrString(kResizeLocation, U_Sev_PROBLEM, Up_StringOrEnglish(kTextLockedHandle));
    return kLockedHog;
}
} // namespace

U_Status U_NewHogHandle(U_u32 id, U_u32 location, const char* opName, U_u64 size, U_u32 flags,
                        void*** out)
{
    if (!out)
        return BadArgument("U_NewHogHandle: no place for the handle");
    *out = nullptr;
    const U_u32 index = HogIndexOrId(id);
    if (!IsHog(index))
        return RefuseHog(location);
    *out = AllocateHandle(location, flags & U_Hog_Quiet ? nullptr : opName, BlockSize(size),
                          Clearing((flags & U_Hog_Clear) != 0), true);
    void** const handle = *out;
    if (!handle)
        return U_Err_OutOfMemory;
    new (*handle) HogHeader{0, index, MarkOf(handle, UHeap())};
    CountHog(index, 1, static_cast<U_i64>(size));
    return 0;
}

U_Status U_FreeHogHandle(void** handle)
{
    const MEM_HeapRef heap = UHeap();
    const U_u64 blockSize = MEM_GetHandleSize(heap, handle);
    const HogHeader* const header = FindHeader(handle, blockSize);
    if (!header)
        return RefuseHandle(kFreeLocation, handle);
    if (header->mMark != MarkOf(handle, heap))
        return FreeUnmarked(handle, *header);
    CountHog(header->mHogIndex, -1, static_cast<U_i64>(sizeof(HogHeader) - blockSize));
    MEM_DisposeHogHandle(heap, handle);
    return 0;
}

U_Status U_ResizeHogHandle(U_u32 location, const char* opName, U_u64 newSize, void** handle)
{
    const HogHeader* const header = FindHeader(handle);
    if (!header)
        return RefuseHandle(kResizeLocation, handle);
    const U_u32 index = header->mHogIndex;
    if (header->mLockCount)
        return RefuseLockedHog();
    if (U_CheckHandleFromHeap(handle)) // reports
        return U_Err_OutOfMemory;
    const U_u64 newBlock = BlockSize(newSize);
    // The purge callback may have resized, locked or freed the handle. A handle that is locked or
    // freed ends the loop.
    U_u64 oldBlock = 0;
    bool isLocked = false;
    bool isFreed = false;
    auto attempt = [&](Claim*) -> void* {
        const HogHeader* const headerNow = FindHeader(handle);
        isFreed = !headerNow;
        isLocked = headerNow && headerNow->mLockCount;
        if (isFreed || isLocked)
            return handle;
        oldBlock = MEM_GetHandleSize(UHeap(), handle);
        return MEM_SetHogHandleSize(UHeap(), handle, newBlock) == 0 ? handle : nullptr;
    };
    const U_u64 growth = Growth(MEM_GetHandleSize(UHeap(), handle), newBlock);
    if (!Up_AllocateShared({location, opName, newBlock, growth, kAsIs}, attempt))
        return U_Err_OutOfMemory;
    if (isFreed)
        return RefuseHandle(kResizeLocation, handle);
    if (isLocked)
        return RefuseLockedHog();
    CountHog(index, 0, static_cast<U_i64>(newBlock - oldBlock));
    return 0;
}

U_Status U_LockHogHandle(void** handle, void** data)
{
    if (!data)
        return BadArgument("U_LockHogHandle: no place for the address");
    *data = nullptr;
    HogHeader* const header = FindHeader(handle);
    if (!header)
        return RefuseHandle(kLockLocation, handle);
    ++header->mLockCount;
    *data = header + 1;
    return 0;
}

U_Status U_UnlockHogHandle(void** handle)
{
    HogHeader* const header = FindHeader(handle);
    if (!header)
        return RefuseHandle(kUnlockLocation, handle);
    if (header->mLockCount > 0)
        --header->mLockCount;
    return 0;
}

U_Status U_GetHogHandleSize(void** handle, U_u64* size)
{
    if (!size)
        return BadArgument("U_GetHogHandleSize: no place for the size");
    *size = 0;
    if (!FindHeader(handle))
        return RefuseHandle(kSizeLocation, handle);
    return GetDataSize(handle, size);
}

U_Status U_NewHandleFromHogHandle(void** hogHandle, void*** out)
{
    if (!out)
        return BadArgument("U_NewHandleFromHogHandle: no place for the copy");
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
    // The purge callback may have freed the hog handle, and the copy may have its address.
    if (*out == hogHandle)
        return RefuseHog(kLockLocation);
    void* data = nullptr;
    if (U_Status refused = U_LockHogHandle(hogHandle, &data))
        return refused;
    // The purge callback may have resized the hog handle.
    const U_u64 sizeNow = MEM_GetHandleSize(UHeap(), hogHandle) - sizeof(HogHeader);
    if (const U_u64 common = std::min(size, sizeNow))
        std::memcpy(**out, data, common);
    return U_UnlockHogHandle(hogHandle);
}

U_Status U_NewHogHandleFromHandle(U_u32 id, void** handle, void*** out)
{
    if (!out)
        return BadArgument("U_NewHogHandleFromHandle: no place for the copy");
    U_u32 size = 0;
    const U_Status failure = U_GetHandleSize(handle, &size);
    *out = nullptr;
    if (failure)
        return failure;
    if (U_Status refused = U_NewHogHandle(id, 0, kConversion, size, 0, out))
        return refused;
    // The purge callback may have resized the handle, or freed it, and the copy may have
    // its address. A handle that is not live has no size and is not read.
    const U_u64 sizeNow = size && *out != handle ? MEM_GetHandleSize(UHeap(), handle) : 0;
    if (sizeNow) // a refusal, which leaves a null handle, is not 0
        // NOLINTNEXTLINE(clang-analyzer-core.NullDereference)
        std::memcpy(static_cast<HogHeader*>(**out) + 1, *handle, std::min<U_u64>(size, sizeNow));
    return 0;
}
