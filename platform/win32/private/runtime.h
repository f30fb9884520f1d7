// The handlers of the C runtime, which the systems share, and what each system defines for them.

#ifndef WIN32_PRIVATE_RUNTIME_H
#define WIN32_PRIVATE_RUNTIME_H

#include <cstddef>

namespace win32
{
// Does the work of operator new: returns a block of TryAllocate. Calls the new handler and tries
// again for as long as there is no memory. The standard library's new handler gets no size, so
// each system defines the forms of operator new that know the size.
//
// Throws: std::bad_alloc.
void* Allocate(std::size_t size, std::size_t alignment);

// Each system defines the functions below.

// Returns memory of the C library, or null. The alignment is a power of 2, or 0 for the alignment
// that every block has.
void* TryAllocate(std::size_t size, std::size_t alignment);

// Ends the process in a way of which the system writes a crash log. Calls no filter of hardware
// exceptions.
[[noreturn]] void EndWithCrashLog();
} // namespace win32

#endif
