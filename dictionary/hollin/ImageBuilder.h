// Makes an image of version 2.7 of entries in the caller's memory. A dictionary copies them.
//
//     const std::uint16_t text[] = {'H', 'a', 'l', 'l', 'o'};
//     hollin::ImageBuilder builder(true);
//     builder.AddSlot("/Host/Greeting", text, 5);
//     builder.AddToBucket(hollin::BucketOf("/Host/Greeting"), 0);
//     const std::string image = builder.Image("de_DE", false, 0);
//
// Thread safety: one thread at a time uses a builder.

#ifndef HOLLIN_IMAGE_BUILDER_H
#define HOLLIN_IMAGE_BUILDER_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "hollin/ImageView.h"

namespace hollin_private
{
struct ImageContent;
}

namespace hollin
{
// REQUIRES: keys, texts and comments live until the last call of Image.
class ImageBuilder
{
public:
    explicit ImageBuilder(bool withKeys);
    ~ImageBuilder();
    ImageBuilder(const ImageBuilder&) = delete;
    ImageBuilder& operator=(const ImageBuilder&) = delete;

    void Reserve(std::uint32_t slots);

    // Adds the next slot. An empty key makes a removed slot, whose text is left out.
    void AddSlot(std::string_view key, const std::uint16_t* units, std::uint32_t count);

    // Adds a slot to a bucket. Look-ups find the first slot of the bucket with their key.
    //
    // REQUIRES: bucket < kBucketCount. Buckets are added in ascending order.
    void AddToBucket(std::uint32_t bucket, std::uint32_t slot);

    // REQUIRES: slots are added in ascending order.
    void AddComment(std::uint32_t slot, const std::uint16_t* units, std::uint32_t count);

    // Returns the bytes of the image. An empty locale becomes en_US.
    //
    // Throws: VoErrException with "PARM" for a run longer than kLongestRun, and for a pool of
    // 4 GiB or more.
    std::string Image(const std::string& locale, bool bigEndian, std::uint32_t base) const;

private:
    const std::unique_ptr<hollin_private::ImageContent> mContent;
};
} // namespace hollin

#endif
