// The identifiers of a flat store's keys, by bucket.
//
// The buckets are made with the first identifier, so that an empty store is
// cheap. Those of a file stay in the file's one array for as long as nothing is
// added to them.

#ifndef HOLLIN_PRIVATE_ID_BUCKETS_H
#define HOLLIN_PRIVATE_ID_BUCKETS_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "hollin_private/KeyHash.h"
#include "hollin_private/Table.h"

namespace hollin_private
{
// Buckets as a file lays them out. Each number is below kBucketCount and comes
// once; mSizes has as many items as mNumbers, and their sum is the size of mIds.
struct FileBuckets
{
    Table<std::uint16_t> mNumbers;
    Table<std::uint32_t> mSizes;
    Table<std::uint32_t> mIds; // bucket by bucket
};

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
        bool empty() const { return mBegin == mEnd; }
    };

    // bucket is below kBucketCount. Valid until an identifier is added.
    Ids Get(std::uint32_t bucket) const;

    // Appending what was reserved throws nothing.
    void Reserve(std::uint32_t bucket, std::size_t more);
    void Append(std::uint32_t bucket, std::uint32_t id);

    // Takes over what a file has, as the first content.
    void Adopt(FileBuckets&& buckets);

private:
    struct Bucket
    {
        const std::uint32_t* mIds = nullptr; // in mOwned or in mFileIds
        std::size_t mCount = 0;
        std::size_t mCapacity = 0; // of mOwned
        std::unique_ptr<std::uint32_t[]> mOwned;
    };

    std::vector<Bucket> mBuckets; // empty, or kBucketCount
    Table<std::uint32_t> mFileIds;
};
} // namespace hollin_private

#endif
