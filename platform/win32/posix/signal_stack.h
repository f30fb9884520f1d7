// Stacks for signal handlers.

#ifndef WIN32_POSIX_SIGNAL_STACK_H
#define WIN32_POSIX_SIGNAL_STACK_H

#include <cstddef>

#include <win32/exceptions.h>

namespace win32
{
// Gives the calling thread a signal stack of kLargestStackGuarantee until it ends, unless
// it has one of that size. *before becomes the size of the one that it had. False without memory.
bool ProvideSignalStack(std::size_t* before);
} // namespace win32

#endif
