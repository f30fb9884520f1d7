// Handles and resources of the toolbox, which are not in the heap of memory.h.
//
// Thread safety: all functions may be called on any thread. ResError returns the error of the
// calling thread.

#ifndef TOLV_TOOLBOX_H
#define TOLV_TOOLBOX_H

#include <platform/base/export.h>

// Returns a new handle of `size` bytes, or null for a negative size or without memory.
PLATFORM_EXPORT void** NewHandle(int size);
PLATFORM_EXPORT int GetHandleSize(void** handle);  // 0 for null
PLATFORM_EXPORT void DisposeHandle(void** handle); // null does nothing

// Makes the handle a resource. Sets ResError: -194 if the handle is a resource already.
PLATFORM_EXPORT void AddResource(void** handle);

// Makes the resource a plain handle. Sets ResError: -192 if the handle is no resource.
PLATFORM_EXPORT void DetachResource(void** resource);

// Returns the error of the last resource operation, or 0.
PLATFORM_EXPORT short ResError();

#endif
