// Hogs: names under which handles are counted.
//
// A module registers a name once and allocates its handles under the identifier
// that it gets: the library knows how many of them live and how many bytes they
// hold, and can name in a leak report who left some. A hog handle is a handle of
// U_Alloc.h with a header of 16 bytes in front of the data; sizes here don't
// include it, and only the operations here resize or free it.
//
// All operations may be called on any thread between birth and death; one handle
// is used by one thread at a time. Sizes are in bytes. An identifier that isn't
// registered, and a handle that is null, isn't live, has no room for the header, or
// whose header tells no registered hog, are reported as "bad tracked memory ID" and
// give 2. A plain handle whose first bytes happen to tell one, as 16 zeros do, can't
// be told from a hog handle. A null address for an answer gives 3, with a report.

#ifndef U_HOG_H
#define U_HOG_H

#include "U_Types.h"

enum : U_u32
{
    U_Hog_Clear = 1, // zero the data
    U_Hog_Quiet = 2  // don't tell the user of a failure
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

// Allocates a handle with size bytes of data; flags are those above, others are
// ignored. location and opName are for the report of a failure. The caller owns
// *out, which is null after a failure: 2, or 4 without memory and for data that
// with the header are larger than a block can be.
U_EXPORT U_Status U_NewHogHandle(U_u32 id, U_u32 location, const char* opName, U_u64 size,
                                 U_u32 flags, void*** out);

// Frees the handle, also a locked one. Returns 0, 2 with nothing freed, or the
// code of U_GetHandleSize, in which case the handle is gone, but still counted.
// A handle that is left over a death is for U_FreeHandle: in the next life this would
// report it as foreign and count it off the hog that has the index of its old one, or
// refuse it if there is none.
U_EXPORT U_Status U_FreeHogHandle(void** handle);

// Gives the data a new size; bytes added aren't cleared. The handle keeps its
// value. On failure nothing has changed: 1 for a locked handle, with a report,
// 2, or 4 without memory.
U_EXPORT U_Status U_ResizeHogHandle(U_u32 location, const char* opName, U_u64 newSize,
                                    void** handle);

// Keeps the handle from being resized, until it has been unlocked as often. *data is
// where the data stand, null after a failure.
U_EXPORT U_Status U_LockHogHandle(void** handle, void** data);

// Does nothing for a handle that isn't locked.
U_EXPORT U_Status U_UnlockHogHandle(void** handle);

// Stores the size of the data. Returns 0, 2, or the code of U_GetHandleSize, with
// *size 0 after a failure.
U_EXPORT U_Status U_GetHogHandleSize(void** handle, U_u64* size);

// Makes a plain handle with a copy of the data; the hog handle stays. The caller
// owns *out, which is null without memory. Returns 0; 4; 3 for a null hog handle, with
// *out as it was; or 2 or the code of U_GetHandleSize, and then *out is an empty handle
// that the caller owns all the same. A purge request on the way may resize the hog
// handle: *out keeps the size from before, with as many bytes copied as there are, none
// with 2 if the hog handle has been freed.
U_EXPORT U_Status U_NewHandleFromHogHandle(void** hogHandle, void*** out);

// Makes a hog handle with a copy of a plain handle's contents; the plain handle
// stays. Returns as U_NewHogHandle, or the code of U_GetHandleSize; *out is null
// after a failure. What is no live handle is reported and gives an empty one. A purge
// request on the way may resize or free the plain handle, as above.
U_EXPORT U_Status U_NewHogHandleFromHandle(U_u32 id, void** handle, void*** out);

// Stores the number of the hog's live handles and the sum of their sizes, each modulo 2^32.
// Both are exact and belong to the same moment, whatever other threads make and free.
// Returns: 0, or 2 with nothing stored.
U_EXPORT U_Status U_GetHogStats(U_u32 id, U_u32* liveHandles, U_u32* liveBytes);

// Whether death reports the hogs that still have handles, by name and bytes, with
// severity U_Sev_LEAK and in the log. Off until it is set; stays over a death. Hogs
// of the file formats that keep handles on purpose, whose names contain OMF, PNGIO,
// TIFFIO or WAV, are left out. Always 0.
U_EXPORT U_Status U_SetHogReportingOn(bool on);

#endif
