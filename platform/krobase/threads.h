// Identifiers and names of threads.
//
//     krobase::threads::SetCurrentThreadName("loader");
//     const unsigned int id = krobase::threads::GetCurrentThreadID();
//
// Thread safety: all functions may be called on any thread.

#ifndef KROBASE_THREADS_H
#define KROBASE_THREADS_H

#include <platform/base/export.h>

namespace krobase
{
namespace threads
{
PLATFORM_EXPORT unsigned int GetCurrentThreadID();
PLATFORM_EXPORT unsigned int GetCurrentProcessID();

// Names the calling thread, for debuggers and process viewers. The system may cut the name.
PLATFORM_EXPORT void SetCurrentThreadName(const char* name);
} // namespace threads
} // namespace krobase

#endif
