// The flat store: blocks of entries, and the identifiers of the keys by bucket.
//
// Identifiers count all slots from 0, block after block. A removed entry keeps its
// identifier. Copies of a dictionary share the store. Offsets and lengths are in bytes.

#ifndef HOLLIN_PRIVATE_FAST_ARRAY_H
#define HOLLIN_PRIVATE_FAST_ARRAY_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "hollin_private/ByteRun.h"
#include "hollin_private/FastArrayBlock.h"
#include "hollin_private/KeyIndex.h"

namespace hollin_private
{
// The bucket tables of a file.
//
// Invariants: each number is below kBucketCount and occurs once; mSizes has as many items as
// mNumbers, and their sum is the size of mIds.
struct FileBuckets // NOLINT(bugprone-exception-escape): the move of a Boost vector throws nothing
{
    Table<std::uint16_t> mNumbers;
    Table<std::uint32_t> mSizes;
    Table<std::uint32_t> mIds; // bucket by bucket
};

// The identifiers of the keys of a store, by bucket.
//
// The buckets are allocated in pages, a page with its first identifier, so that a small store is
// cheap: all buckets take 88 KiB. The identifiers of a file stay in the file's one array until one
// is added to their bucket.
class IdBuckets
{
public:
    struct Ids
    {
        const std::uint32_t* mBegin = nullptr;
        const std::uint32_t* mEnd = nullptr;

        const std::uint32_t* begin() const { return mBegin; }
        const std::uint32_t* end() const { return mEnd; }
        std::size_t size() const { return static_cast<std::size_t>(mEnd - mBegin); }
    };

    // The result is valid until an identifier is added.
    //
    // REQUIRES: bucket < kBucketCount.
    Ids Get(std::uint32_t bucket) const;

    // Append does not fail after Reserve. `runs` lie in the store.
    void Reserve(std::uint32_t bucket, std::size_t more);
    void Append(std::uint32_t bucket, std::uint32_t id, const KeyAndValue& runs);

    // Returns the index of the keys of a bucket, or null without memory, and while another thread
    // makes the index. runsOf(id) returns the KeyAndValue of an identifier.
    //
    // REQUIRES: the bucket is not empty.
    // Thread safety: thread-safe beside Get and IndexOf.
    template <class RunsOf>
    const KeyIndex* IndexOf(std::uint32_t bucket, const RunsOf& runsOf) const;

    // Stores the changed key and value of an identifier in the index of the bucket, if the index is
    // made. `key` is the key before the change.
    void Change(std::uint32_t bucket, const ByteRun& key, std::uint32_t id,
                const KeyAndValue& runs);

    // Takes the identifiers of a file.
    //
    // REQUIRES: there are no identifiers.
    void Adopt(FileBuckets&& buckets);

private:
    struct Bucket
    {
        const std::uint32_t* mIds = nullptr; // in mOwned or in mFileIds
        std::size_t mCount = 0;
        std::size_t mCapacity = 0; // of mOwned
        std::unique_ptr<std::uint32_t[]> mOwned;
        mutable KeyIndex mIndex; // of all mIds, if it is made
    };

    static const std::uint32_t kPageSize = 32; // in buckets
    static const std::uint32_t kPageCount = (kBucketCount + kPageSize - 1) / kPageSize;

    // Returns null if the page is not allocated.
    const Bucket* Find(std::uint32_t bucket) const
    {
        const std::unique_ptr<Bucket[]>& page = mPages[bucket / kPageSize];
        return page ? &page[bucket % kPageSize] : nullptr;
    }

    // Returns the bucket, and allocates its page if necessary.
    Bucket& Make(std::uint32_t bucket);

    std::unique_ptr<Bucket[]> mPages[kPageCount];
    Table<std::uint32_t> mFileIds;
};

template <class RunsOf>
const KeyIndex* IdBuckets::IndexOf(std::uint32_t bucket, const RunsOf& runsOf) const
{
    const Bucket& indexed = *Find(bucket);
    if (indexed.mIndex.IsMade() || indexed.mIndex.Make(indexed.mIds, indexed.mCount, runsOf))
        return &indexed.mIndex;
    return nullptr;
}

// Thread safety: any number of threads may call the const functions at once, while no thread
// changes the store.
class FastArray : public RefCountObj
{
public:
    FastArray() = default;
    FastArray(const FastArray&) = delete;
    FastArray& operator=(const FastArray&) = delete;

    // Returns the identifier of a key, or hollin::kNoId.
    //
    // - Of several entries with the key, the first in the bucket counts: the lowest
    //   identifier of entries that were added one by one, but a file may list its
    //   identifiers in any order.
    // - An empty key finds the first slot of its bucket that is removed or has an empty key.
    std::uint32_t Find(const ByteRun& key) const;

    // Find, which also stores in *value the run that Value would return. A key that is not empty
    // finds a live entry.
    std::uint32_t Find(const ByteRun& key, ByteRun* value) const;

    // Returns whether the identifier is below TotalIds() and its entry is not removed.
    bool IsLive(std::uint32_t id) const;

    // Return a run in the store, valid until the store changes. The run of an absent entry is
    // empty. Value is also empty for a removed entry. A block with a single comment returns it
    // for each of its slots.
    ByteRun Key(std::uint32_t id) const;
    ByteRun Value(std::uint32_t id) const;
    ByteRun Comment(std::uint32_t id) const;

    // Adds the entry, or replaces its value, and its comment if `comment` is not null.
    //
    // Returns: the identifier; hollin::kNoId, with nothing changed, for a run longer than
    // hollin::kLongestRun and if all identifiers are used.
    std::uint32_t Add(const ByteRun& key, const ByteRun& value, const ByteRun* comment);

    // Add without a search.
    //
    // REQUIRES: the store does not have the key.
    std::uint32_t AddNew(const ByteRun& key, const ByteRun& value, const ByteRun* comment);

    // Add for an entry that the store has.
    //
    // REQUIRES: id < TotalIds().
    std::uint32_t Replace(std::uint32_t id, const ByteRun& value, const ByteRun* comment);

    // Returns the identifier, or hollin::kNoId if the entry isn't live or has no key.
    std::uint32_t Remove(std::uint32_t id);

    // Takes a block that was read from a file. The identifiers in `buckets` are slots of the
    // block. `base` is the base of the file.
    //
    // - If `base` is 0 and the store has entries, the block is merged: its values replace
    //   those of equal keys, and their slots are removed from the block. Slots that the file
    //   has removed aren't merged, since they have no key.
    // - A block without live slots is dropped. The file's count of live slots is used for a
    //   block without keys.
    //
    // Returns: false, with nothing changed, if `base` is not the number of identifiers of
    // this store, or if there are too few identifiers.
    bool AdoptBlock(FastArrayBlock&& block, FileBuckets&& buckets, std::uint32_t base);

    // For writers.
    std::uint32_t TotalIds() const { return mTotalIds; }
    std::uint32_t LiveCount() const { return mLiveCount; }
    const std::vector<FastArrayBlock>& Blocks() const { return mBlocks; }
    const IdBuckets& Buckets() const { return mBuckets; }

private:
    typedef std::unordered_map<std::string_view, std::uint32_t> KnownKeys;

    const FastArrayBlock* BlockOf(std::uint32_t id) const; // null if there is none
    FastArrayBlock* BlockOf(std::uint32_t id);
    FastArrayBlock& OpenBlock();
    bool HasKey(std::uint32_t id, const ByteRun& key) const;
    std::uint32_t Scan(const IdBuckets::Ids& ids, const ByteRun& key) const;
    KeyAndValue RunsOf(std::uint32_t id) const;
    void SetValue(std::uint32_t id, const ByteRun& value);
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
