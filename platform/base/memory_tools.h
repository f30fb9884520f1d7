// The checkers that watch the memory of a process: the address sanitizer of a host, and
// valgrind's memcheck.
//
// A checker replaces malloc and free. A checker stores the stacks of each block, surrounds each
// block and delays each freed block. An allocator above malloc that reuses a block hides all this
// from the checker. So such an allocator reuses nothing while MemoryIsWatched().
//
// Thread safety: all functions may be called on any thread.

#ifndef PLATFORM_BASE_MEMORY_TOOLS_H
#define PLATFORM_BASE_MEMORY_TOOLS_H

#include <cstddef>

#include "export.h"

#if defined(__GNUC__) && !defined(_WIN32)
#define PLATFORM_READS_HIDDEN_MEMORY                                                               \
    __attribute__((noinline, no_sanitize_address, no_sanitize_thread))
#else
#define PLATFORM_READS_HIDDEN_MEMORY
#endif

namespace platform
{
// Returns whether a checker watches the process. The result never changes.
PLATFORM_EXPORT bool MemoryIsWatched();

// HideMemory makes the checker report each access to the bytes. RevealMemory ends that. Without a
// checker both do nothing. `start` plus `size` is a multiple of 8, or the end of a block of malloc.
PLATFORM_EXPORT void HideMemory(const void* start, std::size_t size);
PLATFORM_EXPORT void RevealMemory(const void* start, std::size_t size);

// Reads one byte. If the byte is hidden or freed, the checker reports the access with the caller's
// stack, although this library is not instrumented.
PLATFORM_EXPORT void TouchMemory(const void* byte);

// In a scope the calling thread may read hidden memory, in a function with the attribute
// PLATFORM_READS_HIDDEN_MEMORY.
class ScHiddenReads
{
public:
    ScHiddenReads();
    ~ScHiddenReads();
    ScHiddenReads(const ScHiddenReads&) = delete;
    ScHiddenReads& operator=(const ScHiddenReads&) = delete;
};
} // namespace platform

#endif
