// The one form of a thread-local variable. Other headers and sources don't use the keyword:
// the first touch of a variable without the form below may allocate, and where the C library
// has no memory for that, it ends the process. scripts/lint checks this.

#ifndef PLATFORM_BASE_THREAD_LOCAL_H
#define PLATFORM_BASE_THREAD_LOCAL_H

#if defined(__GNUC__)
// For a few words with a constant initialiser and without a destructor: in the static block,
// where they are found without a call. Objects with a destructor are in per_thread.h.
#define PLATFORM_THREAD_LOCAL __thread __attribute__((tls_model("initial-exec")))
#else
#define PLATFORM_THREAD_LOCAL thread_local
#endif

#endif
