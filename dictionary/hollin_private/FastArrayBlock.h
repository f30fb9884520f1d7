// A block of a flat store: a file as it is laid out, or entries that were added
// one by one.
//
// A slot is one entry. Keys and values go by slot, comments by their place in
// mCommentIds.
//
// Who fills in a block answers for it: mKeys (of a block with keys) and mValues
// have at least mCount runs, each offset with its length lies in its pool, mCommentIds
// ascends, holds slots of the block and has as many items as mComments.

#ifndef HOLLIN_PRIVATE_FAST_ARRAY_BLOCK_H
#define HOLLIN_PRIVATE_FAST_ARRAY_BLOCK_H

#include <cstdint>

#include "hollin_private/ByteRun.h"
#include "hollin_private/StoredRuns.h"
#include "hollin_private/Table.h"

namespace hollin_private
{
struct FastArrayBlock
{
    std::uint32_t mCount = 0;  // slots, removed ones too
    std::uint32_t mBaseId = 0; // identifier of slot 0; set by the store
    bool mHasKeys = true;
    std::uint32_t mToldLive = 0; // of a block without keys, which has no mark for removed slots

    StoredRuns mKeys; // a length of 0 marks a removed slot
    StoredRuns mValues;
    StoredRuns mComments;
    Table<std::uint32_t> mCommentIds; // the slot of each comment

    // All of a block without keys are live. slot is below mCount.
    bool IsLive(std::uint32_t slot) const { return !mHasKeys || mKeys.mLengths[slot] != 0; }
    std::uint32_t CountLive() const;

    // Appends a slot. comment may be null.
    void Append(const ByteRun& key, const ByteRun& value, const ByteRun* comment);

    // Sets the slot's comment, replacing the one it has.
    void SetComment(std::uint32_t slot, const ByteRun& comment);

    // Marks a slot of a block with keys as removed; its comment becomes empty.
    void Remove(std::uint32_t slot);

    // A block with a single comment gives it for each of its slots.
    ByteRun CommentOf(std::uint32_t slot) const;
};
} // namespace hollin_private

#endif
