// Images of version 1, read entry by entry.

#ifndef HOLLIN_PRIVATE_LEGACY_IMAGE_H
#define HOLLIN_PRIVATE_LEGACY_IMAGE_H

#include <memory>

#include "hollin_private/ByteRun.h"
#include "hollin_private/ImageHeader.h"

namespace hollin_private
{
// One entry; the bytes lie in the image.
struct LegacyEntry
{
    std::uint32_t mBucket = 0;
    bool mStartsBucket = false; // the first of its bucket
    ByteRun mKey;
    ByteRun mValue; // UTF-16, or text in the header's encoding
};

class LegacyImage
{
public:
    virtual ~LegacyImage() = default;

    // Reads the tables behind the header of an image of version 1.0 or 1.5. The
    // cursor must outlive the result.
    static std::unique_ptr<LegacyImage> Open(ImageCursor& cursor, const ImageHeader& header);

    // The next entry in the image's order. False at the end, and at damage, of
    // which the cursor tells: the entries in front of it are sound.
    virtual bool Next(LegacyEntry* entry) = 0;
};
} // namespace hollin_private

#endif
