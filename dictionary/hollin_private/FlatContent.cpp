#include "hollin_private/FlatContent.h"

#include "hollin_private/DictionaryEntry.h"

namespace hollin_private
{
namespace
{
// Texts are read in whole units, wherever they come from.
ByteRun WholeUnits(const ByteRun& text)
{
    return {text.mBytes, text.mLength & ~1u};
}

void AddToBucket(std::uint32_t bucket, std::uint32_t id, FlatContent& content)
{
    if (content.mBucketNumbers.empty() || content.mBucketNumbers.back() != bucket)
    {
        content.mBucketNumbers.push_back(static_cast<std::uint16_t>(bucket));
        content.mBucketSizes.push_back(0);
    }
    ++content.mBucketSizes.back();
    content.mBucketIds.push_back(id);
}

// In a file with keys, a slot is live by its key; so one of a block without keys
// has no place there for its text.
void AddSlots(const FastArrayBlock& block, FlatContent& content)
{
    for (std::uint32_t slot = 0; slot < block.mCount; ++slot)
    {
        const ByteRun key = block.mKeys.Get(slot);
        const bool live = content.mKeyed ? key.mLength != 0 : block.IsLive(slot);
        content.mValues.push_back(live ? WholeUnits(block.mValues.Get(slot)) : ByteRun());
        if (content.mKeyed)
            content.mKeys.push_back(key);
    }
}

void AddComments(const FastArrayBlock& block, FlatContent& content)
{
    for (std::size_t i = 0; i < block.mCommentIds.size(); ++i)
    {
        const ByteRun comment = WholeUnits(block.mComments.Get(i));
        if (!comment.mLength)
            continue;
        content.mCommentIds.push_back(block.mBaseId + block.mCommentIds[i]);
        content.mComments.push_back(comment);
    }
}
} // namespace

FlatContent ContentOf(const HashTable& table)
{
    FlatContent content;
    std::uint32_t id = 0;
    ForEachEntry(table, [&](std::uint32_t bucket, const DictionaryEntry& entry) {
        AddToBucket(bucket, id++, content);
        content.mKeys.push_back(entry.Key());
        content.mValues.push_back(entry.StoredValue());
    });
    content.mLive = id;
    return content;
}

FlatContent ContentOf(const FastArray& store, bool withoutKeys)
{
    FlatContent content;
    content.mKeyed = false;
    content.mLive = store.LiveCount();
    for (const FastArrayBlock& block : store.Blocks())
        content.mKeyed |= block.mHasKeys && !withoutKeys;
    for (const FastArrayBlock& block : store.Blocks())
    {
        AddSlots(block, content);
        AddComments(block, content);
    }
    for (std::uint32_t bucket = 0; bucket < kBucketCount; ++bucket)
    {
        for (const std::uint32_t id : store.Buckets().Get(bucket))
            AddToBucket(bucket, id, content);
    }
    return content;
}
} // namespace hollin_private
