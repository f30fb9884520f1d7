#include <map>
#include <new>
#include <string>

#include <wril/wril.h>

#include "memory.h"
#include "private/checked_blocks.h"
#include "private/heap.h"

using namespace tolv;

namespace
{
struct Sum
{
    long long mBlocks = 0;
    long long mBytes = 0;

    void Add(unsigned long long bytes)
    {
        ++mBlocks;
        mBytes += static_cast<long long>(bytes);
    }
};

// Calls visit(block, size) for each live block of the heap.
template <class Visit> void WalkHeap(MEM_HeapRef heap, Visit visit)
{
    for (Slab* slab = FirstSlab(); slab; slab = slab->mNext)
    {
        for (std::size_t i = 0; i < kSlotsPerSlab; ++i)
        {
            void* block = LoadAcquire(slab->mBlocks[i]);
            if (IsLive(block) && LoadAcquire(slab->mHeaps[i]) == heap->mNumber)
                visit(block, LoadAcquire(slab->mSizes[i]));
        }
    }
}

Sum SumHeap(MEM_HeapRef heap)
{
    Sum sum;
    WalkHeap(heap, [&](void*, std::uint32_t size) { sum.Add(size); });
    return sum;
}

void LogLeaksByName(MEM_HeapRef heap)
{
    std::map<std::string, Sum> leaks;
    WalkHeap(heap, [&](void* block, std::uint32_t size) {
        leaks[NameOf(ReadName(HeaderOf(block)))].Add(size);
    });
    for (const auto& leak : leaks)
        WRIL_sprintf(0, "TOLV", "MEM_DumpLeaks", "%s: %lld blocks, %lld bytes", leak.first.c_str(),
                     leak.second.mBlocks, leak.second.mBytes);
}
} // namespace

void MEM_DumpLeaks(MEM_HeapRef heap)
{
    if (!heap)
        return;
    if (IsWatched())
    {
        VerifyAllBlocks();
        LogCheckedLeaks(heap);
        ForgetHogs(heap);
    }
    const Sum left = SumHeap(heap);
    if (!left.mBlocks)
    {
        heap->mEnded = true;
        return;
    }
    try
    {
        LogLeaksByName(heap);
    }
    catch (const std::bad_alloc&)
    {
        // Without memory for the names only the sum is logged.
    }
    WRIL_sprintf(0, "TOLV", "MEM_DumpLeaks", "left in the heap: %lld blocks, %lld bytes",
                 left.mBlocks, left.mBytes);
}

int MEM_Report(MEM_HeapRef heap, int value)
{
    if (!heap)
        return 0;
    const Sum now = SumHeap(heap);
    WRIL_sprintf(0, "TOLV", "MEM_Report",
                 "%d: %lld blocks, %lld bytes; since the baseline %+lld blocks, %+lld bytes", value,
                 now.mBlocks, now.mBytes, now.mBlocks - heap->mBaselineBlocks.load(),
                 now.mBytes - heap->mBaselineBytes.load());
    return 0;
}

int MEM_SetBaseline(MEM_HeapRef heap)
{
    if (!heap)
        return 0;
    const Sum now = SumHeap(heap);
    heap->mBaselineBlocks = now.mBlocks;
    heap->mBaselineBytes = now.mBytes;
    return 0;
}
