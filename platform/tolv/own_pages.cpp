#include "private/own_pages.h"

#include <atomic>
#include <new>

#include <win32/memory.h>

namespace tolv
{
namespace
{
const std::size_t kArenaBytes = 1 << 20;
const std::size_t kAlignment = 16;

struct alignas(kAlignment) Arena
{
    std::atomic<std::size_t> mUsed{sizeof(Arena)};
};

std::atomic<Arena*> sArena(nullptr);

// Returns null if the arena has no room.
void* TakeFrom(Arena* arena, std::size_t bytes)
{
    const std::size_t start = arena->mUsed.fetch_add(bytes, std::memory_order_relaxed);
    return start + bytes <= kArenaBytes ? reinterpret_cast<char*>(arena) + start : nullptr;
}

// Replaces a full arena, unless another thread was first. Returns the arena of all threads, or null
// without memory.
Arena* Replace(Arena* full)
{
    void* const pages = NewPages(kArenaBytes);
    if (!pages)
        return nullptr;
    Arena* const fresh = new (pages) Arena;
    if (sArena.compare_exchange_strong(full, fresh, std::memory_order_acq_rel))
        return fresh;
    FreePages(pages);
    return full;
}
} // namespace

void* NewPages(std::size_t bytes)
{
    return win32::VirtualAlloc(nullptr, bytes, win32::kMemReserve | win32::kMemCommit,
                               win32::kPageReadWrite);
}

void FreePages(void* pages)
{
    win32::VirtualFree(pages, 0, win32::kMemRelease);
}

void* NewForever(std::size_t bytes)
{
    const std::size_t whole = (bytes + kAlignment - 1) / kAlignment * kAlignment;
    Arena* arena = sArena.load(std::memory_order_acquire);
    for (;;)
    {
        if (void* const memory = arena ? TakeFrom(arena, whole) : nullptr)
            return memory;
        arena = Replace(arena);
        if (!arena)
            return nullptr;
    }
}
} // namespace tolv
