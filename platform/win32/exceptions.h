// Hardware exceptions that nobody handles, under the operating system's own names.

#ifndef WIN32_EXCEPTIONS_H
#define WIN32_EXCEPTIONS_H

#include <platform/base/export.h>

namespace win32
{
struct EXCEPTION_POINTERS; // of no use to U

// Called on the failing thread: after an access to memory that isn't there or isn't
// allowed, a stack overflow, an arithmetic exception, an illegal instruction. Once
// it returns, whatever it returns, the exception goes to whoever handled it before
// the filter came, and that is the system as a rule: it ends the process. Where it is
// somebody who deals with the exception, the filter is called for the next one, too. An
// exception on the same thread while the filter runs goes to the system at once. Here
// exceptions are signals: one that is sent is taken alike, unless it was ignored before; a
// handler that somebody installs behind the filter may call the one that it found, or put it
// back and return; and on a thread that blocks them an exception ends the process past the
// filter. errno is as it was afterwards.
typedef int (*TopLevelExceptionFilter)(EXCEPTION_POINTERS* exception);

// Replaces the process's filter and returns the one before; null for none. Any thread.
PLATFORM_EXPORT TopLevelExceptionFilter SetUnhandledExceptionFilter(TopLevelExceptionFilter filter);

// Calls the function. If a hardware exception interrupts the function, leaves it at once
// without the filter, and returns false. No destructor of the function's frames runs then.
// Works while a filter is set. For reading memory that may be damaged.
PLATFORM_EXPORT bool CallUntilException(void (*function)(void* data), void* data);

const unsigned int kLargestStackGuarantee = 256 << 10; // bytes

// Keeps a stack for the filter at hand for the calling thread, for when its own has
// overflowed: *size bytes, which become those that it had before, 0 if none. At most
// kLargestStackGuarantee; filters always get as much. Until the thread ends. Non-zero on success; 0
// if there is no memory. A thread without it whose stack overflows ends the process
// past the filter.
PLATFORM_EXPORT int SetThreadStackGuarantee(unsigned int* size);

// Keeps the largest stack for the filter at hand for the calling thread, if there is memory.
inline void KeepStackForFilter()
{
    unsigned int size = kLargestStackGuarantee;
    SetThreadStackGuarantee(&size);
}
} // namespace win32

#endif
