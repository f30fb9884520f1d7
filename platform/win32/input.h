// The mouse, under the operating system's own names. Any thread.

#ifndef WIN32_INPUT_H
#define WIN32_INPUT_H

#include <platform/base/export.h>

namespace win32
{
// The window that gets the calling thread's mouse input wherever the pointer
// is; null for none. SetCapture returns the window that had it before, and
// ReleaseCapture takes it from whichever has it and returns 1.
PLATFORM_EXPORT void* SetCapture(void* window);
PLATFORM_EXPORT void* GetCapture();
PLATFORM_EXPORT int ReleaseCapture();
} // namespace win32

#endif
