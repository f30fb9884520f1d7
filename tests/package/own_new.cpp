// A host's own operator new and delete. A block that comes from another operator new
// ends the process.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace
{
const std::uint64_t kMark = 0x6F776E206E657721;
const std::size_t kHead = 64; // bytes before a block; no block here has a larger alignment

std::uint64_t& MarkOf(void* block)
{
    return *(static_cast<std::uint64_t*>(block) - 1);
}

void* Allocate(std::size_t size)
{
    void* const head = std::aligned_alloc(kHead, (size + 2 * kHead) / kHead * kHead);
    if (!head)
        throw std::bad_alloc();
    void* const block = static_cast<char*>(head) + kHead;
    MarkOf(block) = kMark;
    return block;
}

void Free(void* block)
{
    if (!block)
        return;
    if (MarkOf(block) != kMark)
    {
        std::fputs("operator delete got a block of another operator new\n", stderr);
        std::abort();
    }
    MarkOf(block) = 0;
    std::free(static_cast<char*>(block) - kHead);
}
} // namespace

void* operator new(std::size_t size)
{
    return Allocate(size);
}

void* operator new(std::size_t size, std::align_val_t)
{
    return Allocate(size);
}

void operator delete(void* block) noexcept
{
    Free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    Free(block);
}

void operator delete(void* block, std::align_val_t) noexcept
{
    Free(block);
}

void operator delete(void* block, std::size_t, std::align_val_t) noexcept
{
    Free(block);
}
