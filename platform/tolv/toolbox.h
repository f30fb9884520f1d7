// The toolbox's own handles and resources, outside the heap of memory.h. Any
// thread; the error of ResError is the calling thread's.

#ifndef TOLV_TOOLBOX_H
#define TOLV_TOOLBOX_H

#include <platform/base/export.h>

// A new handle of size bytes; null for a negative size or without memory.
PLATFORM_EXPORT void** NewHandle(int size);
PLATFORM_EXPORT int GetHandleSize(void** handle);  // 0 for null
PLATFORM_EXPORT void DisposeHandle(void** handle); // null does nothing

// Makes the handle a resource. Sets ResError: -194 if it is one already.
PLATFORM_EXPORT void AddResource(void** handle);

// Makes the resource a plain handle again. Sets ResError: -192 if it is none.
PLATFORM_EXPORT void DetachResource(void** resource);

// The error of the last resource operation, 0 for none.
PLATFORM_EXPORT short ResError();

#endif
