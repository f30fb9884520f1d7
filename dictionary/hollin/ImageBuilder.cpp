#include "hollin/ImageBuilder.h"

#include <algorithm>
#include <limits>

#include "hollin_private/ImageWriter.h"

namespace hollin
{
using namespace hollin_private;

namespace
{
// The writer refuses the longest run.
ByteRun TextRun(const std::uint16_t* units, std::uint32_t count)
{
    const std::uint64_t length = std::uint64_t(count) * kUnitSize;
    return RunOfUnits(units, static_cast<std::uint32_t>(std::min<std::uint64_t>(
                                 length, std::numeric_limits<std::uint32_t>::max())));
}
} // namespace

ImageBuilder::ImageBuilder(bool withKeys) : mContent(std::make_unique<ImageContent>())
{
    mContent->mKeyed = withKeys;
}

ImageBuilder::~ImageBuilder() = default;

void ImageBuilder::Reserve(std::uint32_t slots)
{
    mContent->mValues.reserve(slots);
    mContent->mBucketIds.reserve(slots);
    if (mContent->mKeyed)
        mContent->mKeys.reserve(slots);
}

void ImageBuilder::AddSlot(std::string_view key, const std::uint16_t* units, std::uint32_t count)
{
    const bool isLive = !key.empty();
    mContent->mLive += isLive;
    mContent->mValues.push_back(isLive ? TextRun(units, count) : ByteRun());
    if (mContent->mKeyed)
        mContent->mKeys.push_back(RunOf(key));
}

void ImageBuilder::AddToBucket(std::uint32_t bucket, std::uint32_t slot)
{
    mContent->AddToBucket(bucket, slot);
}

void ImageBuilder::AddComment(std::uint32_t slot, const std::uint16_t* units, std::uint32_t count)
{
    mContent->mCommentIds.push_back(slot);
    mContent->mComments.push_back(TextRun(units, count));
}

std::string ImageBuilder::Image(const std::string& locale, bool bigEndian, std::uint32_t base) const
{
    ImageOptions options;
    options.mBigEndian = bigEndian;
    options.mBase = base;
    return ImageOf(*mContent, options, locale.empty() ? kDefaultLocale : locale);
}
} // namespace hollin
