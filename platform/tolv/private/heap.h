// What a heap is, for the sources of the heap.

#ifndef TOLV_HEAP_H
#define TOLV_HEAP_H

#include <atomic>
#include <cstdint>

struct MEM_Heap
{
    explicit MEM_Heap(std::uint16_t number) : mNumber(number) {}

    const std::uint16_t mNumber;
    std::atomic<bool> mEnded{false}; // found empty at its end: may be given out again
    std::atomic<long long> mBaselineBlocks{0};
    std::atomic<long long> mBaselineBytes{0};
};

#endif
