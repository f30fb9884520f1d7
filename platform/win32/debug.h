// Debuggers, under the operating system's own names. Any thread.

#ifndef WIN32_DEBUG_H
#define WIN32_DEBUG_H

#include <platform/base/export.h>

namespace win32
{
// Whether a debugger is attached to the process. Not 0 if so.
PLATFORM_EXPORT int IsDebuggerPresent();

// Stops the calling thread in the debugger. Without one the process ends.
PLATFORM_EXPORT void DebugBreak();

// Writes text to the sink of platform/control.h, by default stderr, as it is.
// Null writes nothing.
PLATFORM_EXPORT void OutputDebugStringA(const char* text);
} // namespace win32

#endif
