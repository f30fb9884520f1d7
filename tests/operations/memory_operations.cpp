#include <cstring>

#include <krobase/guid.h>
#include <tolv/toolbox.h>

#include "U_Alloc.h"
#include "U_Hog.h"
#include "U_Machine.h"
#include "U_MemServices.h"
#include "tests/operations/Operations.h"

namespace
{
// Returns the outcome of a new block, which is freed. `clear`: all bytes must be 0.
Outcome OfHandle(const Own& own, void** handle, bool clear)
{
    if (!handle)
        return kNull;
    const Outcome outcome = RightIf(!clear || IsFilled(*handle, 0, own.size));
    std::memset(*handle, own.number, own.size);
    U_FreeHandle(handle);
    return outcome;
}

Outcome OfPointer(const Own& own, void* pointer, bool clear)
{
    if (!pointer)
        return kNull;
    const Outcome outcome = RightIf(!clear || IsFilled(pointer, 0, own.size));
    std::memset(pointer, own.number, own.size);
    U_FreePtr(pointer);
    return outcome;
}

// For a call that stores a handle with the contents of the thread's handles, or null.
template <class Make, class Release> Outcome OfMade(const Own& own, Make make, Release release)
{
    void* earlier = nullptr;
    void** made = &earlier;
    const U_Status code = make(&made);
    const Outcome outcome = OfCode(code, made && IsFilled(*made, own.number, Own::kFilled), !made);
    release(made);
    return outcome;
}

template <class Copy, class Release> Outcome OfCopy(const Own& own, Copy copy, Release release)
{
    return OfMade(
        own, [&](void*** out) { return copy(own.handle, "copy", out); }, release);
}

Outcome ResizeHandle(Own& own)
{
    void** handle = U_AllocateHandleQuiet(own.size);
    if (!handle)
        return kNull;
    std::memset(*handle, own.number, own.size);
    const U_Status code = U_ResizeHandle(1, 3 * own.size, "resized", &handle);
    U_u32 size = 0;
    U_GetHandleSize(handle, &size);
    const bool isWhole = IsFilled(*handle, own.number, own.size);
    U_FreeHandle(handle);
    return OfCode(code, isWhole && size == 3 * own.size, isWhole && size == own.size);
}

Outcome ResizePointer(Own& own)
{
    void* const old = U_AllocatePtrQuiet(own.size);
    if (!old)
        return kNull;
    std::memset(old, own.number, own.size);
    void* pointer = old;
    const U_Status code = U_ResizePtr(1, 3 * own.size, "resized", &pointer);
    void* const left = pointer ? pointer : old;
    const bool isWhole = IsFilled(left, own.number, own.size);
    U_FreePtr(left);
    return OfCode(code, isWhole && pointer, isWhole && !pointer);
}

Outcome ResizeNothing(Own& own)
{
    void* pointer = nullptr;
    const U_Status code = U_ResizePtrQuiet(own.size, &pointer);
    const Outcome outcome = OfCode(code, pointer, !pointer);
    U_FreePtr(pointer);
    return outcome;
}

Outcome Recycle(Own& own)
{
    void* const pointer = U_AllocateRecycledPtr(1, "recycled", own.size);
    if (!pointer)
        return kNull;
    std::memset(pointer, own.number, own.size);
    U_FreeRecycledPtr(pointer);
    U_PurgeRecycledMemory(~U_u64(0));
    return kRight;
}

Outcome CopyFromPlatform(Own& own)
{
    void** copy = own.handle;
    if (U_DuplicateHandleFromPlatform(own.toolboxHandle, "copy", &copy))
        return kWrong;
    const Outcome outcome = copy ? RightIf(IsFilled(*copy, own.number, Own::kFilled)) : kNull;
    U_FreeHandle(copy);
    return outcome;
}

Outcome DetachResourceOf(Own& own)
{
    void** const resource = NewHandle(Own::kFilled);
    if (!resource)
        return kNull;
    std::memset(*resource, own.number, Own::kFilled);
    AddResource(resource);
    const auto detach = [&](void*** out) { return U_DetachResource(resource, "own", out); };
    const Outcome outcome = OfMade(own, detach, &U_FreeHandle);
    if (outcome != kCode4)
        return outcome;
    DetachResource(resource); // still a resource
    const bool isIntact = ResError() == 0 && IsFilled(*resource, own.number, Own::kFilled);
    DisposeHandle(resource);
    return isIntact ? kCode4 : kWrong;
}

// Returns whether the thread's hog has these handles and bytes besides its own handle.
bool HogHas(const Own& own, U_u32 handles, U_u32 bytes)
{
    U_u32 live[2] = {};
    U_GetHogStats(own.hog, &live[0], &live[1]);
    return live[0] == handles + 1 && live[1] == bytes + Own::kFilled;
}

const void* HogData(void** handle)
{
    void* data = nullptr;
    return handle && U_LockHogHandle(handle, &data) == 0 ? data : nullptr;
}

Outcome OfHog(Own& own, void** made, Outcome outcome)
{
    if (made)
        U_FreeHogHandle(made);
    return HogHas(own, 0, 0) ? outcome : kWrong;
}

Outcome MakeHog(Own& own)
{
    void** made = own.handle;
    const U_Status code = U_NewHogHandle(own.hog, 1, "hog", own.size, U_Hog_Clear, &made);
    const void* const data = HogData(made);
    return OfHog(own, made,
                 OfCode(code, data && IsFilled(data, 0, own.size) && HogHas(own, 1, own.size),
                        !made && HogHas(own, 0, 0)));
}

Outcome ResizeHog(Own& own)
{
    void** made = nullptr;
    if (const U_Status failure = U_NewHogHandleFromHandle(own.hog, own.handle, &made))
        return OfCode(failure, false);
    const U_Status code = U_ResizeHogHandle(1, "hog", own.size + Own::kFilled, made);
    const void* const data = HogData(made);
    const bool isWhole = data && IsFilled(data, own.number, Own::kFilled);
    return OfHog(own, made,
                 OfCode(code, isWhole && HogHas(own, 1, own.size + Own::kFilled),
                        isWhole && HogHas(own, 1, Own::kFilled)));
}

Outcome HogFromHandle(Own& own)
{
    void** made = own.handle;
    const U_Status code = U_NewHogHandleFromHandle(own.hog, own.handle, &made);
    return OfHog(own, made, OfCode(code, HogHas(own, 1, Own::kFilled), !made && HogHas(own, 0, 0)));
}

// A manager whose installation has failed is not called.
Outcome InstallManager(Own& own)
{
    krobase::utility::Guid id;
    id.mBytes[0] = own.number;
    std::size_t held = 0;
    const auto isNotCalled = [&] {
        own.measured = 0;
        U_GetSizeOfExternalMemoryManagers();
        return own.measured == 0;
    };
    const auto measure = [&own] {
        ++own.measured;
        return std::size_t(100);
    };
    RunOrLeaveIntact([&] { U_InstallExternalMemoryManager(id, measure); }, isNotCalled);
    held = U_GetSizeOfExternalMemoryManagers();
    U_UnInstallExternalMemoryManager(id);
    return RightIf(held >= 100 && own.measured);
}

struct Tracked : U_MemTrackedObject
{
    char mContents[100] = {};
};
} // namespace

Operations MemoryOperations()
{
    return {
        {"U_AllocateHandle", kNull,
         [](Own& own) { return OfHandle(own, U_AllocateHandle(1, "a", own.size), false); }},
        {"U_AllocateHandleClear", kNull,
         [](Own& own) { return OfHandle(own, U_AllocateHandleClear(1, "a", own.size), true); }},
        {"U_AllocateHandleQuiet", kNull,
         [](Own& own) { return OfHandle(own, U_AllocateHandleQuiet(own.size), false); }},
        {"U_AllocateHandleClearQuiet", kNull,
         [](Own& own) { return OfHandle(own, U_AllocateHandleClearQuiet(own.size), true); }},
        {"U_AllocatePtr", kNull,
         [](Own& own) { return OfPointer(own, U_AllocatePtr(1, "a", own.size), false); }},
        {"U_AllocatePtrClear", kNull,
         [](Own& own) { return OfPointer(own, U_AllocatePtrClear(1, "a", own.size), true); }},
        {"U_AllocatePtrQuiet", kNull,
         [](Own& own) { return OfPointer(own, U_AllocatePtrQuiet(own.size), false); }},
        {"U_AllocatePtrClearQuiet", kNull,
         [](Own& own) { return OfPointer(own, U_AllocatePtrClearQuiet(own.size), true); }},
        {"U_ResizeHandle", kCode4 | kNull, &ResizeHandle},
        {"U_ResizePtr", kCode4 | kNull, &ResizePointer},
        {"U_ResizePtrQuiet", kCode4, &ResizeNothing},
        {"U_AllocateRecycledPtr", kNull, &Recycle},
        {"U_DuplicateHandle", kCode4,
         [](Own& own) { return OfCopy(own, &U_DuplicateHandle, &U_FreeHandle); }},
        {"U_DuplicateHandleToPlatform", kCode4,
         [](Own& own) { return OfCopy(own, &U_DuplicateHandleToPlatform, &DisposeHandle); }},
        {"U_DuplicateHandleFromPlatform", kNull, &CopyFromPlatform},
        {"U_DetachResource", kCode4 | kNull, &DetachResourceOf},
        {"U_RegisterHog", kCode4,
         [](Own&) {
             U_u32 another = 7;
             const U_Status code = U_RegisterHog("another", &another);
             return OfCode(code, another != 7, another == 7);
         },
         true},
        {"U_NewHogHandle", kCode4, &MakeHog},
        {"U_ResizeHogHandle", kCode4, &ResizeHog},
        {"U_NewHandleFromHogHandle", kCode4,
         [](Own& own) {
             return OfMade(
                 own, [&](void*** out) { return U_NewHandleFromHogHandle(own.hogHandle, out); },
                 &U_FreeHandle);
         }},
        {"U_NewHogHandleFromHandle", kCode4, &HogFromHandle},
        {"U_InstallExternalMemoryManager", kBadAlloc, &InstallManager},
        {"U_MemTrackedObject", kBadAlloc,
         [](Own&) {
             delete new Tracked;
             delete[] new (1, "tracked") Tracked[3];
             return kRight;
         }},
        {"U_MemTrackedObject::TrackedNew", kBadAlloc,
         [](Own& own) {
             void* const block = U_MemTrackedObject::TrackedNew(own.size, true);
             const Outcome outcome = RightIf(IsFilled(block, 0, own.size));
             U_MemTrackedObject::TrackedDelete(block);
             return outcome;
         }},
        {"U_ReserveContiguousAddressSpace", kCode4,
         [](Own&) { return OfCode(U_ReserveContiguousAddressSpace(1 << 20), true); }},
        {"U_ScReserveContiguousAddressSpace", kThrown4,
         [](Own&) {
             U_ScReserveContiguousAddressSpace(1 << 20).Release();
             return kRight;
         }},
    };
}
