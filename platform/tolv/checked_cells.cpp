#include "private/checked_cells.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include <platform/base/locks.h>

#include "private/own_pages.h"

namespace tolv
{
namespace
{
const std::size_t kMostCells = 62; // of a batch
} // namespace

// Free cells of one size class. 512 bytes.
struct CellBatch
{
    CellBatch* mNext; // of a list
    std::size_t mCount;
    void* mCells[kMostCells];
};

namespace
{
const std::size_t kStep = 16; // up to kLargestStepped bytes
const std::size_t kLargestStepped = 1024;
const std::size_t kSteppedClasses = kLargestStepped / kStep + 1;
const std::size_t kClassesPerDoubling = 8; // above that
const std::size_t kLargestCell = 1 << 20;
const std::size_t kLargestOfThread = 2048;    // all threads share the larger cells
const std::size_t kLargestOfChunk = 32 << 10; // larger cells have pages of their own
const std::size_t kMostKeptBytes = 32 << 20;  // in free cells with pages of their own
const std::size_t kChunkBytes = 8 << 20;
const std::size_t kMargin = 4096;         // before and after the cells of a chunk
const std::size_t kBatchBytes = 16 << 10; // of new cells

// Returns the class of a size, and rounds the size up to the size of the cells of the class.
// REQUIRES: *bytes is at most kLargestCell and not 0.
std::size_t ClassOf(std::size_t* bytes)
{
    if (*bytes <= kLargestStepped)
    {
        const std::size_t steps = (*bytes + kStep - 1) / kStep;
        *bytes = steps * kStep;
        return steps;
    }
    std::size_t first = kSteppedClasses; // of the doubling
    std::size_t step = kLargestStepped / kClassesPerDoubling;
    for (; *bytes > 2 * step * kClassesPerDoubling; step *= 2)
        first += kClassesPerDoubling;
    const std::size_t steps = (*bytes + step - 1) / step;
    *bytes = steps * step;
    return first + steps - kClassesPerDoubling - 1;
}

// Guards the chunk and the lists of batches.
platform::Mutex sBatchLock;
char* sFree PLATFORM_GUARDED_BY(sBatchLock) = nullptr; // of the newest chunk
char* sEnd PLATFORM_GUARDED_BY(sBatchLock) = nullptr;
CellBatch* sFullBatches[CellCache::kClasses] PLATFORM_GUARDED_BY(sBatchLock) = {};
CellBatch* sEmptyBatches PLATFORM_GUARDED_BY(sBatchLock) = nullptr;

// Guards the cells of the threads without a cache, and the cells above kLargestOfThread.
platform::Mutex sSharedLock;
CellCache sShared PLATFORM_GUARDED_BY(sSharedLock) = {};
std::size_t sKeptBytes PLATFORM_GUARDED_BY(sSharedLock) = 0;

void PushBatch(CellBatch** list, CellBatch* batch)
{
    batch->mNext = *list;
    *list = batch;
}

CellBatch* PopBatch(CellBatch** list)
{
    CellBatch* const batch = *list;
    if (batch)
        *list = batch->mNext;
    return batch;
}

// Returns null without memory.
CellBatch* EmptyBatch() PLATFORM_REQUIRES(sBatchLock)
{
    CellBatch* const batch = PopBatch(&sEmptyBatches);
    return batch ? batch : static_cast<CellBatch*>(NewForever(sizeof(CellBatch)));
}

// Returns a cell that was not used yet, null without memory.
void* FreshCell(std::size_t bytes) PLATFORM_REQUIRES(sBatchLock)
{
    if (static_cast<std::size_t>(sEnd - sFree) < bytes)
    {
        char* const chunk = static_cast<char*>(NewPages(kChunkBytes));
        if (!chunk)
            return nullptr;
        sFree = chunk + kMargin;
        sEnd = chunk + kChunkBytes - kMargin;
    }
    return std::exchange(sFree, sFree + bytes);
}

// Exchanges an empty batch, which may be null, for a batch with cells. Returns false if there is
// none, for lack of memory or since no cell of own pages is kept; the batch is empty still.
bool Refill(CellBatch** batch, std::size_t sizeClass, std::size_t bytes)
{
    const platform::ScLock lock(sBatchLock);
    if (CellBatch* const full = PopBatch(&sFullBatches[sizeClass]))
    {
        if (*batch)
            PushBatch(&sEmptyBatches, *batch);
        *batch = full;
        return true;
    }
    if (bytes > kLargestOfChunk)
        return false;
    if (!*batch)
        *batch = EmptyBatch();
    if (!*batch)
        return false;
    const std::size_t most = std::clamp<std::size_t>(kBatchBytes / bytes, 1, kMostCells);
    while ((*batch)->mCount < most)
    {
        void* const cell = FreshCell(bytes);
        if (!cell)
            break;
        (*batch)->mCells[(*batch)->mCount++] = cell;
    }
    return (*batch)->mCount != 0;
}

// Exchanges a full batch, which may be null, for an empty batch. Returns false without memory.
bool Spill(CellBatch** batch, std::size_t sizeClass)
{
    const platform::ScLock lock(sBatchLock);
    CellBatch* const empty = EmptyBatch();
    if (!empty)
        return false;
    if (*batch)
        PushBatch(&sFullBatches[sizeClass], *batch);
    *batch = empty;
    return true;
}

bool IsFull(const CellBatch* batch)
{
    return !batch || batch->mCount == kMostCells;
}

bool IsEmpty(const CellBatch* batch)
{
    return !batch || batch->mCount == 0;
}

// Rounds the size of a cell above kLargestCell up to one of eight sizes a doubling. Returns less
// than `bytes` if there is no such size.
std::size_t RoundLarge(std::size_t bytes)
{
    std::size_t step = kLargestCell / kClassesPerDoubling;
    while (step <= bytes / (2 * kClassesPerDoubling))
        step *= 2;
    return (bytes + step - 1) / step * step;
}

// Returns the size of the cells for a size. Returns less than `bytes` if there is no such size.
std::size_t CellBytes(std::size_t bytes)
{
    if (bytes > kLargestCell)
        return RoundLarge(bytes);
    ClassOf(&bytes);
    return bytes;
}

// A cell with pages of its own begins after a margin, too, and a margin follows.
void* NewLargeCell(std::size_t bytes)
{
    char* const pages =
        bytes + 2 * kMargin > bytes ? static_cast<char*>(NewPages(bytes + 2 * kMargin)) : nullptr;
    return pages ? pages + kMargin : nullptr;
}
} // namespace

void* CellCache::Take(std::size_t sizeClass, std::size_t bytes)
{
    Batches& own = mBatches[sizeClass];
    if (IsEmpty(own.mActive))
        std::swap(own.mActive, own.mSpare);
    if (IsEmpty(own.mActive) && !Refill(&own.mActive, sizeClass, bytes))
        return nullptr;
    return own.mActive->mCells[--own.mActive->mCount];
}

// Without memory for a batch the cell is lost.
void CellCache::Give(std::size_t sizeClass, void* cell)
{
    Batches& own = mBatches[sizeClass];
    if (IsFull(own.mActive))
        std::swap(own.mActive, own.mSpare);
    if (IsFull(own.mActive) && !Spill(&own.mActive, sizeClass))
        return;
    own.mActive->mCells[own.mActive->mCount++] = cell;
}

void* NewCell(CellCache* cache, std::size_t bytes)
{
    if (bytes > kLargestCell)
        return RoundLarge(bytes) >= bytes ? NewLargeCell(RoundLarge(bytes)) : nullptr;
    const std::size_t sizeClass = ClassOf(&bytes);
    if (cache && bytes <= kLargestOfThread)
        return cache->Take(sizeClass, bytes);
    {
        const platform::ScLock lock(sSharedLock);
        void* const cell = sShared.Take(sizeClass, bytes);
        if (cell && bytes > kLargestOfChunk)
            sKeptBytes -= bytes;
        if (cell || bytes <= kLargestOfChunk)
            return cell;
    }
    return NewLargeCell(bytes);
}

void FreeCell(CellCache* cache, void* cell, std::size_t bytes)
{
    if (bytes > kLargestCell)
        return FreePages(static_cast<char*>(cell) - kMargin);
    const std::size_t sizeClass = ClassOf(&bytes);
    if (cache && bytes <= kLargestOfThread)
        return cache->Give(sizeClass, cell);
    {
        const platform::ScLock lock(sSharedLock);
        if (bytes <= kLargestOfChunk || sKeptBytes + bytes <= kMostKeptBytes)
        {
            sKeptBytes += bytes > kLargestOfChunk ? bytes : 0;
            return sShared.Give(sizeClass, cell);
        }
    }
    FreePages(static_cast<char*>(cell) - kMargin);
}

void* ResizeCell(CellCache* cache, void* cell, std::size_t oldBytes, std::size_t bytes)
{
    if (CellBytes(oldBytes) == CellBytes(bytes))
        return cell;
    void* const fresh = NewCell(cache, bytes);
    if (!fresh)
        return nullptr;
    std::memcpy(fresh, cell, std::min(oldBytes, bytes));
    FreeCell(cache, cell, oldBytes);
    return fresh;
}
} // namespace tolv
