// What an image of version 2 is to hold, gathered from a store.

#ifndef HOLLIN_PRIVATE_FLAT_CONTENT_H
#define HOLLIN_PRIVATE_FLAT_CONTENT_H

#include <cstdint>
#include <vector>

#include "hollin_private/ByteRun.h"
#include "hollin_private/FastArray.h"
#include "hollin_private/HashTable.h"

namespace hollin_private
{
// The runs belong to the store. Values and comments are whole units.
struct FlatContent
{
    bool mKeyed = true;
    std::uint32_t mLive = 0;    // entries with an empty key count, too
    std::vector<ByteRun> mKeys; // one a slot, as the values; none without keys
    std::vector<ByteRun> mValues;

    std::vector<std::uint16_t> mBucketNumbers; // of those that aren't empty
    std::vector<std::uint32_t> mBucketSizes;
    std::vector<std::uint32_t> mBucketIds;

    std::vector<std::uint32_t> mCommentIds;
    std::vector<ByteRun> mComments;
};

// Entries are numbered as the chains have them.
FlatContent ContentOf(const HashTable& table);

// All blocks in a row. Removed slots keep their places, without text. Content
// without any keys has the text of every live slot.
FlatContent ContentOf(const FastArray& store, bool withoutKeys);
} // namespace hollin_private

#endif
