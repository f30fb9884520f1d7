#include "hollin/ImageView.h"

#include <algorithm>
#include <utility>

#include "hollin_private/FlatImageView.h"

namespace hollin
{
using namespace hollin_private;

namespace
{
void FillFigures(const FlatImageView& image, ImageReport& report)
{
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
}

void AppendRun(const ByteRun& run, bool swap, std::vector<std::uint16_t>* units)
{
    const ImageTable<std::uint16_t> table(run.mBytes, run.mLength / kUnitSize, swap);
    const std::size_t size = units->size();
    units->resize(size + table.Size());
    table.CopyTo(units->data() + size);
}

// Calls visit(slot) for each slot in the bucket, until it returns true.
template <class Visit>
void ForEachSlotIn(const FlatImageView& image, std::uint32_t bucket, const Visit& visit)
{
    std::size_t next = 0;
    for (std::size_t i = 0; i < image.mBucketSizes.Size(); ++i)
    {
        const std::size_t end = next + image.mBucketSizes[i];
        if (image.mBucketNumbers[i] == bucket)
        {
            while (next < end && !visit(image.mBucketIds[next]))
                ++next;
            return;
        }
        next = end;
    }
}
} // namespace

std::uint32_t BucketOf(std::string_view key)
{
    return HashKey(RunOf(key), kBucketCount);
}

ImageView::ImageView(const unsigned char* bytes, std::size_t size)
{
    if (!bytes || !IsBinaryImage(bytes, size))
        return;
    ImageCursor cursor(bytes, size);
    const ImageHeader header = ReadImageHeader(cursor);
    mReport.mForm = ImageReport::kBinary;
    mReport.mMajor = header.mMajor;
    mReport.mMinor = header.mMinor;
    mReport.mTextFlag = header.mTextFlag;
    mReport.mBigEndian = header.mBigEndian;
    if (cursor.Sound() && header.Layout() == ImageLayout::kFlat)
    {
        auto image = std::make_unique<const FlatImageView>(ReadFlatImage(cursor));
        FillFigures(*image, mReport);
        mReport.mTrailing = cursor.Sound() ? cursor.Remaining() : 0;
        mImage = cursor.Sound() ? std::move(image) : nullptr;
    }
    if (const Damage& damage = cursor.FirstDamage(); !cursor.Sound())
        mReport.SetDamageAt(damage.mOffset, damage.mField, damage.mProblem);
}

ImageView::~ImageView() = default;

std::uint32_t ImageView::Slots() const
{
    return mImage->mCount;
}

std::string_view ImageView::Key(std::uint32_t slot) const
{
    return mImage->mKeyed ? ViewOf(mImage->mKeys.At(slot)) : std::string_view();
}

void ImageView::AppendText(std::uint32_t slot, std::vector<std::uint16_t>* units) const
{
    AppendRun(mImage->mValues.At(slot), mImage->mSwap, units);
}

std::uint32_t ImageView::Find(std::string_view key) const
{
    std::uint32_t found = kNoId;
    ForEachSlotIn(*mImage, BucketOf(key), [&](std::uint32_t slot) {
        if (Key(slot) == key)
            found = slot;
        return found != kNoId;
    });
    return found;
}

std::vector<std::uint32_t> ImageView::SlotsIn(std::uint32_t bucket) const
{
    std::vector<std::uint32_t> slots;
    ForEachSlotIn(*mImage, bucket, [&](std::uint32_t slot) {
        slots.push_back(slot);
        return false;
    });
    return slots;
}

std::uint32_t ImageView::Comments() const
{
    return mReport.mComments;
}

std::uint32_t ImageView::CommentSlot(std::uint32_t index) const
{
    return mImage->mCommentIds[index];
}

void ImageView::AppendComment(std::uint32_t index, std::vector<std::uint16_t>* units) const
{
    AppendRun(mImage->mComments.At(index), mImage->mSwap, units);
}
} // namespace hollin
