// Writes a dictionary: version 2.7 of the binary form, or the text form.
//
// An image is made in memory and written at once, so that a stream need not be
// able to seek and a failure on our side leaves it untouched.

#ifndef HOLLIN_PRIVATE_IMAGE_WRITER_H
#define HOLLIN_PRIVATE_IMAGE_WRITER_H

#include <cstddef>
#include <cstdint>
#include <iosfwd>

#include "hollin_private/DictionaryImpl.h"

namespace hollin_private
{
struct ImageOptions
{
    bool mBigEndian = false;
    std::uint32_t mBase = 0;   // of a file that continues another; flat stores only
    bool mWithoutKeys = false; // flat stores only
};

// Each returns the bytes written, or 0 if the stream fails.

// Removed entries keep their places, without text; a store that has no keys is
// written whole. Throws "PARM" for a run above hollin::kLongestRun and for pools
// that 32 bits can't tell the size of.
std::size_t WriteImage(const DictionaryImpl& dictionary, const ImageOptions& options,
                       std::ostream& stream);

// UTF-16 of this machine, with a byte-order mark.
std::size_t WriteText(const DictionaryImpl& dictionary, std::ostream& stream);
std::size_t WriteByteOrderMark(std::ostream& stream);
} // namespace hollin_private

#endif
