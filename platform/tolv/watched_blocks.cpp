// The heap under a checker of the process's memory.

#include <platform/base/memory_tools.h>

#include "private/heap.h"
#include "private/switches.h"
#include "private/thread_record.h"

namespace tolv
{
std::atomic<bool> sIsWatched(false);

namespace
{
const std::size_t kHiddenBytes = sizeof(BlockHeader) - sizeof(void**);

PLATFORM_READS_HIDDEN_MEMORY void** ReadSlot(const BlockHeader* header)
{
    const platform::ScHiddenReads reads;
    return header->mSlot;
}
} // namespace

void SetWatched()
{
    sIsWatched.store(true, std::memory_order_relaxed);
    BlockCache::End();
}

void StartWatching()
{
    if (platform::MemoryIsWatched())
        SetWatched();
    ReadHeapChecks();
}

void HideHeader(const BlockHeader* header)
{
    platform::HideMemory(&header->mName, kHiddenBytes);
}

void RevealHeader(const BlockHeader* header)
{
    platform::RevealMemory(&header->mName, kHiddenBytes);
}

PLATFORM_READS_HIDDEN_MEMORY std::uint32_t ReadName(const BlockHeader* header)
{
    const platform::ScHiddenReads reads;
    return header->mName;
}

void** SlotOfAny(void* block)
{
    void** const slot = ReadSlot(HeaderOf(block));
    const bool isAligned = reinterpret_cast<std::uintptr_t>(slot) % sizeof(void*) == 0;
    return isAligned && FindSlab(slot) && *slot == block ? slot : nullptr;
}
} // namespace tolv
