// A chained hash table that owns its items.
//
// The buckets are made with the first item, so that an empty table is cheap.

#ifndef HOLLIN_PRIVATE_HASH_TABLE_H
#define HOLLIN_PRIVATE_HASH_TABLE_H

#include <cstdint>
#include <memory>
#include <unordered_set>
#include <vector>

#include "hollin_private/HashItem.h"
#include "hollin_private/KeyHash.h"

namespace hollin_private
{
class HashTable
{
public:
    HashTable() = default;
    HashTable(const HashTable&) = delete;
    HashTable& operator=(const HashTable&) = delete;
    ~HashTable();

    // The first item of its chain that equals the key, or null.
    const HashItem* Find(const HashItem& key) const;

    // At the head of its chain. Duplicates aren't looked for.
    void Insert(std::unique_ptr<HashItem> item);

    // Into a bucket, below kBucketCount, behind an item of that bucket, or at
    // the head if previous is null. Returns the item.
    HashItem* InsertBehind(std::uint32_t bucket, HashItem* previous,
                           std::unique_ptr<HashItem> item);

    // Deletes items of the table, in one pass over all of it. A walk that stands
    // at one of them is at its end.
    void Remove(const std::unordered_set<const HashItem*>& items);

    // The head of a chain, which mNext links; null if it is empty.
    const HashItem* Chain(std::uint32_t bucket) const;

    // Walks all items, bucket by bucket. Next is false at the end, and the next
    // walk starts anew.
    void ResetIterator();
    bool Next();
    const HashItem* IteratorItem() const { return mIterItem; }

private:
    std::vector<HashItem*> mBuckets;     // empty, or the heads of kBucketCount chains
    std::uint32_t mIterBucket = 0;       // the bucket of mIterItem
    const HashItem* mIterItem = nullptr; // null outside a walk
    bool mIterItemRemoved = false;       // the walk's, which Next ends
};
} // namespace hollin_private

#endif
