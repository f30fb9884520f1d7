// Functions that the system may lack, under the operating system's own names. Any
// thread.

#ifndef WIN32_MODULES_H
#define WIN32_MODULES_H

#include <platform/base/export.h>

namespace win32
{
// A module of the process, null if there is no such one. "kernel32.dll" is the
// only one known, in either case.
PLATFORM_EXPORT void* GetModuleHandleA(const char* name);

// A function of a module, to be cast to its type; null if the module lacks it.
// Those of dates.h that come and go are known.
typedef void (*ModuleFunction)();
PLATFORM_EXPORT ModuleFunction GetProcAddress(void* module, const char* name);
} // namespace win32

#endif
