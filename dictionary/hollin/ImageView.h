// Reads an image of version 2 in place, for programs that need a part of it or its slots as
// they are. A dictionary copies all of an image.
//
//     const std::string image = "..."; // the bytes of a file
//     const hollin::ImageView view(reinterpret_cast<const unsigned char*>(image.data()),
//                                  image.size());
//     std::vector<std::uint16_t> text;
//     const std::uint32_t slot = view.IsReadable() ? view.Find("/Host/Greeting") : hollin::kNoId;
//     if (slot != hollin::kNoId)
//         view.AppendText(slot, &text);
//
// The constructor checks the tables and reads neither keys nor texts, so that it takes about a
// millisecond for 500,000 entries.
//
// Thread safety: any thread may use a view.

#ifndef HOLLIN_IMAGE_VIEW_H
#define HOLLIN_IMAGE_VIEW_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "hollin/ImageCheck.h"
#include "hollin/Limits.h"

namespace hollin_private
{
struct FlatImageView;
}

namespace hollin
{
// Returns the bucket of a key in every store and image.
std::uint32_t BucketOf(std::string_view key);

class ImageView
{
public:
    // REQUIRES: the bytes outlive the view.
    ImageView(const unsigned char* bytes, std::size_t size);
    ~ImageView();
    ImageView(const ImageView&) = delete;
    ImageView& operator=(const ImageView&) = delete;

    // The figures and the first damage of an image of version 2, as CheckImage reports them,
    // but mUnreachable is not counted. Of any other bytes, only the form and the version.
    const ImageReport& Report() const { return mReport; }

    // Returns whether the bytes are an undamaged image of version 2. If not, no function below
    // may be called.
    bool IsReadable() const { return mImage != nullptr; }

    std::uint32_t Slots() const;

    // Returns the key. Empty if the slot is removed, and in an image without keys.
    //
    // REQUIRES: slot < Slots().
    std::string_view Key(std::uint32_t slot) const;

    // Appends the text of the slot, in this machine's byte order.
    //
    // REQUIRES: slot < Slots().
    void AppendText(std::uint32_t slot, std::vector<std::uint16_t>* units) const;

    // Returns the slot that a look-up of the key finds, or kNoId.
    std::uint32_t Find(std::string_view key) const;

    // Returns the slots in a bucket, in the order of the image.
    std::vector<std::uint32_t> SlotsIn(std::uint32_t bucket) const;

    // The comments, in the order of their slots.
    //
    // REQUIRES: index < Comments().
    std::uint32_t Comments() const;
    std::uint32_t CommentSlot(std::uint32_t index) const;
    void AppendComment(std::uint32_t index, std::vector<std::uint16_t>* units) const;

    // For CheckImage. Null if the view isn't readable.
    const hollin_private::FlatImageView* Tables() const { return mImage.get(); }

private:
    ImageReport mReport;
    std::unique_ptr<const hollin_private::FlatImageView> mImage; // null if it isn't readable
};
} // namespace hollin

#endif
