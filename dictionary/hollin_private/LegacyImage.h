// Reads images of version 1 entry by entry.

#ifndef HOLLIN_PRIVATE_LEGACY_IMAGE_H
#define HOLLIN_PRIVATE_LEGACY_IMAGE_H

#include <memory>

#include "hollin_private/ByteRun.h"
#include "hollin_private/ImageCursor.h"

namespace hollin_private
{
// The bytes of the entry are in the image.
struct LegacyEntry
{
    std::uint32_t mBucket = 0;
    bool mStartsBucket = false; // the first entry of its bucket
    ByteRun mKey;
    ByteRun mValue; // UTF-16, or text in the header's encoding
};

class LegacyImage
{
public:
    virtual ~LegacyImage() = default;

    // Reads the tables after the header of an image of version 1.0 or 1.5.
    //
    // REQUIRES: the cursor outlives the result.
    static std::unique_ptr<LegacyImage> Open(ImageCursor& cursor, const ImageHeader& header);

    // Reads the next entry in the image's order. Returns false at the end, and at damage, which
    // the cursor then has. The entries before the damage are valid.
    virtual bool Next(LegacyEntry* entry) = 0;
};
} // namespace hollin_private

#endif
