#include "hollin/ImageCheck.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "hollin/ConversionHooks.h"
#include "hollin/ImageView.h"
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

// Counts live keys that are not in their own bucket of the file.
std::uint64_t CountUnreachable(const FlatImageView& image)
{
    std::vector<bool> found(image.mCount);
    std::size_t next = 0;
    for (std::size_t i = 0; i < image.mBucketSizes.Size(); ++i)
    {
        for (const std::size_t end = next + image.mBucketSizes[i]; next < end; ++next)
        {
            const std::uint32_t slot = image.mBucketIds[next];
            if (HashKey(image.mKeys.At(slot), kBucketCount) == image.mBucketNumbers[i])
                found[slot] = true;
        }
    }
    std::uint64_t unreachable = 0;
    for (std::uint32_t slot = 0; slot < found.size(); ++slot)
        unreachable += !found[slot] && image.mKeys.mLengths[slot] != 0;
    return unreachable;
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
    // The view reports the header of any image, and all figures of version 2 but one.
    const ImageView image(bytes, size);
    report = image.Report();
    ImageCursor cursor(bytes, size);
    const ImageHeader header = ReadImageHeader(cursor);
    if (header.Layout() == ImageLayout::kFlat)
    {
        if (image.IsReadable() && report.mKeyed)
            report.mUnreachable = CountUnreachable(*image.Tables());
        return;
    }
    if (header.Layout() == ImageLayout::kUnknownVersion)
        cursor.SetDamaged(kImageMagicLength, "version", "it is unknown");
    else
        CheckLegacy(cursor, header, report);
    if (const Damage& damage = cursor.FirstDamage(); !cursor.Sound())
        report.SetDamageAt(damage.mOffset, damage.mField, damage.mProblem);
}

ImageReport::Coding CodingOf(const unsigned char* bytes, std::size_t size)
{
    const TextCoding coding = CodingOfText(bytes, size);
    if (coding == TextCoding::kMultibyte)
        return ImageReport::kActiveCodePage;
    return coding == TextCoding::kUTF16 ? ImageReport::kUTF16 : ImageReport::kSwappedUTF16;
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
        report.SetDamage("Line " + std::to_string(line.mNumber), line.mField, line.mProblem);
    }
}
} // namespace

void ImageReport::SetDamage(const std::string& location, const char* field, const char* problem)
{
    mDamaged = true;
    mField = field;
    mProblem = problem;
    mSentence = location + ", " + field + ": " + problem + ".";
}

void ImageReport::SetDamageAt(std::uint64_t offset, const char* field, const char* problem)
{
    mOffset = offset;
    SetDamage("Byte " + std::to_string(offset), field, problem);
}

ImageReport CheckImage(const unsigned char* bytes, std::size_t size)
{
    ImageReport report;
    if (!bytes || !size)
        report.SetDamageAt(0, "image", "it is empty");
    else if (IsBinaryImage(bytes, size))
        CheckBinary(bytes, size, report);
    else
        CheckText(bytes, size, report);
    return report;
}
} // namespace hollin
