// The memory of checked blocks: cells in pages of their own. An access outside of a block damages
// other checked blocks at most, which are reported, and not the C library's records of its blocks.
// The lists of free cells are outside of the cells for the same reason.
//
// A cell of up to 32 KiB is kept for later blocks of its size class. A larger cell has its own
// pages. Of cells up to 1 MiB, 32 MiB are kept. The free of any other cell returns the pages to the
// system.

#ifndef TOLV_CHECKED_CELLS_H
#define TOLV_CHECKED_CELLS_H

#include <cstddef>

namespace tolv
{
struct CellBatch;

// Free cells of one thread. All bytes are 0 at first.
class CellCache
{
public:
    void* Take(std::size_t sizeClass, std::size_t bytes);
    void Give(std::size_t sizeClass, void* cell);

    static const std::size_t kClasses = 145;

private:
    struct Batches
    {
        CellBatch* mActive;
        CellBatch* mSpare;
    };
    Batches mBatches[kClasses];
};

// Allocate, free and resize a cell. `cache` is null for a thread without a cache. NewCell and
// ResizeCell return null without memory. ResizeCell keeps the old cell then.
void* NewCell(CellCache* cache, std::size_t bytes);
void FreeCell(CellCache* cache, void* cell, std::size_t bytes);
void* ResizeCell(CellCache* cache, void* cell, std::size_t oldBytes, std::size_t bytes);
} // namespace tolv

#endif
