#include "hollin_private/ImageCursor.h"

namespace hollin_private
{
namespace
{
// The least size of any version. Damage in a shorter image is in its header.
const std::size_t kLeastImage = 25;

const std::uint8_t kBigEndianBit = 1;
const std::uint8_t kLastFlatMinor = 127;

bool ReadByteOrder(ImageCursor& cursor)
{
    const std::size_t at = cursor.Offset();
    const std::uint8_t order = cursor.Read<std::uint8_t>("byte-order byte");
    if (order & ~kBigEndianBit)
        cursor.SetDamaged(at, "byte-order byte", "it is neither 0 nor 1");
    return order & kBigEndianBit;
}
} // namespace

ImageCursor::ImageCursor(const unsigned char* bytes, std::size_t size) : mBytes(bytes), mSize(size)
{
}

const unsigned char* ImageCursor::Take(std::uint64_t size, const char* field)
{
    if (!Sound())
        return nullptr;
    if (size > Remaining())
    {
        SetDamaged(mOffset, field, "the image ends too early");
        return nullptr;
    }
    const unsigned char* at = mBytes + mOffset;
    mOffset += static_cast<std::size_t>(size);
    return at;
}

void ImageCursor::SetDamaged(std::size_t offset, const char* field, const char* problem)
{
    if (!Sound())
        return;
    mDamage.mOffset = offset;
    mDamage.mField = field;
    mDamage.mProblem = problem;
}

ImageLayout ImageHeader::Layout() const
{
    if (mMajor == kFlatMajor && mMinor <= kLastFlatMinor)
        return ImageLayout::kFlat;
    if (mMajor == 1 && mMinor == 5)
        return ImageLayout::kLengthTable;
    if (mMajor == 1 && mMinor == 0)
        return ImageLayout::kEntries;
    return ImageLayout::kUnknownVersion;
}

bool IsBinaryImage(const unsigned char* bytes, std::size_t size)
{
    return size >= kImageMagicLength && std::memcmp(bytes, kImageMagic, kImageMagicLength) == 0;
}

ImageHeader ReadImageHeader(ImageCursor& cursor)
{
    ImageHeader header;
    if (cursor.Remaining() < kLeastImage)
        cursor.SetDamaged(cursor.Remaining(), "header", "the image ends too early");
    cursor.Take(kImageMagicLength, "header");
    header.mMajor = cursor.Read<std::uint8_t>("header");
    header.mMinor = cursor.Read<std::uint8_t>("header");
    header.mTextFlag = cursor.Read<std::uint8_t>("header");
    if (header.Layout() == ImageLayout::kFlat)
    {
        if (header.mMinor >= 1)
            header.mBigEndian = ReadByteOrder(cursor);
        cursor.SetSwap(NeedsSwap(header.mBigEndian));
    }
    return header;
}

bool NeedsSwap(bool bigEndian)
{
    return bigEndian != (boost::endian::order::native == boost::endian::order::big);
}
} // namespace hollin_private
