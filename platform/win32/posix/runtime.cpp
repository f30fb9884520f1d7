// The forms of operator new that know the size. The standard library's other forms call these.
// They also serve the standard library's own code. A host's operator new replaces them.

#include "../private/runtime.h"

#include <cstdlib>
#include <new>

#include <platform/base/export.h>

namespace win32
{
void* TryAllocate(std::size_t size, std::size_t alignment)
{
    if (!alignment)
        return std::malloc(size ? size : 1);
    // The size must be a multiple of the alignment.
    const std::size_t whole = size ? (size + alignment - 1) / alignment * alignment : alignment;
    return whole < size ? nullptr : std::aligned_alloc(alignment, whole);
}

void EndWithCrashLog()
{
    std::abort();
}
} // namespace win32

// The ordinary case calls malloc alone.
PLATFORM_EXPORT void* operator new(std::size_t size)
{
    void* const block = win32::TryAllocate(size, 0);
    return block ? block : win32::Allocate(size, 0);
}

PLATFORM_EXPORT void* operator new(std::size_t size, std::align_val_t alignment)
{
    return win32::Allocate(size, static_cast<std::size_t>(alignment));
}
