#include "hollin_private/StoredRuns.h"

#include <cstring>
#include <utility>

namespace hollin_private
{
void StoredRuns::Replace(std::size_t index, const ByteRun& run)
{
    const bool isShared = mSharesPool && !StandsApart(index);
    if (run.mLength > mLengths[index] || (run.mLength && isShared))
    {
        OwnedRun copy = CopyOf(run);
        mPointers.resize(mLengths.size());
        mPointers[index] = std::move(copy);
        if (!mOffsets.empty())
            mOffsets[index] = 0;
    }
    else if (run.mLength)
    {
        // The run may be part of this store, and so overlap.
        std::memmove(const_cast<unsigned char*>(Place(index)), run.mBytes, run.mLength);
    }
    mLengths[index] = static_cast<std::uint16_t>(run.mLength);
}

void StoredRuns::Insert(std::size_t index, const ByteRun& run)
{
    OwnedRun copy = CopyOf(run);
    mPointers.resize(mLengths.size());
    MakeRoom(mPointers);
    MakeRoom(mLengths);
    if (!mOffsets.empty())
    {
        MakeRoom(mOffsets);
        InsertAt(mOffsets, index, 0u);
    }
    InsertAt(mLengths, index, static_cast<std::uint16_t>(run.mLength));
    InsertAt(mPointers, index, std::move(copy));
}
} // namespace hollin_private
