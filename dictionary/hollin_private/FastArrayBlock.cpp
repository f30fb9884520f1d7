#include "hollin_private/FastArrayBlock.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

namespace hollin_private
{
namespace
{
template <class Items, class Item> void InsertAt(Items& items, std::size_t index, Item&& item)
{
    items.insert(std::next(items.begin(), static_cast<std::ptrdiff_t>(index)),
                 std::forward<Item>(item));
}

// Returns the index of the slot's comment, or the index at which to insert one.
std::size_t CommentIndex(const FastArrayBlock& block, std::uint32_t slot)
{
    const Table<std::uint32_t>& ids = block.mCommentIds;
    return static_cast<std::size_t>(std::lower_bound(ids.begin(), ids.end(), slot) - ids.begin());
}

bool IsCommentOf(const FastArrayBlock& block, std::size_t index, std::uint32_t slot)
{
    return index < block.mCommentIds.size() && block.mCommentIds[index] == slot;
}
} // namespace

void StoredRuns::Replace(std::size_t index, const ByteRun& run)
{
    const bool isShared = mSharesPool && !IsOutsidePool(index);
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
        // The source may be part of this store and overlap the destination.
        std::memmove(const_cast<unsigned char*>(Address(index)), run.mBytes, run.mLength);
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

std::uint32_t FastArrayBlock::CountLive() const
{
    if (!mHasKeys)
        return mStoredLiveCount;
    const auto removed = std::count(mKeys.mLengths.begin(), mKeys.mLengths.end(), 0);
    return mCount - static_cast<std::uint32_t>(removed);
}

void FastArrayBlock::Append(const ByteRun& key, const ByteRun& value, const ByteRun* comment)
{
    // A failed allocation leaves runs after mCount, which no function reads.
    mKeys.Insert(mCount, key);
    mValues.Insert(mCount, value);
    if (comment)
        SetComment(mCount, *comment);
    ++mCount;
}

void FastArrayBlock::SetComment(std::uint32_t slot, const ByteRun& comment)
{
    const std::size_t index = CommentIndex(*this, slot);
    if (IsCommentOf(*this, index, slot))
        return mComments.Replace(index, comment);
    MakeRoom(mCommentIds);
    mComments.Insert(index, comment);
    InsertAt(mCommentIds, index, slot);
}

void FastArrayBlock::Remove(std::uint32_t slot)
{
    mKeys.mLengths[slot] = 0;
    const std::size_t index = CommentIndex(*this, slot);
    if (IsCommentOf(*this, index, slot))
        mComments.mLengths[index] = 0;
}

ByteRun FastArrayBlock::CommentOf(std::uint32_t slot) const
{
    if (mCommentIds.size() == 1)
        return mComments.Get(0);
    const std::size_t index = CommentIndex(*this, slot);
    return IsCommentOf(*this, index, slot) ? mComments.Get(index) : ByteRun();
}
} // namespace hollin_private
