#include "hollin_private/HashTable.h"

#include <utility>

namespace hollin_private
{
ByteRunKey::ByteRunKey(const ByteRun& bytes, Ownership ownership) : mKey(bytes)
{
    if (ownership == kCopy)
    {
        mOwned = CopyOf(bytes);
        mKey.mBytes = mOwned.get();
    }
    else if (!bytes.mLength)
        mKey.mBytes = nullptr;
}

ByteRunKey::ByteRunKey(const ByteRunKey& other) : ByteRunKey(other.mKey, kCopy) {}

std::uint32_t ByteRunKey::Hash(std::uint32_t tableSize) const
{
    return HashKey(mKey, tableSize);
}

bool ByteRunKey::Equals(const HashItem& other) const
{
    return mKey == static_cast<const ByteRunKey&>(other).mKey;
}

HashTable::~HashTable()
{
    for (HashItem* item : mBuckets)
    {
        while (item)
        {
            const std::unique_ptr<HashItem> owner(item);
            item = item->mNext;
        }
    }
}

const HashItem* HashTable::Find(const HashItem& key) const
{
    const HashItem* item = Chain(key.Hash(kBucketCount));
    while (item && !key.Equals(*item))
        item = item->mNext;
    return item;
}

void HashTable::Insert(std::unique_ptr<HashItem> item)
{
    const std::uint32_t bucket = item->Hash(kBucketCount);
    InsertAfter(bucket, nullptr, std::move(item));
}

HashItem* HashTable::InsertAfter(std::uint32_t bucket, HashItem* previous,
                                 std::unique_ptr<HashItem> item)
{
    if (mBuckets.empty())
        mBuckets.resize(kBucketCount);
    HashItem*& link = previous ? previous->mNext : mBuckets[bucket];
    item->mNext = link;
    link = item.release();
    return link;
}

void HashTable::Remove(const std::unordered_set<const HashItem*>& items)
{
    if (items.empty())
        return;
    if (mIterItem && items.count(mIterItem))
    {
        mIterItem = nullptr;
        mIterItemRemoved = true;
    }
    for (HashItem*& head : mBuckets)
    {
        for (HashItem** link = &head; *link;)
        {
            if (!items.count(*link))
            {
                link = &(*link)->mNext;
                continue;
            }
            const std::unique_ptr<HashItem> item(*link);
            *link = item->mNext;
        }
    }
}

const HashItem* HashTable::Chain(std::uint32_t bucket) const
{
    return mBuckets.empty() ? nullptr : mBuckets[bucket];
}

void HashTable::ResetIterator()
{
    mIterItem = nullptr;
    mIterItemRemoved = false;
}

bool HashTable::Next()
{
    if (mIterItemRemoved)
    {
        ResetIterator();
        return false;
    }
    if (mIterItem && mIterItem->mNext)
    {
        mIterItem = mIterItem->mNext;
        return true;
    }
    std::uint32_t bucket = mIterItem ? mIterBucket + 1 : 0;
    while (bucket < mBuckets.size() && !mBuckets[bucket])
        ++bucket;
    mIterBucket = bucket;
    mIterItem = bucket < mBuckets.size() ? mBuckets[bucket] : nullptr;
    return mIterItem != nullptr;
}
} // namespace hollin_private
