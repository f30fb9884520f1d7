#include "hollin/ImageCheck.h"

#include <algorithm>
#include <vector>

#include "hollin/ConversionHooks.h"
#include "hollin/TextFormReader.h"
#include "hollin_private/ByteRun.h"
#include "hollin_private/Conversion.h"
#include "hollin_private/DictionaryReader.h"
#include "hollin_private/FlatImageView.h"
#include "hollin_private/LegacyImage.h"

namespace hollin
{
namespace
{
using namespace hollin_private;

void SetDamage(const std::string& location, const char* field, const char* problem,
               ImageReport& report)
{
    report.mDamaged = true;
    report.mField = field;
    report.mProblem = problem;
    report.mSentence = location + ", " + field + ": " + problem + ".";
}

void ReportDamage(const Damage& damage, ImageReport& report)
{
    report.mOffset = damage.mOffset;
    SetDamage("Byte " + std::to_string(damage.mOffset), damage.mField, damage.mProblem, report);
}

// Counts live keys that are not in their own bucket of the file.
std::uint64_t CountUnreachable(const FlatImageView& image)
{
    std::vector<bool> found(image.mKeyed ? image.mCount : 0);
    std::size_t next = 0;
    for (std::size_t bucket = 0; bucket < image.mBucketSizes.Size(); ++bucket)
    {
        const std::size_t end = next + image.mBucketSizes[bucket];
        for (; next < end; ++next)
        {
            const std::uint32_t id = image.mBucketIds[next];
            if (HashKey(image.mKeys.At(id), kBucketCount) == image.mBucketNumbers[bucket])
                found[id] = true;
        }
    }
    std::uint64_t unreachable = 0;
    for (std::size_t id = 0; id < found.size(); ++id)
        unreachable += !found[id] && image.mKeys.mLengths[id] != 0;
    return unreachable;
}

void CheckFlat(ImageCursor& cursor, ImageReport& report)
{
    const FlatImageView image = ReadFlatImage(cursor);
    if (image.mLocale.mBytes)
        report.mLocale.assign(reinterpret_cast<const char*>(image.mLocale.mBytes),
                              image.mLocale.mLength);
    report.mKeyed = image.mKeyed;
    report.mBase = image.mBase;
    report.mSlots = image.mCount;
    report.mLive = image.mLive;
    report.mBuckets = image.mBucketCount;
    report.mComments = static_cast<std::uint32_t>(image.mCommentIds.Size());
    report.mLoneCommentId = report.mComments == 1 ? image.mCommentIds[0] : 0;
    report.mKeyBytes = image.mKeys.mPoolSize;
    report.mValueBytes = image.mValues.mPoolSize;
    report.mCommentBytes = image.mComments.mPoolSize;
    for (std::size_t i = 0; i < image.mBucketSizes.Size(); ++i)
        report.mLongestBucket = std::max(report.mLongestBucket, image.mBucketSizes[i]);
    if (!cursor.Sound())
        return;
    report.mUnreachable = CountUnreachable(image);
    report.mTrailing = cursor.Remaining();
}

// A load converts values that have an encoding.
void CheckConversion(const LegacyEntry& entry, std::uint32_t textFlag, ImageCursor& cursor)
{
    if (!textFlag)
        return;
    try
    {
        ToUnits(reinterpret_cast<const char*>(entry.mValue.mBytes), entry.mValue.mLength,
                &textFlag);
    }
    catch (const VoErrException&)
    {
        cursor.SetDamaged(entry.mValue.mBytes, "value", "the system can't convert it");
    }
}

void CheckLegacy(ImageCursor& cursor, const ImageHeader& header, ImageReport& report)
{
    report.mKeyed = true;
    const std::unique_ptr<LegacyImage> image = LegacyImage::Open(cursor, header);
    std::uint32_t inBucket = 0;
    for (LegacyEntry entry; cursor.Sound() && image->Next(&entry);)
    {
        ++report.mSlots;
        report.mBuckets += entry.mStartsBucket;
        inBucket = entry.mStartsBucket ? 1 : inBucket + 1;
        report.mLongestBucket = std::max(report.mLongestBucket, inBucket);
        report.mKeyBytes += entry.mKey.mLength;
        report.mValueBytes += entry.mValue.mLength;
        report.mUnreachable += HashKey(entry.mKey, kBucketCount) != entry.mBucket;
        CheckConversion(entry, header.mTextFlag, cursor);
    }
    report.mLive = report.mSlots;
}

void CheckBinary(const unsigned char* bytes, std::size_t size, ImageReport& report)
{
    ImageCursor cursor(bytes, size);
    const ImageHeader header = ReadImageHeader(cursor);
    report.mForm = ImageReport::kBinary;
    report.mMajor = header.mMajor;
    report.mMinor = header.mMinor;
    report.mTextFlag = header.mTextFlag;
    report.mBigEndian = header.mBigEndian;
    switch (header.Layout())
    {
    case ImageLayout::kFlat:
        CheckFlat(cursor, report);
        break;
    case ImageLayout::kEntries:
    case ImageLayout::kLengthTable:
        CheckLegacy(cursor, header, report);
        break;
    case ImageLayout::kUnknownVersion:
        cursor.SetDamaged(kImageMagicLength, "version", "it is unknown");
    }
    if (!cursor.Sound())
        ReportDamage(cursor.FirstDamage(), report);
}

ImageReport::Coding CodingOf(const unsigned char* bytes, std::size_t size)
{
    switch (CodingOfText(bytes, size))
    {
    case TextCoding::kUTF16:
        return ImageReport::kUTF16;
    case TextCoding::kSwappedUTF16:
        return ImageReport::kSwappedUTF16;
    case TextCoding::kMultibyte:
        break;
    }
    return ImageReport::kActiveCodePage;
}

void CheckText(const unsigned char* bytes, std::size_t size, ImageReport& report)
{
    report.mCoding = CodingOf(bytes, size);
    TextFormReader lines(bytes, size);
    for (TextLine line; lines.Next(&line);)
    {
        ++report.mSlots;
        report.mLive += !line.mProblem;
        if (!line.mProblem || report.mDamaged)
            continue;
        report.mLine = line.mNumber;
        SetDamage("Line " + std::to_string(line.mNumber), line.mField, line.mProblem, report);
    }
}
} // namespace

ImageReport CheckImage(const unsigned char* bytes, std::size_t size)
{
    ImageReport report;
    if (!bytes || !size)
        ReportDamage({0, "image", "it is empty"}, report);
    else if (IsBinaryImage(bytes, size))
        CheckBinary(bytes, size, report);
    else
        CheckText(bytes, size, report);
    return report;
}
} // namespace hollin
