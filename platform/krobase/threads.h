// Threads.

#ifndef KROBASE_THREADS_H
#define KROBASE_THREADS_H

#include <platform/base/export.h>

namespace krobase
{
namespace threads
{
PLATFORM_EXPORT unsigned int GetCurrentThreadID();
PLATFORM_EXPORT unsigned int GetCurrentProcessID();

// Names the calling thread for debuggers and process viewers. The platform may
// cut the name short.
PLATFORM_EXPORT void SetCurrentThreadName(const char* name);
} // namespace threads
} // namespace krobase

#endif
