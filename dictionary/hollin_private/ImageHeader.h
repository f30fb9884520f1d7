// What every binary image begins with.

#ifndef HOLLIN_PRIVATE_IMAGE_HEADER_H
#define HOLLIN_PRIVATE_IMAGE_HEADER_H

#include "hollin_private/ImageCursor.h"

namespace hollin_private
{
const char kImageMagic[] = "ZString Binary Format";
const std::size_t kImageMagicLength = sizeof kImageMagic - 1; // without a terminator

// Of the version that is written.
const std::uint8_t kFlatMajor = 2;
const std::uint8_t kFlatMinor = 7;

enum class ImageLayout
{
    kEntries,       // 1.0: entries with their lengths, by bucket
    kLengthTable,   // 1.5: all lengths in front, then the entries
    kFlat,          // 2.x: tables and pools
    kUnknownVersion // nothing behind the version can be read
};

struct ImageHeader
{
    std::uint8_t mMajor = 0;
    std::uint8_t mMinor = 0;
    std::uint8_t mTextFlag = 0; // text encoding of version 1 values; 0 is UTF-16
    bool mBigEndian = false;    // of a flat image

    ImageLayout Layout() const;
};

// Whether the bytes are a binary image; otherwise they are the text form.
bool IsBinaryImage(const unsigned char* bytes, std::size_t size);

// Reads the header of a binary image from its start, and gives the cursor the
// image's byte order. A version 1 image has this machine's.
ImageHeader ReadImageHeader(ImageCursor& cursor);

// Whether integers of that byte order have to be swapped here.
bool NeedsSwap(bool bigEndian);
} // namespace hollin_private

#endif
