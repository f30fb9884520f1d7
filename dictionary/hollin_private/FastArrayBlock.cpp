#include "hollin_private/FastArrayBlock.h"

#include <algorithm>

namespace hollin_private
{
namespace
{
// Where the slot's comment is, or would have to be.
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

std::uint32_t FastArrayBlock::CountLive() const
{
    if (!mHasKeys)
        return mToldLive;
    const auto removed = std::count(mKeys.mLengths.begin(), mKeys.mLengths.end(), 0);
    return mCount - static_cast<std::uint32_t>(removed);
}

void FastArrayBlock::Append(const ByteRun& key, const ByteRun& value, const ByteRun* comment)
{
    // What a failed allocation leaves stands behind mCount, where nobody looks.
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
    mValues.mLengths[slot] = 0;
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
