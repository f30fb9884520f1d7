#include "hollin_private/FastArray.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

namespace hollin_private
{
namespace
{
using hollin::kLongestRun;
using hollin::kNoId;

const std::uint32_t kSlotsOfOpenBlock = 100;
const std::size_t kScannedIds = 8;            // a scan of so few is as quick as an index
const std::uint32_t kLongestMergedKey = 1023; // longer keys never equal another in a merge

bool CanMerge(const ByteRun& key)
{
    return key.mLength > 0 && key.mLength <= kLongestMergedKey;
}

bool IsTooLong(const ByteRun& value, const ByteRun* comment)
{
    return std::max(value.mLength, comment ? comment->mLength : 0) > kLongestRun;
}

// Calls visit(bucket, begin, end) for each bucket with its slots.
template <class Visit> void ForEachBucket(const FileBuckets& buckets, const Visit& visit)
{
    const std::uint32_t* slots = buckets.mIds.data();
    for (std::size_t i = 0; i < buckets.mNumbers.size(); ++i)
    {
        visit(buckets.mNumbers[i], slots, slots + buckets.mSizes[i]);
        slots += buckets.mSizes[i];
    }
}
} // namespace

IdBuckets::Ids IdBuckets::Get(std::uint32_t bucket) const
{
    const Bucket* const found = Find(bucket);
    return found ? Ids{found->mIds, found->mIds + found->mCount} : Ids();
}

IdBuckets::Bucket& IdBuckets::Make(std::uint32_t bucket)
{
    std::unique_ptr<Bucket[]>& page = mPages[bucket / kPageSize];
    if (!page)
        page = std::make_unique<Bucket[]>(kPageSize);
    return page[bucket % kPageSize];
}

void IdBuckets::Reserve(std::uint32_t bucket, std::size_t more)
{
    Bucket& grown = Make(bucket);
    const std::size_t needed = grown.mCount + more;
    if (needed <= grown.mCapacity)
        return;
    const std::size_t capacity = std::max(needed, grown.mCapacity + grown.mCapacity / 2);
    std::unique_ptr<std::uint32_t[]> ids(new std::uint32_t[capacity]);
    std::copy_n(grown.mIds, grown.mCount, ids.get());
    grown.mOwned = std::move(ids);
    grown.mIds = grown.mOwned.get();
    grown.mCapacity = capacity;
}

void IdBuckets::Append(std::uint32_t bucket, std::uint32_t id, const KeyAndValue& runs)
{
    Reserve(bucket, 1);
    Bucket& grown = Make(bucket);
    grown.mOwned[grown.mCount++] = id;
    grown.mIndex.Insert(id, runs);
}

void IdBuckets::Change(std::uint32_t bucket, const ByteRun& key, std::uint32_t id,
                       const KeyAndValue& runs)
{
    if (Find(bucket))
        Make(bucket).mIndex.Change(key, id, runs);
}

void IdBuckets::Adopt(FileBuckets&& buckets)
{
    // All pages are allocated first, so that a failed allocation adds no identifier.
    for (const std::uint16_t number : buckets.mNumbers)
        Make(number);
    mFileIds = std::move(buckets.mIds);
    const std::uint32_t* ids = mFileIds.data();
    for (std::size_t i = 0; i < buckets.mNumbers.size(); ++i)
    {
        Bucket& bucket = Make(buckets.mNumbers[i]);
        bucket.mOwned.reset(); // the room of an identifier whose addition failed
        bucket.mCapacity = 0;
        bucket.mIds = ids;
        bucket.mCount = buckets.mSizes[i];
        ids += buckets.mSizes[i];
    }
}

const FastArrayBlock* FastArray::BlockOf(std::uint32_t id) const
{
    if (id >= mTotalIds)
        return nullptr;
    const auto startsAfter = [](std::uint32_t wanted, const FastArrayBlock& block) {
        return wanted < block.mBaseId;
    };
    return &*std::prev(std::upper_bound(mBlocks.begin(), mBlocks.end(), id, startsAfter));
}

FastArrayBlock* FastArray::BlockOf(std::uint32_t id)
{
    return const_cast<FastArrayBlock*>(static_cast<const FastArray*>(this)->BlockOf(id));
}

std::uint32_t FastArray::Find(const ByteRun& key) const
{
    ByteRun value;
    return Find(key, &value);
}

std::uint32_t FastArray::Find(const ByteRun& key, ByteRun* value) const
{
    const std::uint32_t bucket = HashKey(key, kBucketCount);
    const IdBuckets::Ids ids = mBuckets.Get(bucket);
    const KeyIndex* index = nullptr;
    if (ids.size() > kScannedIds && key.mLength)
        index = mBuckets.IndexOf(bucket, [this](std::uint32_t id) { return RunsOf(id); });
    if (!index)
    {
        const std::uint32_t id = Scan(ids, key);
        *value = Value(id);
        return id;
    }
    const KeyIndex::Entry* const entry = index->Find(key);
    *value = entry ? entry->Value() : ByteRun();
    return entry ? entry->mId : kNoId;
}

KeyAndValue FastArray::RunsOf(std::uint32_t id) const
{
    return {Key(id), Value(id)};
}

// A file may list an identifier in other buckets too. Their indices keep the old runs, which no
// look-up finds there.
void FastArray::SetValue(std::uint32_t id, const ByteRun& value)
{
    FastArrayBlock* block = BlockOf(id);
    block->mValues.Replace(id - block->mBaseId, value);
    const KeyAndValue runs = RunsOf(id);
    mBuckets.Change(HashKey(runs.mKey, kBucketCount), runs.mKey, id, runs);
}

bool FastArray::HasKey(std::uint32_t id, const ByteRun& key) const
{
    return Key(id) == key;
}

// An empty key finds removed slots too.
std::uint32_t FastArray::Scan(const IdBuckets::Ids& ids, const ByteRun& key) const
{
    const auto found =
        std::find_if(ids.begin(), ids.end(), [&](std::uint32_t id) { return HasKey(id, key); });
    return found == ids.end() ? kNoId : *found;
}

bool FastArray::IsLive(std::uint32_t id) const
{
    const FastArrayBlock* block = BlockOf(id);
    return block && block->IsLive(id - block->mBaseId);
}

ByteRun FastArray::Key(std::uint32_t id) const
{
    const FastArrayBlock* block = BlockOf(id);
    return block ? block->mKeys.Get(id - block->mBaseId) : ByteRun();
}

ByteRun FastArray::Value(std::uint32_t id) const
{
    const FastArrayBlock* block = BlockOf(id);
    if (!block || !block->IsLive(id - block->mBaseId))
        return ByteRun();
    return block->mValues.Get(id - block->mBaseId);
}

ByteRun FastArray::Comment(std::uint32_t id) const
{
    const FastArrayBlock* block = BlockOf(id);
    return block ? block->CommentOf(id - block->mBaseId) : ByteRun();
}

std::uint32_t FastArray::Add(const ByteRun& key, const ByteRun& value, const ByteRun* comment)
{
    const std::uint32_t found = Find(key);
    return found == kNoId ? AddNew(key, value, comment) : Replace(found, value, comment);
}

std::uint32_t FastArray::Replace(std::uint32_t id, const ByteRun& value, const ByteRun* comment)
{
    if (IsTooLong(value, comment))
        return kNoId;
    SetValue(id, value);
    FastArrayBlock* block = BlockOf(id);
    if (comment)
        block->SetComment(id - block->mBaseId, *comment);
    return id;
}

std::uint32_t FastArray::AddNew(const ByteRun& key, const ByteRun& value, const ByteRun* comment)
{
    if (key.mLength > kLongestRun || IsTooLong(value, comment) || mTotalIds == kNoId)
        return kNoId;
    const std::uint32_t bucket = HashKey(key, kBucketCount);
    mBuckets.Reserve(bucket, 1);
    FastArrayBlock& block = OpenBlock();
    block.Append(key, value, comment);
    const std::uint32_t slot = block.mCount - 1;
    mBuckets.Append(bucket, mTotalIds, {block.mKeys.Get(slot), block.mValues.Get(slot)});
    if (block.mCount == kSlotsOfOpenBlock)
        mLastBlockOpen = false;
    ++mLiveCount;
    return mTotalIds++;
}

FastArrayBlock& FastArray::OpenBlock()
{
    if (!mLastBlockOpen)
    {
        mBlocks.emplace_back();
        mBlocks.back().mBaseId = mTotalIds;
        mLastBlockOpen = true;
    }
    return mBlocks.back();
}

std::uint32_t FastArray::Remove(std::uint32_t id)
{
    FastArrayBlock* block = BlockOf(id);
    if (!block || !block->mHasKeys || !block->IsLive(id - block->mBaseId))
        return kNoId;
    const ByteRun key = Key(id);
    block->Remove(id - block->mBaseId);
    mBuckets.Change(HashKey(key, kBucketCount), key, id, KeyAndValue());
    --mLiveCount;
    return id;
}

bool FastArray::AdoptBlock(FastArrayBlock&& block, FileBuckets&& buckets, std::uint32_t base)
{
    const std::uint32_t existing = mTotalIds;
    if (base && existing && base != existing)
        return false;
    if (block.mCount > kNoId - existing)
        return false;
    if (!block.mHasKeys)
        buckets = FileBuckets();
    block.mBaseId = existing;
    if (existing && !base)
        MergeKnownKeys(block, buckets);
    const std::uint32_t live = block.CountLive();
    if (!live)
        return true;
    MakeRoom(mBlocks);
    if (existing)
        AppendIds(block, buckets);
    else
        mBuckets.Adopt(std::move(buckets));
    mTotalIds += block.mCount;
    mLiveCount += live;
    mBlocks.push_back(std::move(block));
    mLastBlockOpen = false; // its next slots would need identifiers that are now used
    return true;
}

// Returns the keys of a bucket that a merge can find. Of equal keys the first one counts.
FastArray::KnownKeys FastArray::KeysOfBucket(std::uint32_t bucket) const
{
    const IdBuckets::Ids ids = mBuckets.Get(bucket);
    KnownKeys known(ids.size());
    for (std::uint32_t id : ids)
    {
        const ByteRun key = Key(id);
        if (CanMerge(key))
            known.emplace(ViewOf(key), id);
    }
    return known;
}

// If the store has the slot's key, replaces the value of that key by the slot's value and
// removes the slot. Returns whether the store has the key.
bool FastArray::MergeSlot(FastArrayBlock& block, std::uint32_t slot, const KnownKeys& known)
{
    const ByteRun key = block.mKeys.Get(slot);
    const auto found = CanMerge(key) ? known.find(ViewOf(key)) : known.end();
    if (found == known.end())
        return false;
    SetValue(found->second, block.mValues.Get(slot));
    block.mKeys.mLengths[slot] = 0;
    return true;
}

// Removes the merged slots from the buckets.
void FastArray::MergeKnownKeys(FastArrayBlock& block, FileBuckets& buckets)
{
    std::uint32_t* kept = buckets.mIds.data();
    const std::uint32_t* slot = kept;
    for (std::size_t i = 0; i < buckets.mNumbers.size(); ++i)
    {
        const KnownKeys known = KeysOfBucket(buckets.mNumbers[i]);
        const std::uint32_t* const begin = kept;
        for (const std::uint32_t* const end = slot + buckets.mSizes[i]; slot != end; ++slot)
        {
            if (!MergeSlot(block, *slot, known))
                *kept++ = *slot;
        }
        buckets.mSizes[i] = static_cast<std::uint32_t>(kept - begin);
    }
    buckets.mIds.resize(static_cast<std::size_t>(kept - buckets.mIds.data()));
}

void FastArray::AppendIds(const FastArrayBlock& block, const FileBuckets& buckets)
{
    // All room is reserved first, so that a failed allocation adds no identifier.
    ForEachBucket(buckets,
                  [&](std::uint32_t bucket, const std::uint32_t* slot, const std::uint32_t* end) {
                      mBuckets.Reserve(bucket, static_cast<std::size_t>(end - slot));
                  });
    ForEachBucket(buckets,
                  [&](std::uint32_t bucket, const std::uint32_t* slot, const std::uint32_t* end) {
                      for (; slot != end; ++slot)
                          mBuckets.Append(bucket, block.mBaseId + *slot,
                                          {block.mKeys.Get(*slot), block.mValues.Get(*slot)});
                  });
}
} // namespace hollin_private
