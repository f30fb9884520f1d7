// A switch that makes operator new fail, for tests. On POSIX systems a test program replaces
// operator new itself. Here a program cannot replace the operator new of a DLL.

#ifndef WIN32_NATIVE_FAILING_NEW_H
#define WIN32_NATIVE_FAILING_NEW_H

#include <platform/base/export.h>

namespace win32
{
// Makes the nth operator new of the calling thread from now on fail once, counted from 1. 0 ends
// the failure.
PLATFORM_EXPORT void SetFailingNew(long long nth);

// Returns true if that operator new has failed.
PLATFORM_EXPORT bool NewHasFailed();
} // namespace win32

#endif
