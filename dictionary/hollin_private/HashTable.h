// The hash store: a chained hash table that owns its items, and the entries in it.

#ifndef HOLLIN_PRIVATE_HASH_TABLE_H
#define HOLLIN_PRIVATE_HASH_TABLE_H

#include <cstdint>
#include <memory>
#include <unordered_set>
#include <vector>

#include "hollin/ZString.h"
#include "hollin_private/ByteRun.h"

namespace hollin_private
{
class HashItem
{
public:
    HashItem() = default;
    HashItem(const HashItem&) {} // the copy is not in a chain
    HashItem& operator=(const HashItem&) = delete;
    virtual ~HashItem() = default;

    virtual std::uint32_t Hash(std::uint32_t tableSize) const = 0;

    // REQUIRES: `other` has the class of this item.
    virtual bool Equals(const HashItem& other) const = 0;

    HashItem* mNext = nullptr; // owned by the table
};

class ByteRunKey : public HashItem
{
public:
    enum Ownership
    {
        kBorrow, // allocates nothing; the bytes must outlive the key
        kCopy
    };

    ByteRunKey(const ByteRun& bytes, Ownership ownership);
    ByteRunKey(const ByteRunKey& other); // copies the bytes

    const ByteRun& Key() const { return mKey; }

    std::uint32_t Hash(std::uint32_t tableSize) const override;
    bool Equals(const HashItem& other) const override;

private:
    ByteRun mKey;
    OwnedRun mOwned; // null if the bytes are borrowed
};

class DictionaryEntry : public ByteRunKey
{
public:
    DictionaryEntry(const ByteRun& key, Ownership keyOwnership, const hollin::ZString& value)
        : ByteRunKey(key, keyOwnership), mValue(value)
    {
    }

    ByteRun ValueBytes() const { return RunOfUnits(mValue.Data(), mValue.Length() * kUnitSize); }

    const hollin::ZString mValue;
};

// The buckets are allocated with the first item, so that an empty table is cheap.
class HashTable
{
public:
    HashTable() = default;
    HashTable(const HashTable&) = delete;
    HashTable& operator=(const HashTable&) = delete;
    ~HashTable();

    // Returns the first item of the chain that equals the key, or null.
    const HashItem* Find(const HashItem& key) const;

    // Inserts the item at the head of its chain. Equal items are kept.
    void Insert(std::unique_ptr<HashItem> item);

    // Inserts the item into a bucket after `previous`, or at the head if `previous` is null.
    // Returns the item.
    //
    // REQUIRES: bucket < kBucketCount; `previous` is null or in that bucket.
    HashItem* InsertAfter(std::uint32_t bucket, HashItem* previous, std::unique_ptr<HashItem> item);

    // Deletes items in one pass over the table. The removal of the item at the iterator ends
    // the walk.
    void Remove(const std::unordered_set<const HashItem*>& items);

    bool IsEmpty() const { return mBuckets.empty(); }

    // Returns the head of a chain, which mNext links, or null if the chain is empty.
    const HashItem* Chain(std::uint32_t bucket) const;

    // Walks all items, bucket by bucket. Next returns false at the end. The next call starts
    // a new walk.
    void ResetIterator();
    bool Next();
    const HashItem* IteratorItem() const { return mIterItem; }

private:
    std::vector<HashItem*> mBuckets;     // empty, or the heads of kBucketCount chains
    std::uint32_t mIterBucket = 0;       // of mIterItem
    const HashItem* mIterItem = nullptr; // null outside a walk
    bool mIterItemRemoved = false;       // the next call of Next ends the walk
};

// Calls visit(bucket, entry) for each entry of a table, chain by chain.
template <class Visit> void ForEachEntry(const HashTable& table, const Visit& visit)
{
    if (table.IsEmpty())
        return;
    for (std::uint32_t bucket = 0; bucket < kBucketCount; ++bucket)
    {
        for (const HashItem* item = table.Chain(bucket); item; item = item->mNext)
            visit(bucket, static_cast<const DictionaryEntry&>(*item));
    }
}
} // namespace hollin_private

#endif
