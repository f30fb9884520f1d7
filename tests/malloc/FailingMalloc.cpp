#include "tests/malloc/FailingMalloc.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <limits>

// The functions of the C library that this program replaces.
extern "C"
{
    void* __libc_malloc(std::size_t size);
    void* __libc_calloc(std::size_t count, std::size_t size);
    void* __libc_realloc(void* block, std::size_t size);
    void* __libc_memalign(std::size_t alignment, std::size_t size);
}

namespace
{
std::atomic<long> sFirst{0}; // the number of the first allocation that fails; 0: none fails
std::atomic<long> sLast{0};
std::atomic<long> sCount{0}; // allocations since the last begin
std::atomic<bool> sHasFailed{false};

bool Fails()
{
    const long first = sFirst.load();
    if (!first)
        return false;
    const long number = ++sCount;
    if (number < first || number > sLast.load())
        return false;
    sHasFailed = true;
    errno = ENOMEM;
    return true;
}
} // namespace

void BeginFailingMalloc(long nth, bool forGood)
{
    sCount = 0;
    sHasFailed = false;
    sLast = forGood ? std::numeric_limits<long>::max() : nth;
    sFirst = nth;
}

void EndFailingMalloc()
{
    sFirst = 0;
}

bool HasMallocFailed()
{
    return sHasFailed;
}

#pragma GCC visibility push(default)
extern "C"
{
    void* malloc(std::size_t size) noexcept
    {
        return Fails() ? nullptr : __libc_malloc(size);
    }

    void* calloc(std::size_t count, std::size_t size) noexcept
    {
        return Fails() ? nullptr : __libc_calloc(count, size);
    }

    void* realloc(void* block, std::size_t size) noexcept
    {
        return Fails() ? nullptr : __libc_realloc(block, size);
    }

    void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept
    {
        return Fails() ? nullptr : __libc_memalign(alignment, size);
    }

    void* memalign(std::size_t alignment, std::size_t size) noexcept
    {
        return Fails() ? nullptr : __libc_memalign(alignment, size);
    }

    int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept
    {
        void* const made = Fails() ? nullptr : __libc_memalign(alignment, size);
        if (!made)
            return ENOMEM;
        *block = made;
        return 0;
    }
}
#pragma GCC visibility pop
