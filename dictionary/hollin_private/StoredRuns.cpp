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

unsigned char* StoredRuns::Place(std::size_t index)
{
    if (index < mPointers.size() && mPointers[index])
        return mPointers[index].get();
    return mPool.data() + mOffsets[index];
}

ByteRun StoredRuns::Get(std::size_t index) const
{
    if (index >= mLengths.size() || !mLengths[index])
        return ByteRun();
    return ByteRun{const_cast<StoredRuns*>(this)->Place(index), mLengths[index]};
}

void StoredRuns::Replace(std::size_t index, const ByteRun& run)
{
    if (run.mLength > mLengths[index])
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
        std::memmove(Place(index), run.mBytes, run.mLength);
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

void StoredRuns::SetApart(std::size_t index)
{
    OwnedRun copy = Copy(Get(index));
    mPointers.resize(mLengths.size());
    mPointers[index] = std::move(copy);
}
} // namespace hollin_private
