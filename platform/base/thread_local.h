// Words of one thread: the macro of thread-local variables, and the distance between words that
// different threads write.
//
//     static PLATFORM_THREAD_LOCAL(int, tDepth); // 0 at first
//     ++tDepth;
//
// Other headers and sources do not use the keyword thread_local, which scripts/lint checks. The
// first use of a variable without the macro's attribute may allocate. If the C library has no
// memory then, the process ends.

#ifndef PLATFORM_BASE_THREAD_LOCAL_H
#define PLATFORM_BASE_THREAD_LOCAL_H

#include <cstddef>

#if defined(_WIN32)
#include "thread_word_native.h"
#endif

// PLATFORM_THREAD_LOCAL(Type, name) declares a variable of a few words that are zero at first,
// without a destructor. For objects with a destructor, see per_thread.h.
//
// On Windows the variable is an object that converts to the type and from the type: a member
// is read and changed in a copy of the value, and the variable has no address of the type.
#if defined(_WIN32)
// The compiler's thread-local variables are gone when Boost's per-thread objects are destroyed.
#define PLATFORM_THREAD_LOCAL(type, name) platform::ThreadWord<type> name
#elif defined(__GNUC__)
// In the static block of thread-local storage, where no call is needed to find the variable.
#define PLATFORM_THREAD_LOCAL(type, name)                                                          \
    __thread __attribute__((tls_model("initial-exec"))) type name
#else
#define PLATFORM_THREAD_LOCAL(type, name) thread_local type name
#endif

namespace platform
{
const std::size_t kCacheLine = 64; // bytes
} // namespace platform

#endif
