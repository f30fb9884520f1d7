// Copies of handles within the library's heap, and to and from the toolbox.

#include "U_Alloc.h"

#include <algorithm>
#include <cstring>

#include <tolv/toolbox.h>

#include "indep/U_Memory/AllocationLoop.h"
#include "indep/U_Memory/Budget.h"
#include "indep/U_Memory/LibraryHeap.h"
#include "indep/errors/Report.h"
#include "indep/frame/Guard.h"

namespace
{
const U_u32 kDuplicateLocation = kModule | 0x1C;

// The purge callback may have resized or freed the source since `size` was read, and the copy may
// have the address of the freed source. `sizeNow` is 0 for a handle that is not live.
void CopyContents(void** to, void** from, U_u64 size, U_u64 sizeNow)
{
    const U_u64 common = std::min(size, sizeNow);
    if (common && to != from)
        std::memcpy(*to, *from, common);
}

U_u32 ToolboxSize(void** handle)
{
    const int size = GetHandleSize(handle);
    return size > 0 ? static_cast<U_u32>(size) : 0;
}

void** NewPlatformHandle(U_i32 size, const char* opName)
{
    const U_u64 growth = 0; // toolbox handles are not tracked
    Claim claim(static_cast<U_u64>(size), growth, false);
    bool okay = false;
    if (Up_OkayToAllocBlock(claim, &okay))
        return nullptr;
    void** handle = okay ? NewHandle(size) : nullptr;
    if (!handle && opName)
        Up_ReportAllocFailure(kModule, static_cast<U_u64>(size), opName, okay);
    return handle;
}

// Copies a handle of the library's heap into a handle that `allocate` returns.
template <class Allocate> U_Status Duplicate(void** handle, void*** out, Allocate allocate)
{
    U_u32 size = 0;
    if (U_Status failure = U_GetHandleSize(handle, &size))
        return failure;
    *out = allocate(size);
    if (!*out)
        return U_Err_OutOfMemory;
    if (size) // the checked heap has reported a handle that is not live
        CopyContents(*out, handle, size, MEM_GetHandleSize(UHeap(), handle));
    return 0;
}
} // namespace

U_Status U_DuplicateHandle(void** handle, const char* opName, void*** out)
{
    if (!out)
        return BadArgument("U_DuplicateHandle: no place for the copy");
    return Duplicate(handle, out, [&](U_u32 size) {
        return U_AllocateHandle(kDuplicateLocation, opName, size);
    });
}

U_Status U_DuplicateHandleToPlatform(void** handle, const char* opName, void*** out)
{
    if (!out)
        return BadArgument("U_DuplicateHandleToPlatform: no place for the copy");
    return Duplicate(handle, out, [&](U_u32 size) {
        return NewPlatformHandle(static_cast<U_i32>(size), opName);
    });
}

U_Status U_DuplicateHandleFromPlatform(void** platformHandle, const char* opName, void*** out)
{
    if (!out)
        return BadArgument("U_DuplicateHandleFromPlatform: no place for the copy");
    *out = nullptr;
    if (!platformHandle)
        return 0;
    const U_u32 size = ToolboxSize(platformHandle);
    *out = U_AllocateHandle(kModule, opName, size);
    if (*out)
        CopyContents(*out, platformHandle, size, ToolboxSize(platformHandle));
    return 0;
}

U_Status U_DetachResource(void** resource, const char* opName, void*** out)
{
    if (!out)
        return 0;
    *out = nullptr;
    if (!resource)
        return BadArgument("U_DetachResource: no resource");
    const U_u32 size = ToolboxSize(resource);
    void** copy = U_AllocateHandle(0, opName, size);
    if (!copy)
        return U_Err_OutOfMemory;
    CopyContents(copy, resource, size, ToolboxSize(resource));
    DetachResource(resource);
    DisposeHandle(resource);
    *out = copy;
    return ResError();
}
