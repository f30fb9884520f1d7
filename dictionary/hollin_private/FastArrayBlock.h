// A block of a flat store: the entries of one file in the layout of the file, or entries
// that were added one by one.

#ifndef HOLLIN_PRIVATE_FAST_ARRAY_BLOCK_H
#define HOLLIN_PRIVATE_FAST_ARRAY_BLOCK_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include <boost/container/vector.hpp>

#include "hollin_private/ByteRun.h"

namespace hollin_private
{
// A vector whose growth may leave the new items uninitialised, for tables that are filled by
// one copy. Such growth names boost::container::default_init.
template <class T> using Table = boost::container::vector<T>;

// Room for one more item, whose insertion then does not fail.
template <class Items> void MakeRoom(Items& items)
{
    if (items.size() == items.capacity())
        items.reserve(items.size() + items.size() / 2 + 4);
}

// The keys, values or comments of a block, by index.
//
// A run lies in the pool, or in memory of its own if its pointer is set: runs that were
// added one by one, and runs that were replaced by longer ones.
class StoredRuns // NOLINT(bugprone-exception-escape): the move of a Boost vector throws nothing
{
public:
    Table<std::uint32_t> mOffsets; // into mPool; empty if no run lies there
    Table<std::uint16_t> mLengths; // in bytes
    Table<unsigned char> mPool;
    std::vector<OwnedRun> mPointers; // empty, or one a run

    // Set if runs of the pool may share bytes. Then none of them is overwritten.
    bool mSharesPool = false;

    std::size_t Size() const { return mLengths.size(); }

    // Returns an empty run for an index at or above Size().
    ByteRun Get(std::size_t index) const
    {
        if (index >= mLengths.size() || !mLengths[index])
            return ByteRun();
        return ByteRun{Address(index), mLengths[index]};
    }

    // Copies the run. A run that fits overwrites the old one, unless that is shared. A failed
    // allocation changes nothing.
    void Replace(std::size_t index, const ByteRun& run);
    void Insert(std::size_t index, const ByteRun& run); // REQUIRES: index <= Size()

private:
    bool IsOutsidePool(std::size_t index) const
    {
        return index < mPointers.size() && mPointers[index];
    }

    // REQUIRES: the run isn't empty.
    const unsigned char* Address(std::size_t index) const
    {
        if (IsOutsidePool(index))
            return mPointers[index].get();
        return mPool.data() + mOffsets[index];
    }
};

// A slot is one entry. Keys and values are indexed by slot, comments by the position of the
// slot in mCommentIds.
//
// Invariants, for which the code that fills in the fields is responsible:
// - mValues, and mKeys if mHasKeys is set, have at least mCount runs;
// - each run lies in its pool;
// - mCommentIds ascends, holds slots of the block and has as many items as mComments.
struct FastArrayBlock
{
    std::uint32_t mCount = 0;  // of slots, removed ones included
    std::uint32_t mBaseId = 0; // the identifier of slot 0; set by the store
    bool mHasKeys = true;

    // The file's number of live slots. Used for a block without keys, which does not mark
    // its removed slots.
    std::uint32_t mStoredLiveCount = 0;

    StoredRuns mKeys; // a length of 0 marks a removed slot
    StoredRuns mValues;
    StoredRuns mComments;
    Table<std::uint32_t> mCommentIds; // the slot of each comment

    // Returns true for every slot of a block without keys.
    //
    // REQUIRES: slot < mCount.
    bool IsLive(std::uint32_t slot) const { return !mHasKeys || mKeys.mLengths[slot] != 0; }
    std::uint32_t CountLive() const;

    // Appends a slot. `comment` may be null.
    void Append(const ByteRun& key, const ByteRun& value, const ByteRun* comment);

    // Sets or replaces the slot's comment.
    void SetComment(std::uint32_t slot, const ByteRun& comment);

    // Marks a slot of a block with keys as removed, so that its value does not count. Its comment
    // becomes empty.
    void Remove(std::uint32_t slot);

    // A block with a single comment returns it for each of its slots.
    ByteRun CommentOf(std::uint32_t slot) const;
};
} // namespace hollin_private

#endif
