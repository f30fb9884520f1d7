#include "hollin_private/HashTable.h"

#include <utility>

namespace hollin_private
{
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

// The link to the item that equals the key; null if there is none.
HashItem** HashTable::FindLink(const HashItem& key)
{
    if (mBuckets.empty())
        return nullptr;
    HashItem** link = &mBuckets[key.Hash(kBucketCount)];
    while (*link && !key.Equals(**link))
        link = &(*link)->mNext;
    return *link ? link : nullptr;
}

const HashItem* HashTable::Find(const HashItem& key) const
{
    HashItem** link = const_cast<HashTable*>(this)->FindLink(key);
    return link ? *link : nullptr;
}

void HashTable::Insert(std::unique_ptr<HashItem> item)
{
    const std::uint32_t bucket = item->Hash(kBucketCount);
    InsertBehind(bucket, nullptr, std::move(item));
}

HashItem* HashTable::InsertBehind(std::uint32_t bucket, HashItem* previous,
                                  std::unique_ptr<HashItem> item)
{
    if (mBuckets.empty())
        mBuckets.resize(kBucketCount);
    HashItem*& link = previous ? previous->mNext : mBuckets[bucket];
    item->mNext = link;
    link = item.release();
    return link;
}

std::unique_ptr<HashItem> HashTable::Remove(const HashItem& key)
{
    HashItem** link = FindLink(key);
    if (!link)
        return nullptr;
    std::unique_ptr<HashItem> item(*link);
    if (mIterItem == item.get())
        ResetIterator();
    *link = item->mNext;
    item->mNext = nullptr;
    return item;
}

const HashItem* HashTable::Chain(std::uint32_t bucket) const
{
    return mBuckets.empty() ? nullptr : mBuckets[bucket];
}

void HashTable::ResetIterator()
{
    mIterItem = nullptr;
}

bool HashTable::Next()
{
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
