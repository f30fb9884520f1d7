// Writes a dictionary: version 2.7 of the binary form, or the text form.
//
// An image is made in memory and written by one call: the stream need not be able to seek, and
// a failed allocation writes nothing.
//
// Returns: each function with a stream, the bytes written, or 0 if the stream fails.

#ifndef HOLLIN_PRIVATE_IMAGE_WRITER_H
#define HOLLIN_PRIVATE_IMAGE_WRITER_H

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include "hollin_private/DictionaryImpl.h"

namespace hollin_private
{
struct ImageOptions
{
    bool mBigEndian = false;
    std::uint32_t mBase = 0;   // of a file that continues another; flat stores only
    bool mWithoutKeys = false; // flat stores only
};

// The content of an image of version 2. The runs belong to a store. Values and comments are
// whole units.
struct ImageContent
{
    // Buckets are added in ascending order.
    void AddToBucket(std::uint32_t bucket, std::uint32_t id);

    bool mKeyed = true;
    std::uint32_t mLive = 0;    // counts entries with an empty key too
    std::vector<ByteRun> mKeys; // one a slot; none without keys
    std::vector<ByteRun> mValues;

    std::vector<std::uint16_t> mBucketNumbers; // of buckets that aren't empty
    std::vector<std::uint32_t> mBucketSizes;
    std::vector<std::uint32_t> mBucketIds;

    std::vector<std::uint32_t> mCommentIds;
    std::vector<ByteRun> mComments;
};

const char kDefaultLocale[] = "en_US";

// Returns the bytes of an image. `options` sets the byte order and the base.
//
// Throws: as WriteImage.
std::string ImageOf(const ImageContent& content, const ImageOptions& options,
                    const std::string& locale);

// Removed entries keep their identifiers, without text. All entries of a store without keys
// are written.
//
// Throws: VoErrException with "PARM" for a run longer than hollin::kLongestRun, and for a pool
// or a count of 4 GiB or more.
std::size_t WriteImage(const DictionaryImpl& dictionary, const ImageOptions& options,
                       std::ostream& stream);

// In UTF-16 of this machine, with a byte-order mark.
std::size_t WriteText(const DictionaryImpl& dictionary, std::ostream& stream);
std::size_t WriteByteOrderMark(std::ostream& stream);
} // namespace hollin_private

#endif
