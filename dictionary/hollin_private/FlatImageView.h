// A view of the fields and tables of an image of version 2.

#ifndef HOLLIN_PRIVATE_FLAT_IMAGE_VIEW_H
#define HOLLIN_PRIVATE_FLAT_IMAGE_VIEW_H

#include "hollin_private/ByteRun.h"
#include "hollin_private/ImageCursor.h"

namespace hollin_private
{
// The keys, values or comments of an image.
struct ImageRuns
{
    ImageTable<std::uint32_t> mOffsets; // in bytes
    ImageTable<std::uint16_t> mLengths; // in bytes
    const unsigned char* mPool = nullptr;
    std::uint32_t mPoolSize = 0;

    ByteRun At(std::size_t index) const { return {mPool + mOffsets[index], mLengths[index]}; }
};

// The tables are the bytes of the image, in its byte order.
//
// REQUIRES: the bytes of the image outlive the view.
struct FlatImageView
{
    bool mSwap = false; // units of the pools have the other byte order

    ByteRun mLocale;

    std::uint32_t mBase = 0;
    bool mKeyed = false;
    std::uint32_t mCount = 0;
    std::uint32_t mLive = 0; // counted; the image's own count if it has no keys
    std::uint32_t mBucketCount = 0;
    ImageRuns mKeys; // empty, as the buckets, in an image without keys
    ImageRuns mValues;

    ImageTable<std::uint16_t> mBucketNumbers; // ascending
    ImageTable<std::uint32_t> mBucketSizes;
    ImageTable<std::uint32_t> mBucketIds; // bucket by bucket

    ImageTable<std::uint32_t> mCommentIds; // ascending
    ImageRuns mComments;
};

// Reads and checks the body after the header, to its end: every table is in the image, every
// run in its pool, every identifier below the count.
//
// The view is valid only if the cursor has no damage after the call.
FlatImageView ReadFlatImage(ImageCursor& cursor);
} // namespace hollin_private

#endif
