#include "hollin_private/LegacyImage.h"

#include "hollin_private/ByteRun.h"

namespace hollin_private
{
namespace
{
const char kBucketNumberTooHigh[] = "a bucket number is above 1020";
const char kSplitUnit[] = "a value's length splits a unit";

// Version 1.5: a table of all lengths, of a key and a value in turn, then all keys and values.
// The ends are the number of lengths up to the end of each bucket.
class LengthTableImage : public LegacyImage
{
public:
    LengthTableImage(ImageCursor& cursor, bool units) : mCursor(cursor), mUnits(units)
    {
        const std::uint32_t buckets = cursor.Read<std::uint32_t>("bucket count");
        mEnds = cursor.ReadTable<std::uint32_t>(buckets, "bucket ends");
        const std::uint32_t lengths = mEnds.Size() ? mEnds[mEnds.Size() - 1] : 0;
        mLengths = cursor.ReadTable<std::uint32_t>(lengths, "lengths");
        mNumbers = cursor.ReadTable<std::uint16_t>(buckets, "bucket numbers");
    }

    bool Next(LegacyEntry* entry) override
    {
        entry->mStartsBucket = false;
        while (mCursor.Sound() && mField == mBucketEnd)
        {
            if (mNextBucket == mEnds.Size())
                return false;
            EnterBucket();
            entry->mStartsBucket = true;
        }
        return mCursor.Sound() && ReadEntry(entry);
    }

private:
    void EnterBucket()
    {
        const std::uint32_t end = mEnds[mNextBucket];
        if (end < mBucketEnd)
            mCursor.SetDamaged(mEnds.At(mNextBucket), "bucket ends", "they fall");
        if (end > mLengths.Size())
            mCursor.SetDamaged(mEnds.At(mNextBucket), "bucket ends", "one lies beyond the lengths");
        if (end % 2)
            mCursor.SetDamaged(mEnds.At(mNextBucket), "bucket ends",
                               "one parts a key from its value");
        mBucket = mNumbers[mNextBucket];
        if (mBucket >= kBucketCount)
            mCursor.SetDamaged(mNumbers.At(mNextBucket), "bucket numbers", kBucketNumberTooHigh);
        mBucketEnd = end;
        ++mNextBucket;
    }

    bool ReadEntry(LegacyEntry* entry)
    {
        entry->mBucket = mBucket;
        const std::uint32_t keyLength = mLengths[mField];
        const std::uint32_t valueLength = mLengths[mField + 1];
        if (mUnits && valueLength % 2)
            mCursor.SetDamaged(mLengths.At(mField + 1), "lengths", kSplitUnit);
        entry->mKey = {mCursor.Take(keyLength, "key"), keyLength};
        entry->mValue = {mCursor.Take(valueLength, "value"), valueLength};
        mField += 2;
        return mCursor.Sound();
    }

    ImageCursor& mCursor;
    const bool mUnits;
    ImageTable<std::uint32_t> mEnds;
    ImageTable<std::uint32_t> mLengths;
    ImageTable<std::uint16_t> mNumbers;
    std::size_t mNextBucket = 0;
    std::uint32_t mBucket = 0;
    std::uint32_t mBucketEnd = 0;
    std::uint32_t mField = 0; // next of the lengths
};

// Version 1.0: records have the offset of each bucket in the data, the last record the end of
// the data. Each entry has its lengths.
class EntriesImage : public LegacyImage
{
public:
    EntriesImage(ImageCursor& cursor, bool units) : mCursor(cursor), mUnits(units)
    {
        mRecordCount = cursor.Read<std::uint16_t>("record count");
        if (mRecordCount > 1) // else there is no bucket, and nothing else is read
            mRecords = cursor.Take(mRecordCount * kRecordSize, "records");
        mData = cursor.Offset();
        mDataSize = cursor.Remaining();
        mBucketEnd = mData;
    }

    bool Next(LegacyEntry* entry) override
    {
        entry->mStartsBucket = false;
        while (mCursor.Sound() && mCursor.Offset() == mBucketEnd)
        {
            if (mNextRecord + 1 >= mRecordCount)
                return false;
            EnterBucket();
            entry->mStartsBucket = true;
        }
        return mCursor.Sound() && ReadEntry(entry);
    }

private:
    static const std::size_t kRecordSize = 6;

    std::uint32_t DataOffset(std::size_t record) const
    {
        return LoadInteger<std::uint32_t>(mRecords + record * kRecordSize + 2, false);
    }

    void EnterBucket()
    {
        const unsigned char* record = mRecords + mNextRecord * kRecordSize;
        const std::size_t begin = DataOffset(mNextRecord);
        const std::size_t end = DataOffset(mNextRecord + 1);
        mBucket = LoadInteger<std::uint16_t>(record, false);
        if (mBucket >= kBucketCount)
            mCursor.SetDamaged(record, "records", kBucketNumberTooHigh);
        if (begin > end)
            mCursor.SetDamaged(record + 2, "records", "the offsets fall");
        if (begin > mDataSize)
            mCursor.SetDamaged(record + 2, "records", "an offset lies beyond the data");
        ++mNextRecord;
        if (!mCursor.Sound())
            return;
        mBucketEnd = mData + end;
        mCursor.Seek(mData + begin);
    }

    // Takes a run of the entry, which must end in its bucket.
    const unsigned char* TakeInBucket(std::uint32_t size, const char* field)
    {
        if (mCursor.Sound() && size > mBucketEnd - mCursor.Offset())
            mCursor.SetDamaged(mCursor.Offset(), field, "it reaches beyond its bucket");
        return mCursor.Take(size, field);
    }

    std::uint32_t ReadLength(const char* field)
    {
        const unsigned char* at = TakeInBucket(sizeof(std::uint32_t), field);
        return at ? LoadInteger<std::uint32_t>(at, false) : 0;
    }

    bool ReadEntry(LegacyEntry* entry)
    {
        entry->mBucket = mBucket;
        const std::uint32_t keyLength = ReadLength("key length");
        entry->mKey = {TakeInBucket(keyLength, "key"), keyLength};
        const std::size_t at = mCursor.Offset();
        const std::uint32_t valueLength = ReadLength("value length");
        if (mUnits && valueLength % 2)
            mCursor.SetDamaged(at, "value length", kSplitUnit);
        entry->mValue = {TakeInBucket(valueLength, "value"), valueLength};
        return mCursor.Sound();
    }

    ImageCursor& mCursor;
    const bool mUnits;
    std::size_t mRecordCount = 0;
    const unsigned char* mRecords = nullptr;
    std::size_t mData = 0;     // offset of the data in the image
    std::size_t mDataSize = 0; // to the image's end
    std::size_t mNextRecord = 0;
    std::uint32_t mBucket = 0;
    std::size_t mBucketEnd = 0; // offset in the image
};
} // namespace

std::unique_ptr<LegacyImage> LegacyImage::Open(ImageCursor& cursor, const ImageHeader& header)
{
    const bool units = header.mTextFlag == 0;
    if (header.Layout() == ImageLayout::kLengthTable)
        return std::unique_ptr<LegacyImage>(new LengthTableImage(cursor, units));
    return std::unique_ptr<LegacyImage>(new EntriesImage(cursor, units));
}
} // namespace hollin_private
