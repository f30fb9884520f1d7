// Hardware exceptions that nothing else handles, under the operating system's own names.
//
// On POSIX systems exceptions are signals. On Windows the system itself keeps the filter.
//
// Thread safety: any thread.

#ifndef WIN32_EXCEPTIONS_H
#define WIN32_EXCEPTIONS_H

#include <platform/base/export.h>

namespace win32
{
struct EXCEPTION_POINTERS; // of the system's header, which only files for Windows include

// Called on the thread that failed: after an access to memory that is not mapped or not allowed,
// a stack overflow, an arithmetic exception or an illegal instruction. On Windows also after any
// other exception of the system that nothing handles, such as a breakpoint without a debugger, but
// not after a C++ exception. errno is preserved.
//
// exception: on Windows the system's description of the exception; null on POSIX.
//
// After the filter, the exception is passed on to the action that was in force before the filter
// was installed. As a rule that is the system's, which ends the process. If the action deals with
// the exception, the filter is called for the next one, too.
//
// Returns: a value that is not used.
// Failures:
// - An exception on the same thread while the filter runs ends the process at once.
// - A handler that was installed over ours may call the action that it has replaced, or put that
//   action back and return. If the filter was installed once more since then, a handler that was
//   put back in this way passes on without the filter.
// - POSIX: an exception on a thread that blocks its signal ends the process without the filter. A
//   signal that another process or thread has sent is handled alike, unless the signal was ignored
//   before.
// - Windows: a filter must return. A debugger gets the exception, and the filter is not called.
//   While another thread installs or removes a filter, an exception may end the process without
//   the filter.
typedef int (*TopLevelExceptionFilter)(EXCEPTION_POINTERS* exception);

// Replaces the filter of the process. Null removes the filter and restores the actions of before,
// except where another handler was installed over ours. A filter after null is installed over that
// handler, up to four times; ours stays beneath a fifth handler.
//
// Returns: the previous filter; null for none.
PLATFORM_EXPORT TopLevelExceptionFilter SetUnhandledExceptionFilter(TopLevelExceptionFilter filter);

// Calls the function, and leaves it without the filter if a hardware exception interrupts the
// function. For reading memory that may be damaged.
//
// A signal that is sent during the call is handled after the call, or, if the filter makes the
// call, after the filter.
//
// Returns: whether the function has returned.
// REQUIRES: a filter is installed, which only POSIX needs. The function neither throws nor is left
// by a jump, and needs no destructor of its frames to run.
PLATFORM_EXPORT bool CallUntilException(void (*function)(void* data), void* data);

const unsigned int kLargestStackGuarantee = 256 << 10; // bytes

// Keeps stack for the filter until the calling thread ends, for the case that the thread's own
// stack overflows: on POSIX a second stack, on Windows a part of the thread's stack. *size is the
// wanted size in bytes, at most kLargestStackGuarantee, and becomes the previous size, 0 for none.
// A second stack always has kLargestStackGuarantee bytes.
//
// Returns: non-zero on success; 0 if there is no memory. A stack overflow on a thread that keeps no
// stack ends the process without the filter.
PLATFORM_EXPORT int SetThreadStackGuarantee(unsigned int* size);

// Returns whether the address lies in the second stack of the calling thread, on which a filter
// would run. False if the thread has none, and on Windows. May be called in a filter.
PLATFORM_EXPORT bool IsOnFilterStack(const void* address);

// Keeps stack for the filter on the calling thread, if there is memory.
inline void KeepStackForFilter()
{
    unsigned int size = kLargestStackGuarantee;
    SetThreadStackGuarantee(&size);
}
} // namespace win32

#endif
