#include "hollin_private/ImageCursor.h"

namespace hollin_private
{
ImageCursor::ImageCursor(const unsigned char* bytes, std::size_t size) : mBytes(bytes), mSize(size)
{
}

const unsigned char* ImageCursor::Take(std::uint64_t size, const char* field)
{
    if (!Sound())
        return nullptr;
    if (size > Remaining())
    {
        Spoil(mOffset, field, "the image ends too early");
        return nullptr;
    }
    const unsigned char* at = mBytes + mOffset;
    mOffset += static_cast<std::size_t>(size);
    return at;
}

void ImageCursor::Spoil(std::size_t offset, const char* field, const char* problem)
{
    if (!Sound())
        return;
    mDamage.mOffset = offset;
    mDamage.mField = field;
    mDamage.mProblem = problem;
}
} // namespace hollin_private
