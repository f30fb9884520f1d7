// Variables of a thread that are read on the way of every allocation.

#ifndef PLATFORM_THREAD_LOCAL_H
#define PLATFORM_THREAD_LOCAL_H

#if defined(__GNUC__)
// For one pointer: in the static block, where it is found without a call.
#define PLATFORM_THREAD_LOCAL __thread __attribute__((tls_model("initial-exec")))
#else
#define PLATFORM_THREAD_LOCAL thread_local
#endif

#endif
