#include "hollin_private/FlatImageView.h"

#include <algorithm>

#include "hollin_private/ByteRun.h"

namespace hollin_private
{
namespace
{
// The names of the fields of keys, values or comments.
struct RunFields
{
    const char* mOffsets;
    const char* mLengths;
    const char* mPool;
    const char* mPoolSize;
    bool mUnits; // the runs are UTF-16
};
const RunFields kKeyFields = {"key offsets", "key lengths", "key pool", "key pool size", false};
const RunFields kValueFields = {"value offsets", "value lengths", "value pool", "value pool size",
                                true};
const RunFields kCommentFields = {"comment offsets", "comment lengths", "comment pool",
                                  "comment pool size", true};

const unsigned char kNotKeyed = 'N';

void ReadRunTables(ImageCursor& cursor, std::uint32_t count, const RunFields& fields,
                   ImageRuns& runs)
{
    runs.mOffsets = cursor.ReadTable<std::uint32_t>(count, fields.mOffsets);
    runs.mLengths = cursor.ReadTable<std::uint16_t>(count, fields.mLengths);
}

void ReadPoolSize(ImageCursor& cursor, const RunFields& fields, ImageRuns& runs)
{
    const std::size_t at = cursor.Offset();
    runs.mPoolSize = cursor.Read<std::uint32_t>(fields.mPoolSize);
    if (fields.mUnits && runs.mPoolSize % 2)
        cursor.SetDamaged(at, fields.mPoolSize, "it isn't a whole number of units");
}

// Reports the first damaged run.
//
// REQUIRES: there is one.
void FindDamagedRun(ImageCursor& cursor, const RunFields& fields, const ImageRuns& runs)
{
    for (std::size_t i = 0;; ++i)
    {
        const std::uint64_t offset = runs.mOffsets[i];
        const std::uint32_t length = runs.mLengths[i];
        if (offset > runs.mPoolSize)
            return cursor.SetDamaged(runs.mOffsets.At(i), fields.mOffsets,
                                     "one lies beyond its pool");
        if (fields.mUnits && offset % 2)
            return cursor.SetDamaged(runs.mOffsets.At(i), fields.mOffsets, "one splits a unit");
        if (offset + length > runs.mPoolSize)
            return cursor.SetDamaged(runs.mLengths.At(i), fields.mLengths,
                                     "one reaches beyond its pool");
        if (fields.mUnits && length % 2)
            return cursor.SetDamaged(runs.mLengths.At(i), fields.mLengths, "one splits a unit");
    }
}

// One pass without a branch per run, since every load checks all runs.
void CheckRuns(ImageCursor& cursor, const RunFields& fields, const ImageRuns& runs)
{
    std::uint64_t farthest = 0;
    std::uint32_t bits = 0;
    const std::size_t count = runs.mOffsets.Size();
    for (std::size_t i = 0; i < count; ++i)
    {
        const std::uint32_t offset = runs.mOffsets[i];
        const std::uint32_t length = runs.mLengths[i];
        farthest = std::max(farthest, std::uint64_t(offset) + length);
        bits |= offset | length;
    }
    if (farthest > runs.mPoolSize || (fields.mUnits && bits % 2))
        FindDamagedRun(cursor, fields, runs);
}

void CheckBelow(ImageCursor& cursor, const ImageTable<std::uint32_t>& ids, std::uint32_t count,
                const char* field)
{
    std::uint32_t highest = 0;
    for (std::size_t i = 0; i < ids.Size(); ++i)
        highest = std::max(highest, ids[i]);
    if (!ids.Size() || highest < count)
        return;
    std::size_t i = 0;
    while (ids[i] < count)
        ++i;
    cursor.SetDamaged(ids.At(i), field, "one isn't below the count");
}

template <typename Integer>
void CheckAscending(ImageCursor& cursor, const ImageTable<Integer>& numbers, const char* field)
{
    bool ascending = true;
    for (std::size_t i = 1; i < numbers.Size(); ++i)
        ascending &= numbers[i - 1] < numbers[i];
    if (ascending)
        return;
    std::size_t i = 1;
    while (numbers[i - 1] < numbers[i])
        ++i;
    cursor.SetDamaged(numbers.At(i), field, "they don't ascend");
}

void ReadBuckets(ImageCursor& cursor, FlatImageView& image)
{
    image.mBucketNumbers = cursor.ReadTable<std::uint16_t>(image.mBucketCount, "bucket numbers");
    image.mBucketSizes = cursor.ReadTable<std::uint32_t>(image.mBucketCount, "bucket sizes");
    CheckAscending(cursor, image.mBucketNumbers, "bucket numbers");
    std::uint64_t total = 0;
    for (std::size_t i = 0; i < image.mBucketSizes.Size(); ++i)
    {
        if (image.mBucketNumbers[i] >= kBucketCount)
            cursor.SetDamaged(image.mBucketNumbers.At(i), "bucket numbers", "one is above 1020");
        total += image.mBucketSizes[i];
    }
    image.mBucketIds =
        cursor.ReadTable<std::uint32_t>(static_cast<std::size_t>(total), "bucket identifiers");
    CheckBelow(cursor, image.mBucketIds, image.mCount, "bucket identifiers");
}

void ReadComments(ImageCursor& cursor, FlatImageView& image)
{
    const std::uint32_t count = cursor.Read<std::uint32_t>("comment count");
    if (!count)
        return;
    ReadPoolSize(cursor, kCommentFields, image.mComments);
    image.mCommentIds = cursor.ReadTable<std::uint32_t>(count, "comment identifiers");
    ReadRunTables(cursor, count, kCommentFields, image.mComments);
    image.mComments.mPool = cursor.Take(image.mComments.mPoolSize, kCommentFields.mPool);
    if (!cursor.Sound())
        return;
    CheckBelow(cursor, image.mCommentIds, image.mCount, "comment identifiers");
    CheckAscending(cursor, image.mCommentIds, "comment identifiers");
    CheckRuns(cursor, kCommentFields, image.mComments);
}

void ReadCounts(ImageCursor& cursor, FlatImageView& image)
{
    image.mBase = cursor.Read<std::uint32_t>("base");
    image.mKeyed = cursor.Read<unsigned char>("keyed marker") != kNotKeyed;
    image.mCount = cursor.Read<std::uint32_t>("count");
    image.mLive = cursor.Read<std::uint32_t>("live");
    image.mBucketCount = cursor.Read<std::uint32_t>("buckets");
}

// Counts the live slots by their keys. For an image without keys, its own count is used.
//
// A wrong count in the image is not damage: no look-up uses the count, and writers include
// entries with an empty key.
void CountLive(FlatImageView& image)
{
    image.mLive = image.mKeyed ? image.mCount : std::min(image.mLive, image.mCount);
    for (std::size_t slot = 0; slot < image.mKeys.mLengths.Size(); ++slot)
        image.mLive -= image.mKeys.mLengths[slot] == 0;
}
} // namespace

FlatImageView ReadFlatImage(ImageCursor& cursor)
{
    FlatImageView image;
    image.mSwap = cursor.Swap();
    image.mLocale.mLength = cursor.Read<std::uint32_t>("locale length");
    image.mLocale.mBytes = cursor.Take(image.mLocale.mLength, "locale name");
    ReadCounts(cursor, image);

    if (image.mKeyed)
        ReadPoolSize(cursor, kKeyFields, image.mKeys);
    ReadPoolSize(cursor, kValueFields, image.mValues);
    if (image.mKeyed)
        ReadRunTables(cursor, image.mCount, kKeyFields, image.mKeys);
    ReadRunTables(cursor, image.mCount, kValueFields, image.mValues);
    if (image.mKeyed)
        image.mKeys.mPool = cursor.Take(image.mKeys.mPoolSize, kKeyFields.mPool);
    image.mValues.mPool = cursor.Take(image.mValues.mPoolSize, kValueFields.mPool);
    if (!cursor.Sound())
        return image;

    CountLive(image);
    CheckRuns(cursor, kKeyFields, image.mKeys);
    CheckRuns(cursor, kValueFields, image.mValues);
    if (image.mKeyed)
        ReadBuckets(cursor, image);
    ReadComments(cursor, image);
    return image;
}
} // namespace hollin_private
