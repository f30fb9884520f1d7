// The flat store: blocks of entries, which identifiers number through.
//
// Keys are found by their hash; identifiers count from 0, block after block, and
// a removed entry keeps its own. The store is shared by copies of a dictionary.
// Offsets and lengths are in bytes.

#ifndef HOLLIN_PRIVATE_FAST_ARRAY_H
#define HOLLIN_PRIVATE_FAST_ARRAY_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "hollin_private/ByteRun.h"
#include "hollin_private/FastArrayBlock.h"
#include "hollin_private/IdBuckets.h"
#include "hollin_private/RefCountObj.h"

namespace hollin_private
{
class FastArray : public RefCountObj
{
public:
    FastArray() = default;
    FastArray(const FastArray&) = delete;
    FastArray& operator=(const FastArray&) = delete;

    // The identifier of a key, the first in the order of its bucket if several have it:
    // the lowest of those added one by one, but a file lists its own in any order.
    // hollin::kNoId if there is none. An empty key finds the first slot of its bucket
    // that is removed or has an empty key.
    std::uint32_t Find(const ByteRun& key) const;

    // Below TotalIds() and not removed.
    bool IsLive(std::uint32_t id) const;

    // Point into the store until it changes. Empty for what isn't there; Value
    // also for a removed entry.
    ByteRun Key(std::uint32_t id) const;
    ByteRun Value(std::uint32_t id) const;

    // A block with a single comment gives it for each of its slots.
    ByteRun Comment(std::uint32_t id) const;

    // Adds the entry, or replaces the value, and the comment if one is given.
    // Returns its identifier, or hollin::kNoId, with nothing changed, for a run
    // above hollin::kLongestRun or if no identifier is left.
    std::uint32_t Add(const ByteRun& key, const ByteRun& value, const ByteRun* comment);

    // The same for a key that isn't there, without a search.
    std::uint32_t AddNew(const ByteRun& key, const ByteRun& value, const ByteRun* comment);

    // The same for an identifier below TotalIds().
    std::uint32_t Replace(std::uint32_t id, const ByteRun& value, const ByteRun* comment);

    // Returns id, or hollin::kNoId for what isn't live or has no key.
    std::uint32_t Remove(std::uint32_t id);

    // Takes over a block that a file holds. The identifiers in buckets are slots
    // of the block. base is the file's: where it is 0 and entries are there
    // already, the values of keys that are there too replace theirs, and those
    // slots are removed from the block. Slots that the file has removed aren't
    // merged: they have no key. A block without live slots is dropped; of one
    // without keys the file tells how many live.
    // False if the file continues another store than this, or if identifiers
    // run out; nothing is changed then.
    bool AdoptBlock(FastArrayBlock&& block, FileBuckets&& buckets, std::uint32_t base);

    // For whoever writes the store.
    std::uint32_t TotalIds() const { return mTotalIds; }
    std::uint32_t LiveCount() const { return mLiveCount; }
    const std::vector<FastArrayBlock>& Blocks() const { return mBlocks; }
    const IdBuckets& Buckets() const { return mBuckets; }

private:
    typedef std::unordered_map<std::string_view, std::uint32_t> KnownKeys;

    const FastArrayBlock* BlockOf(std::uint32_t id) const; // null if there is none
    FastArrayBlock* BlockOf(std::uint32_t id);
    FastArrayBlock& OpenBlock();
    KnownKeys KeysOfBucket(std::uint32_t bucket) const;
    bool MergeSlot(FastArrayBlock& block, std::uint32_t slot, const KnownKeys& known);
    void MergeKnownKeys(FastArrayBlock& block, FileBuckets& buckets);
    void AppendIds(const FastArrayBlock& block, const FileBuckets& buckets);

    std::vector<FastArrayBlock> mBlocks; // mBaseId ascends
    IdBuckets mBuckets;
    std::uint32_t mTotalIds = 0;
    std::uint32_t mLiveCount = 0;
    bool mLastBlockOpen = false; // the last block takes further entries
};
} // namespace hollin_private

#endif
