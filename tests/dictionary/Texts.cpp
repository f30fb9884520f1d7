#include "tests/dictionary/Texts.h"

#include <map>

namespace
{
void Append(hollin_private::StoredRuns& runs, const std::string& bytes)
{
    runs.mOffsets.push_back(static_cast<std::uint32_t>(runs.mPool.size()));
    runs.mLengths.push_back(static_cast<std::uint16_t>(bytes.size()));
    runs.mPool.insert(runs.mPool.end(), bytes.begin(), bytes.end());
}
} // namespace

FileBlock::FileBlock(const std::vector<Row>& rows)
{
    std::map<std::uint32_t, std::vector<std::uint32_t>> slots;
    for (const Row& row : rows)
    {
        slots[HashKey(ToRun(row.mKey), hollin_private::kBucketCount)].push_back(mBlock.mCount);
        Append(mBlock.mKeys, row.mKey);
        Append(mBlock.mValues, row.mValue);
        ++mBlock.mCount;
    }
    for (const auto& bucket : slots)
    {
        mBuckets.mNumbers.push_back(static_cast<std::uint16_t>(bucket.first));
        mBuckets.mSizes.push_back(static_cast<std::uint32_t>(bucket.second.size()));
        mBuckets.mIds.insert(mBuckets.mIds.end(), bucket.second.begin(), bucket.second.end());
    }
}
