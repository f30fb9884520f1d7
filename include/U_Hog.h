// Hogs: names under which handles are counted.
//
// A module registers a name once and allocates its handles under the identifier. The library
// counts the live handles of each hog and their bytes, and can report at death which hogs
// have handles left. A hog handle is a handle of U_Alloc.h with a header of 16 bytes before
// the data. Sizes are in bytes, without the header.
//
//     U_u32 hog = 0;
//     void** handle = nullptr;
//     if (U_RegisterHog("Thumbnails", &hog) == 0)
//         U_NewHogHandle(hog, 1, "Thumbnail", 4096, U_Hog_Clear, &handle);
//     U_FreeHogHandle(handle);
//
// Thread safety: all functions may be called on any thread between birth and death. One
// handle is used by one thread at a time.
//
// Failures of all functions:
// - An identifier that is not registered is reported as "bad tracked memory ID" and gives 2.
//   The same holds for a handle that is null, is not live, has no room for the header, or
//   whose header has no registered index. A plain handle whose first bytes happen to hold a
//   registered index, such as 16 zeros, cannot be told from a hog handle.
// - A null address for an answer is reported and gives 3.
// - Only the functions here may resize or free a hog handle.

#ifndef U_HOG_H
#define U_HOG_H

#include "U_Types.h"

enum : U_u32
{
    U_Hog_Clear = 1, // zero the data
    U_Hog_Quiet = 2  // do not report a failure to the user
};

// Stores the identifier of a new hog in *id. The name is copied. A name that is registered
// already makes a second hog of that name. An identifier is valid until death.
//
// Returns: 0; 4 without memory, also inside a purge request that another registration made;
// 3 outside the library's life. *id is unchanged after a failure.
// Failures: where memory is short, the library reports and asks the host to purge with the
// table of hogs locked. The callbacks must not register a hog then, nor wait for a thread
// that does.
U_EXPORT U_Status U_RegisterHog(const char* name, U_u32* id);

// Allocates a handle with `size` bytes of data for the hog. `flags`: those above; other bits
// are ignored. `location` and `opName` are for the report of a failure. The caller owns *out,
// which is null after a failure.
//
// Returns: 0, 2, or 4 without memory or for data that with the header are larger than the
// largest block.
U_EXPORT U_Status U_NewHogHandle(U_u32 id, U_u32 location, const char* opName, U_u64 size,
                                 U_u32 flags, void*** out);

// Frees the handle, also a locked handle.
//
// Returns: 0; 2 with nothing freed; or the code of U_GetHandleSize, and then the handle is
// freed and still counted.
// Failures: free a handle that is left from an earlier life with U_FreeHandle. This function
// would report it as foreign and take it off the hog that has its index now.
U_EXPORT U_Status U_FreeHogHandle(void** handle);

// Changes the size of the data. Added bytes are not cleared. The handle keeps its value.
//
// Returns: 0; 1 for a locked handle, with a report; 2; or 4 without memory. After a failure
// the handle and its data are unchanged.
U_EXPORT U_Status U_ResizeHogHandle(U_u32 location, const char* opName, U_u64 newSize,
                                    void** handle);

// Locks the handle: until it has been unlocked as often, it is not resized. Stores the address
// of the data in *data, null after a failure. Returns: 0 or 2.
U_EXPORT U_Status U_LockHogHandle(void** handle, void** data);

// Unlocks the handle once; does nothing for a handle that is not locked. Returns: 0 or 2.
U_EXPORT U_Status U_UnlockHogHandle(void** handle);

// Stores the size of the data, 0 after a failure. Returns: 0, 2, or the code of
// U_GetHandleSize.
U_EXPORT U_Status U_GetHogHandleSize(void** handle, U_u64* size);

// Makes a plain handle with a copy of the data. The hog handle is kept. The caller owns *out.
//
// Returns: 0; 4 with *out null; 3 for a null hog handle, with *out unchanged; or 2 or the
// code of U_GetHandleSize, with *out an empty handle that the caller owns.
// Failures: a purge callback may resize or free the hog handle meanwhile. *out keeps the
// earlier size, with as many bytes copied as the hog handle has; if it has been freed, no
// byte is copied and the result is 2.
U_EXPORT U_Status U_NewHandleFromHogHandle(void** hogHandle, void*** out);

// Makes a hog handle with a copy of a plain handle's contents. The plain handle is kept. The
// caller owns *out, which is null after a failure.
//
// Returns: as U_NewHogHandle, or the code of U_GetHandleSize.
// Failures: a handle that is not live is reported and gives an empty hog handle. A purge
// callback may resize or free the plain handle meanwhile, with the result described above.
U_EXPORT U_Status U_NewHogHandleFromHandle(U_u32 id, void** handle, void*** out);

// Stores the number of the hog's live handles and the sum of their sizes, each modulo 2^32.
// Both are exact and belong to the same moment, whatever other threads make and free.
// Returns: 0, or 2 with nothing stored.
U_EXPORT U_Status U_GetHogStats(U_u32 id, U_u32* liveHandles, U_u32* liveBytes);

// Sets whether death reports the hogs that have handles left, by name and bytes, with
// severity U_Sev_LEAK and in the log. Off at first; the setting outlives a death. Hogs whose
// names contain OMF, PNGIO, TIFFIO or WAV keep handles on purpose and are not reported.
// Returns: 0.
U_EXPORT U_Status U_SetHogReportingOn(bool on);

#endif
