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
void* Allocate(std::size_t size, std::align_val_t alignment = {})
{
    for (;;)
    {
        if (void* block = AllocateOnce(size, static_cast<std::size_t>(alignment)))
            return block;
        if (!std::get_new_handler())
            throw std::bad_alloc();
        std::get_new_handler()();
    }
}

void* AllocateOrNull(std::size_t size, std::align_val_t alignment = {}) noexcept
{
    try
    {
        return Allocate(size, alignment);
    }
    catch (...)
    {
        return nullptr; // a new handler that throws ends the attempts, as the lack of one
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

// Each form is replaced: the sanitizers have forms of their own, which would not call one another.
#define REPLACE_NEW(PARAMETERS, BLOCK)                                                             \
    void* operator new PARAMETERS                                                                  \
    {                                                                                              \
        return BLOCK;                                                                              \
    }                                                                                              \
    void* operator new[] PARAMETERS                                                                \
    {                                                                                              \
        return BLOCK;                                                                              \
    }
#define REPLACE_DELETE(PARAMETERS)                                                                 \
    void operator delete PARAMETERS noexcept                                                       \
    {                                                                                              \
        std::free(block);                                                                          \
    }                                                                                              \
    void operator delete[] PARAMETERS noexcept                                                     \
    {                                                                                              \
        std::free(block);                                                                          \
    }

REPLACE_NEW((std::size_t size), Allocate(size))
REPLACE_NEW((std::size_t size, std::align_val_t alignment), Allocate(size, alignment))
REPLACE_NEW((std::size_t size, const std::nothrow_t&) noexcept, AllocateOrNull(size))
REPLACE_NEW((std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept,
            AllocateOrNull(size, alignment))
REPLACE_DELETE((void* block))
REPLACE_DELETE((void* block, std::size_t))
REPLACE_DELETE((void* block, const std::nothrow_t&))
REPLACE_DELETE((void* block, std::align_val_t))
REPLACE_DELETE((void* block, std::size_t, std::align_val_t))
REPLACE_DELETE((void* block, std::align_val_t, const std::nothrow_t&))
