// Hogs: names under which handles are counted.
//
// A module registers a name once and allocates its handles under the identifier. The library
// counts the live handles of each hog and their bytes, and can report at death which hogs
// have handles left. A hog handle is a handle of U_Alloc.h with a header of 16 bytes before
// the data. Sizes are in bytes, without the header.
//
//     U_u32 hog = 0;
//     void** handle = nullptr;
//     void* data = nullptr;
//     if (U_RegisterHog("Thumbnails", &hog) == 0 &&
//         U_NewHogHandle(hog, 1, "Thumbnail", 4096, U_Hog_Clear, &handle) == 0 &&
//         U_LockHogHandle(handle, &data) == 0)
//         static_cast<char*>(data)[4095] = 1;
//     if (handle)
//         U_FreeHogHandle(handle);
//
// Thread safety: all functions may be called on any thread between birth and death. One
// handle is used by one thread at a time.
//
// REQUIRES: only the functions here resize or free a hog handle.
//
// Failures of all functions:
// - A function reports an identifier that is not registered as "bad tracked memory ID" and
//   returns 2. The same holds for a handle that is null, is not live, has no room for the
//   header, or whose header has no registered index. A plain handle whose first bytes happen
//   to contain a registered index, such as 16 zeros, cannot be distinguished from a hog handle.
// - A function reports a null output address and returns 3.

#ifndef U_HOG_H
#define U_HOG_H

#include "U_Types.h"

// Flags of U_NewHogHandle.
enum : U_u32
{
    U_Hog_Clear = 1, // zero the data
    U_Hog_Quiet = 2  // do not report a failure to the user
};

// Registers a hog and stores its identifier in *id. The name is copied. A second registration
// of a name makes a second hog. An identifier is valid until death.
//
// Returns: 0; 4 without memory, or inside a purge request that the table of hogs makes; or 3 for a
// null name or address, or outside the library's life. After a failure *id is unchanged.
// Failures: if the table of hogs cannot grow at once, the library reports and asks the host to
// purge while it holds the lock of the table. The callbacks must not register a hog then, nor
// wait for a thread that registers one.
U_EXPORT U_Status U_RegisterHog(const char* name, U_u32* id);

// Allocates a handle with `size` bytes of data for the hog. Bits of `flags` without a meaning
// are ignored. `location` and `opName` name the allocation in the report of a failure. The
// caller owns *out, which is null after a failure.
//
// Returns: 0; 2; or 4 without memory, or if the data and the header together exceed the largest
// block.
U_EXPORT U_Status U_NewHogHandle(U_u32 id, U_u32 location, const char* opName, U_u64 size,
                                 U_u32 flags, void*** out);

// Frees the handle, also if the handle is locked.
//
// Returns: 0; 2 with nothing freed; or the code of U_GetHandleSize, and then the handle is
// freed but still counted.
// Failures: a handle that is left from an earlier life of the library is freed with
// U_FreeHandle. This function would report such a handle as foreign and subtract the handle
// from the hog that now has the index.
U_EXPORT U_Status U_FreeHogHandle(void** handle);

// Changes the size of the data. Added bytes are not cleared. The handle keeps its value.
//
// Returns: 0; 1 for a locked handle, with a report; 2; or 4 without memory, and for a handle of
// another heap, which is reported. After a failure the handle and its data are unchanged.
U_EXPORT U_Status U_ResizeHogHandle(U_u32 location, const char* opName, U_u64 newSize,
                                    void** handle);

// Locks the handle and stores the address of the data in *data, null after a failure. A handle
// that was locked several times can be resized after as many calls of U_UnlockHogHandle.
//
// Returns: 0 or 2.
U_EXPORT U_Status U_LockHogHandle(void** handle, void** data);

// Unlocks the handle once. Does nothing for a handle that is not locked.
//
// Returns: 0 or 2.
U_EXPORT U_Status U_UnlockHogHandle(void** handle);

// Stores the size of the data, 0 after a failure.
//
// Returns: 0, 2, or the code of U_GetHandleSize.
U_EXPORT U_Status U_GetHogHandleSize(void** handle, U_u64* size);

// Stores in *out a plain handle with a copy of the data. The hog handle is kept. The caller
// owns *out.
//
// Returns: 0; 4 with *out null; 3 for a null hog handle, with *out unchanged; or 2 or the
// code of U_GetHandleSize, with *out an empty handle that the caller owns (see Failures).
// Failures: a purge callback may resize or free the hog handle meanwhile. After a resize *out
// has the earlier size, and only the bytes that the hog handle still has are copied. If the hog
// handle was freed, no byte is copied, *out has the earlier size and uninitialised bytes, and the
// result is 2.
U_EXPORT U_Status U_NewHandleFromHogHandle(void** hogHandle, void*** out);

// Stores in *out a hog handle with a copy of a plain handle's contents. The plain handle is
// kept. The caller owns *out, which is null after a failure.
//
// Returns: as U_NewHogHandle, or the code of U_GetHandleSize.
// Failures:
// - A handle that is not live is reported, and *out is an empty hog handle.
// - A purge callback may resize or free the plain handle meanwhile. *out has the earlier size,
//   and only the bytes that the plain handle still has are copied.
U_EXPORT U_Status U_NewHogHandleFromHandle(U_u32 id, void** handle, void*** out);

// Stores the number of the hog's live handles and the sum of their sizes, each modulo 2^32.
// Both figures are exact and belong to the same moment, also while other threads allocate and
// free.
//
// Returns: 0, or 2 with nothing stored.
U_EXPORT U_Status U_GetHogStats(U_u32 id, U_u32* liveHandles, U_u32* liveBytes);

// If `on` is true, death reports the hogs that have handles left, by name and bytes, with
// severity U_Sev_LEAK, and logs the same text. The setting is off at first and is kept over a
// death. Hogs whose names contain OMF, PNGIO, TIFFIO or WAV keep handles on purpose and are not
// reported.
//
// Returns: 0.
U_EXPORT U_Status U_SetHogReportingOn(bool on);

#endif
