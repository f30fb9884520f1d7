// All forms of operator new and of operator delete, which each DLL and each program of ours
// imports: the forms of the standard library would call only one another.

#include "../private/runtime.h"

#include <atomic>
#include <cstdlib>
#include <new>

#include <malloc.h>

#include <platform/base/export.h>
#include <platform/base/thread_local.h>

#include "failing_new.h"

namespace win32
{
namespace
{
// Allocations until the failure; 0: no failure, negative: has failed.
PLATFORM_THREAD_LOCAL(long long, tLeft);
std::atomic<bool> sIsUsed(false); // whether any thread may have a failure

bool FailsNow()
{
    if (!sIsUsed.load(std::memory_order_relaxed) || tLeft <= 0 || --tLeft > 0)
        return false;
    tLeft = -1;
    return true;
}

void* AllocateOrNull(std::size_t size, std::size_t alignment) noexcept
{
    try
    {
        return Allocate(size, alignment);
    }
    catch (...)
    {
        return nullptr; // a host's new handler may throw any type
    }
}

std::size_t Number(std::align_val_t alignment)
{
    return static_cast<std::size_t>(alignment);
}
} // namespace

void SetFailingNew(long long nth)
{
    tLeft = nth;
    sIsUsed.store(true, std::memory_order_relaxed);
}

bool NewHasFailed()
{
    return tLeft < 0;
}

void* TryAllocate(std::size_t size, std::size_t alignment)
{
    if (FailsNow())
        return nullptr;
    const std::size_t bytes = size ? size : 1;
    return alignment ? ::_aligned_malloc(bytes, alignment) : std::malloc(bytes);
}

// The fast failure of the processor's interrupt 0x29, with FAST_FAIL_INVALID_ARG. No handler and
// no filter is called.
void EndWithCrashLog()
{
    asm volatile("int $0x29" : : "c"(5));
    __builtin_unreachable();
}
} // namespace win32

using win32::Allocate;
using win32::AllocateOrNull;
using win32::Number;

PLATFORM_EXPORT void* operator new(std::size_t size)
{
    return Allocate(size, 0);
}

PLATFORM_EXPORT void* operator new[](std::size_t size)
{
    return Allocate(size, 0);
}

PLATFORM_EXPORT void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return AllocateOrNull(size, 0);
}

PLATFORM_EXPORT void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return AllocateOrNull(size, 0);
}

PLATFORM_EXPORT void* operator new(std::size_t size, std::align_val_t alignment)
{
    return Allocate(size, Number(alignment));
}

PLATFORM_EXPORT void* operator new[](std::size_t size, std::align_val_t alignment)
{
    return Allocate(size, Number(alignment));
}

PLATFORM_EXPORT void* operator new(std::size_t size, std::align_val_t alignment,
                                   const std::nothrow_t&) noexcept
{
    return AllocateOrNull(size, Number(alignment));
}

PLATFORM_EXPORT void* operator new[](std::size_t size, std::align_val_t alignment,
                                     const std::nothrow_t&) noexcept
{
    return AllocateOrNull(size, Number(alignment));
}

PLATFORM_EXPORT void operator delete(void* block) noexcept
{
    std::free(block);
}

PLATFORM_EXPORT void operator delete[](void* block) noexcept
{
    std::free(block);
}

PLATFORM_EXPORT void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}

PLATFORM_EXPORT void operator delete[](void* block, std::size_t) noexcept
{
    std::free(block);
}

PLATFORM_EXPORT void operator delete(void* block, const std::nothrow_t&) noexcept
{
    std::free(block);
}

PLATFORM_EXPORT void operator delete[](void* block, const std::nothrow_t&) noexcept
{
    std::free(block);
}

PLATFORM_EXPORT void operator delete(void* block, std::align_val_t) noexcept
{
    ::_aligned_free(block);
}

PLATFORM_EXPORT void operator delete[](void* block, std::align_val_t) noexcept
{
    ::_aligned_free(block);
}

PLATFORM_EXPORT void operator delete(void* block, std::size_t, std::align_val_t) noexcept
{
    ::_aligned_free(block);
}

PLATFORM_EXPORT void operator delete[](void* block, std::size_t, std::align_val_t) noexcept
{
    ::_aligned_free(block);
}

PLATFORM_EXPORT void operator delete(void* block, std::align_val_t, const std::nothrow_t&) noexcept
{
    ::_aligned_free(block);
}

PLATFORM_EXPORT void operator delete[](void* block, std::align_val_t,
                                       const std::nothrow_t&) noexcept
{
    ::_aligned_free(block);
}
