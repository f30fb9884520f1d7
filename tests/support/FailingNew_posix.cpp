#include "tests/support/FailingNew.h"

#include <cstdlib>
#include <new>

namespace
{
thread_local long sLeft = 0; // allocations until the failure; 0: no failure, negative: has failed

void* AllocateOnce(std::size_t size, std::size_t alignment)
{
    if (sLeft > 0 && --sLeft == 0)
    {
        sLeft = -1;
        return nullptr;
    }
    if (alignment)
        return std::aligned_alloc(alignment, (size / alignment + 1) * alignment);
    return std::malloc(size ? size : 1);
}

// Calls the new handler and tries again, as the language requires.
void* Allocate(std::size_t size, std::size_t alignment = 0)
{
    void* block = AllocateOnce(size, alignment);
    while (!block && std::get_new_handler())
    {
        std::get_new_handler()();
        block = AllocateOnce(size, alignment);
    }
    return block;
}

void* AllocateOrNull(std::size_t size, std::size_t alignment = 0) noexcept
{
    try
    {
        return Allocate(size, alignment);
    }
    catch (...)
    {
        return nullptr; // a new handler that throws ends the attempts
    }
}
} // namespace

ScFailingNew::ScFailingNew(long nth)
{
    sLeft = nth;
}

ScFailingNew::~ScFailingNew()
{
    sLeft = 0;
}

bool ScFailingNew::HasFailed() const
{
    return sLeft < 0;
}

void* operator new(std::size_t size)
{
    if (void* block = Allocate(size))
        return block;
    throw std::bad_alloc();
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return AllocateOrNull(size);
}

void* operator new(std::size_t size, std::align_val_t alignment)
{
    if (void* block = Allocate(size, static_cast<std::size_t>(alignment)))
        return block;
    throw std::bad_alloc();
}

void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept
{
    return AllocateOrNull(size, static_cast<std::size_t>(alignment));
}

void operator delete(void* block) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}

void operator delete(void* block, const std::nothrow_t&) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::align_val_t) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::size_t, std::align_val_t) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::align_val_t, const std::nothrow_t&) noexcept
{
    std::free(block);
}

// The forms for arrays. The sanitizers have forms of their own, which would not call those above.

void* operator new[](std::size_t size)
{
    return operator new(size);
}

void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept
{
    return operator new(size, tag);
}

void* operator new[](std::size_t size, std::align_val_t alignment)
{
    return operator new(size, alignment);
}

void* operator new[](std::size_t size, std::align_val_t alignment,
                     const std::nothrow_t& tag) noexcept
{
    return operator new(size, alignment, tag);
}

void operator delete[](void* block) noexcept
{
    std::free(block);
}

void operator delete[](void* block, std::size_t) noexcept
{
    std::free(block);
}

void operator delete[](void* block, const std::nothrow_t&) noexcept
{
    std::free(block);
}

void operator delete[](void* block, std::align_val_t) noexcept
{
    std::free(block);
}

void operator delete[](void* block, std::size_t, std::align_val_t) noexcept
{
    std::free(block);
}

void operator delete[](void* block, std::align_val_t, const std::nothrow_t&) noexcept
{
    std::free(block);
}
