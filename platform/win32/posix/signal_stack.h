// Stacks for signal handlers.

#ifndef WIN32_POSIX_SIGNAL_STACK_H
#define WIN32_POSIX_SIGNAL_STACK_H

#include <cstddef>

namespace win32
{
const std::size_t kSignalStackSize = 256 << 10; // bytes

// Gives the calling thread a signal stack until it ends, unless it has one of that
// size. *before becomes the size of the one that it had. False without memory.
bool ProvideSignalStack(std::size_t* before);
} // namespace win32

#endif
