// A block of a flat store: a file as it is laid out, or entries that were added
// one by one.
//
// A slot is one entry. Its key and value stand in the pools of the block, or
// apart, where a pointer is set: entries added, and values replaced by longer
// ones. The tables per slot have mCount items, or none at all; those per comment
// have as many as mCommentIds.
//
// Who fills in a block answers for it: each offset with its length lies in its
// pool, mCommentIds ascends and holds slots of the block.

#ifndef HOLLIN_PRIVATE_FAST_ARRAY_BLOCK_H
#define HOLLIN_PRIVATE_FAST_ARRAY_BLOCK_H

#include <cstdint>
#include <memory>
#include <vector>

#include "hollin_private/ByteRun.h"
#include "hollin_private/Table.h"

namespace hollin_private
{
typedef std::vector<std::unique_ptr<unsigned char[]>> RunPointers;

struct FastArrayBlock
{
    std::uint32_t mCount = 0;  // slots, removed ones too
    std::uint32_t mBaseId = 0; // identifier of slot 0; set by the store
    bool mHasKeys = true;

    Table<std::uint32_t> mKeyOffsets;
    Table<std::uint16_t> mKeyLengths; // bytes; 0 marks a removed slot
    Table<unsigned char> mKeyPool;
    RunPointers mKeyPointers;

    Table<std::uint32_t> mValueOffsets;
    Table<std::uint16_t> mValueLengths; // bytes
    Table<unsigned char> mValuePool;
    RunPointers mValuePointers;

    Table<std::uint32_t> mCommentIds; // slots
    Table<std::uint32_t> mCommentOffsets;
    Table<std::uint16_t> mCommentLengths; // bytes
    Table<unsigned char> mCommentPool;
    RunPointers mCommentPointers;

    // All of a block without keys are live. slot is below mCount.
    bool IsLive(std::uint32_t slot) const { return !mHasKeys || mKeyLengths[slot] != 0; }
    std::uint32_t CountLive() const;

    // Empty if the block has none.
    ByteRun Key(std::uint32_t slot) const;
    ByteRun Value(std::uint32_t slot) const;

    std::uint32_t CommentCount() const { return static_cast<std::uint32_t>(mCommentIds.size()); }
    ByteRun Comment(std::uint32_t index) const; // index is below CommentCount()
};
} // namespace hollin_private

#endif
