// Words of one thread: the macro of thread-local variables, and the distance between words that
// different threads write.
//
// Other headers and sources do not use the keyword thread_local, which scripts/lint checks. The
// first use of a variable without the macro's attribute may allocate. If the C library has no
// memory then, the process ends.

#ifndef PLATFORM_BASE_THREAD_LOCAL_H
#define PLATFORM_BASE_THREAD_LOCAL_H

#include <cstddef>

#if defined(__GNUC__)
// For a few words with a constant initialiser and without a destructor. They lie in the static
// block of thread-local storage, where no call is needed to find them. For objects with a
// destructor, see per_thread.h.
#define PLATFORM_THREAD_LOCAL __thread __attribute__((tls_model("initial-exec")))
#else
#define PLATFORM_THREAD_LOCAL thread_local
#endif

namespace platform
{
const std::size_t kCacheLine = 64; // bytes
} // namespace platform

#endif
