// Variables of a thread that are read on the way of every allocation, and those that are
// read when memory is out or the process dies: the first touch of another one may allocate.

#ifndef PLATFORM_THREAD_LOCAL_H
#define PLATFORM_THREAD_LOCAL_H

#if defined(__GNUC__)
// For a few words without constructor and destructor: in the static block, where they are
// found without a call.
#define PLATFORM_THREAD_LOCAL __thread __attribute__((tls_model("initial-exec")))
#else
#define PLATFORM_THREAD_LOCAL thread_local
#endif

#endif
