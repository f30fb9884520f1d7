#include "hollin_private/StoredRuns.h"

#include <cstring>
#include <utility>

namespace hollin_private
{
namespace
{
typedef std::unique_ptr<unsigned char[]> OwnedRun;

OwnedRun Copy(const ByteRun& run)
{
    if (!run.mLength)
        return nullptr;
    OwnedRun copy(new unsigned char[run.mLength]);
    std::memcpy(copy.get(), run.mBytes, run.mLength);
    return copy;
}
} // namespace

void StoredRuns::Replace(std::size_t index, const ByteRun& run)
{
    const bool isShared = mSharesPool && !StandsApart(index);
    if (run.mLength > mLengths[index] || (run.mLength && isShared))
    {
        OwnedRun copy = Copy(run);
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
    OwnedRun copy = Copy(run);
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
