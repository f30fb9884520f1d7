// Blocks, hogs, objects and the services around them, while allocations fail.

#include <cstring>

#include <tolv/toolbox.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "U_Hog.h"
#include "U_Machine.h"
#include "U_MemServices.h"
#include "tests/faults/Faults.h"

namespace
{
const U_u64 kSize = 1000;
const char kContents[] = "contents of a block";

typedef Faults MemoryFaults;

void** FilledHandle()
{
    void** const handle = U_AllocateHandleQuiet(sizeof(kContents));
    if (!handle)
        return nullptr;
    std::memcpy(*handle, kContents, sizeof(kContents));
    return handle;
}

bool HasContents(const void* data)
{
    return std::memcmp(data, kContents, sizeof(kContents)) == 0;
}

bool IsClear(const void* data)
{
    static const char kZeros[kSize] = {};
    return std::memcmp(data, kZeros, kSize) == 0;
}

Outcome OfHandle(void** handle, bool clear)
{
    const Outcome outcome = handle ? RightIf(!clear || IsClear(*handle)) : kNull;
    U_FreeHandle(handle);
    return outcome;
}

Outcome OfPointer(void* pointer, bool clear)
{
    const Outcome outcome = pointer ? RightIf(!clear || IsClear(pointer)) : kNull;
    U_FreePtr(pointer);
    return outcome;
}

// For a call that stores a handle with the contents, or null.
template <class Make, class Release> Outcome OfMade(Make make, Release release)
{
    void* earlier = nullptr;
    void** made = &earlier;
    const U_Status code = make(&made);
    const Outcome outcome = OfCode(code, made && HasContents(*made), !made);
    release(made);
    return outcome;
}

struct Tracked : U_MemTrackedObject
{
    char mContents[100] = {};
};
} // namespace

TEST_F(MemoryFaults, Blocks)
{
    const auto resizeHandle = [] {
        void** handle = FilledHandle();
        if (!handle)
            return kNull;
        const U_Status code = U_ResizeHandle(1, kSize, "resized", &handle);
        U_u32 size = 0;
        U_GetHandleSize(handle, &size);
        const Outcome outcome = OfCode(code, size == kSize && HasContents(*handle),
                                       size == sizeof(kContents) && HasContents(*handle));
        U_FreeHandle(handle);
        return outcome;
    };
    const auto resizePointer = [] {
        void* const old = U_AllocatePtrQuiet(sizeof(kContents));
        if (!old)
            return kNull;
        std::memcpy(old, kContents, sizeof(kContents));
        void* pointer = old;
        const U_Status code = U_ResizePtr(1, kSize, "resized", &pointer);
        const Outcome outcome =
            OfCode(code, pointer && HasContents(pointer), !pointer && HasContents(old));
        U_FreePtr(pointer ? pointer : old);
        return outcome;
    };
    const auto recycled = [] {
        void* const pointer = U_AllocateRecycledPtr(1, "recycled", kSize);
        U_FreeRecycledPtr(pointer);
        U_PurgeRecycledMemory(~U_u64(0));
        return RightIf(pointer, kNull);
    };
    Walk({
        {"U_AllocateHandle", kNull,
         [] { return OfHandle(U_AllocateHandle(1, "a", kSize), false); }},
        {"U_AllocateHandleClear", kNull,
         [] { return OfHandle(U_AllocateHandleClear(1, "a", kSize), true); }},
        {"U_AllocateHandleQuiet", kNull,
         [] { return OfHandle(U_AllocateHandleQuiet(kSize), false); }},
        {"U_AllocateHandleClearQuiet", kNull,
         [] { return OfHandle(U_AllocateHandleClearQuiet(kSize), true); }},
        {"U_AllocatePtr", kNull, [] { return OfPointer(U_AllocatePtr(1, "a", kSize), false); }},
        {"U_AllocatePtrClear", kNull,
         [] { return OfPointer(U_AllocatePtrClear(1, "a", kSize), true); }},
        {"U_AllocatePtrQuiet", kNull, [] { return OfPointer(U_AllocatePtrQuiet(kSize), false); }},
        {"U_AllocatePtrClearQuiet", kNull,
         [] { return OfPointer(U_AllocatePtrClearQuiet(kSize), true); }},
        {"U_ResizeHandle", kCode4 | kNull, resizeHandle},
        {"U_ResizePtr", kCode4 | kNull, resizePointer},
        {"U_AllocateRecycledPtr", kNull, recycled},
    });
}

TEST_F(MemoryFaults, Copies)
{
    void** const handle = FilledHandle();
    void** const toolbox = NewHandle(sizeof(kContents));
    std::memcpy(*toolbox, kContents, sizeof(kContents));
    const auto fromPlatform = [&] {
        void** copy = handle;
        if (U_DuplicateHandleFromPlatform(toolbox, "copy", &copy))
            return kWrong;
        const Outcome outcome = copy ? RightIf(HasContents(*copy)) : kNull;
        U_FreeHandle(copy);
        return outcome;
    };
    const auto detach = [&] {
        void** const resource = NewHandle(sizeof(kContents));
        if (!resource)
            return kNull;
        std::memcpy(*resource, kContents, sizeof(kContents));
        AddResource(resource);
        const auto detached = [&](void*** out) { return U_DetachResource(resource, "own", out); };
        const Outcome outcome = OfMade(detached, &U_FreeHandle);
        if (outcome != kCode4)
            return outcome;
        DetachResource(resource); // still a resource
        const bool isUnchanged = ResError() == 0 && HasContents(*resource);
        DisposeHandle(resource);
        return isUnchanged ? outcome : kWrong;
    };
    const auto duplicate = [&](void*** out) { return U_DuplicateHandle(handle, "copy", out); };
    const auto toPlatform = [&](void*** out) {
        return U_DuplicateHandleToPlatform(handle, "copy", out);
    };
    Walk({{"U_DuplicateHandle", kCode4, [&] { return OfMade(duplicate, &U_FreeHandle); }},
          {"U_DuplicateHandleToPlatform", kCode4,
           [&] { return OfMade(toPlatform, &DisposeHandle); }},
          {"U_DuplicateHandleFromPlatform", kNull, fromPlatform},
          {"U_DetachResource", kCode4 | kNull, detach}});
    DisposeHandle(toolbox);
    U_FreeHandle(handle);
}

TEST_F(MemoryFaults, Hogs)
{
    U_u32 id = 0;
    ASSERT_EQ(U_RegisterHog("walked", &id), 0);
    void** const plain = FilledHandle();
    void** hog = nullptr;
    ASSERT_EQ(U_NewHogHandleFromHandle(id, plain, &hog), 0);
    const auto counts = [&](U_u32 handles, U_u32 bytes) {
        U_u32 live[2] = {};
        U_GetHogStats(id, &live[0], &live[1]);
        return live[0] == handles && live[1] == bytes;
    };
    const U_u32 kBytes = sizeof(kContents);
    const auto registerHog = [] {
        U_u32 another = 7;
        const U_Status code = U_RegisterHog("another", &another);
        return OfCode(code, another != 7, another == 7);
    };
    const auto newHog = [&] {
        void** made = plain;
        const U_Status code = U_NewHogHandle(id, 1, "hog", kSize, U_Hog_Clear, &made);
        Outcome outcome = OfCode(code, counts(2, kBytes + kSize), !made && counts(1, kBytes));
        void* data = nullptr;
        if (made && (U_LockHogHandle(made, &data) || !IsClear(data)))
            outcome = kWrong;
        if (made)
            U_FreeHogHandle(made);
        return counts(1, kBytes) ? outcome : kWrong;
    };
    const auto resize = [&] {
        void** made = nullptr;
        if (const U_Status failure = U_NewHogHandleFromHandle(id, plain, &made))
            return OfCode(failure, false);
        const U_Status code = U_ResizeHogHandle(1, "hog", kSize, made);
        void* data = nullptr;
        U_LockHogHandle(made, &data);
        const bool whole = data && HasContents(data);
        const Outcome outcome =
            OfCode(code, whole && counts(2, kBytes + kSize), whole && counts(2, 2 * kBytes));
        U_FreeHogHandle(made);
        return outcome;
    };
    const auto toPlain = [&](void*** out) { return U_NewHandleFromHogHandle(hog, out); };
    const auto fromPlain = [&] {
        void** made = plain;
        const U_Status code = U_NewHogHandleFromHandle(id, plain, &made);
        const Outcome outcome = OfCode(code, counts(2, 2 * kBytes), !made && counts(1, kBytes));
        if (made)
            U_FreeHogHandle(made);
        return outcome;
    };
    Walk({{"U_RegisterHog", kCode4, registerHog, true},
          {"U_NewHogHandle", kCode4, newHog},
          {"U_ResizeHogHandle", kCode4, resize},
          {"U_NewHandleFromHogHandle", kCode4, [&] { return OfMade(toPlain, &U_FreeHandle); }},
          {"U_NewHogHandleFromHandle", kCode4, fromPlain}});
    U_FreeHogHandle(hog);
    U_FreeHandle(plain);
}

TEST_F(MemoryFaults, Services)
{
    const auto managers = [] {
        krobase::utility::Guid id;
        id.mBytes[0] = 1;
        std::size_t held = 0;
        try
        {
            U_InstallExternalMemoryManager(id, [] { return std::size_t(100); });
            held = U_GetSizeOfExternalMemoryManagers();
        }
        catch (const std::bad_alloc&)
        {
            if (U_GetSizeOfExternalMemoryManagers() != 0)
                return kWrong; // a failure adds no manager
            throw;
        }
        U_UnInstallExternalMemoryManager(id);
        return RightIf(held == 100);
    };
    const auto tracked = [] {
        delete new Tracked;
        delete[] new (1, "tracked") Tracked[3];
        return kRight;
    };
    const auto trackedBlock = [] {
        void* const block = U_MemTrackedObject::TrackedNew(kSize, true);
        const Outcome outcome = RightIf(IsClear(block));
        U_MemTrackedObject::TrackedDelete(block);
        return outcome;
    };
    Walk({{"U_InstallExternalMemoryManager", kBadAlloc, managers},
          {"U_MemTrackedObject", kBadAlloc, tracked},
          {"U_MemTrackedObject::TrackedNew", kBadAlloc, trackedBlock},
          {"U_ReserveContiguousAddressSpace", kCode4,
           [] { return OfCode(U_ReserveContiguousAddressSpace(kMiB), true); }}});
}
