// An image of version 2, found sound.

#ifndef HOLLIN_PRIVATE_FLAT_IMAGE_H
#define HOLLIN_PRIVATE_FLAT_IMAGE_H

#include "hollin_private/ByteRun.h"
#include "hollin_private/ImageCursor.h"

namespace hollin_private
{
// Byte runs of one kind: where each lies in their pool, and how long it is.
struct ImageRuns
{
    ImageTable<std::uint32_t> mOffsets; // in bytes
    ImageTable<std::uint16_t> mLengths; // in bytes
    const unsigned char* mPool = nullptr;
    std::uint32_t mPoolSize = 0;

    ByteRun At(std::size_t index) const { return {mPool + mOffsets[index], mLengths[index]}; }
};

// The fields and tables of the image's body. They lie in the image's bytes,
// which must outlive this, and keep its byte order.
struct FlatImage
{
    bool mSwap = false; // units of the pools have the other byte order

    ByteRun mLocale;

    std::uint32_t mBase = 0;
    bool mKeyed = false;
    std::uint32_t mCount = 0;
    std::uint32_t mLive = 0; // counted; told by an image without keys
    std::uint32_t mBucketCount = 0;
    ImageRuns mKeys; // of a keyed image, as the buckets
    ImageRuns mValues;

    ImageTable<std::uint16_t> mBucketNumbers; // ascending
    ImageTable<std::uint32_t> mBucketSizes;
    ImageTable<std::uint32_t> mBucketIds; // those of each bucket in turn

    ImageTable<std::uint32_t> mCommentIds; // ascending
    ImageRuns mComments;
};

// Reads the body behind the header, to its end, and checks all of it: every
// table lies in the image, every run in its pool, every identifier below the
// count. Nothing of it may be used if the cursor is spoilt afterwards.
FlatImage ReadFlatImage(ImageCursor& cursor);
} // namespace hollin_private

#endif
