#include "hollin_private/IdBuckets.h"

#include <algorithm>
#include <utility>

namespace hollin_private
{
IdBuckets::Ids IdBuckets::Get(std::uint32_t bucket) const
{
    if (mBuckets.empty())
        return Ids();
    const Bucket& found = mBuckets[bucket];
    return Ids{found.mIds, found.mIds + found.mCount};
}

void IdBuckets::Reserve(std::uint32_t bucket, std::size_t more)
{
    if (mBuckets.empty())
        mBuckets.resize(kBucketCount);
    Bucket& grown = mBuckets[bucket];
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

void IdBuckets::Append(std::uint32_t bucket, std::uint32_t id)
{
    Reserve(bucket, 1);
    Bucket& grown = mBuckets[bucket];
    grown.mOwned[grown.mCount++] = id;
}

void IdBuckets::Adopt(FileBuckets&& buckets)
{
    std::vector<Bucket> adopted(kBucketCount);
    mFileIds = std::move(buckets.mIds);
    mBuckets.swap(adopted);
    const std::uint32_t* ids = mFileIds.data();
    for (std::size_t i = 0; i < buckets.mNumbers.size(); ++i)
    {
        Bucket& bucket = mBuckets[buckets.mNumbers[i]];
        bucket.mIds = ids;
        bucket.mCount = buckets.mSizes[i];
        ids += buckets.mSizes[i];
    }
}
} // namespace hollin_private
