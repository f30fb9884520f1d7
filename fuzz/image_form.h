// Binary images of any version, written field by field, independent of the library's own writer.
// The mutator changes entries, and the tests damage each field.

#ifndef FUZZ_IMAGE_FORM_H
#define FUZZ_IMAGE_FORM_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

// An image, and the offsets of its fields.
class ImageBuilder
{
public:
    explicit ImageBuilder(bool bigEndian = false) : mBigEndian(bigEndian) {}

    // The bytes added next belong to a field of that name.
    ImageBuilder& Field(const std::string& name);
    ImageBuilder& Bytes(const std::string& bytes);
    ImageBuilder& Units(const std::u16string& units);
    ImageBuilder& U8(std::uint32_t value) { return Integer(value, 1); }
    ImageBuilder& U16(std::size_t value) { return Integer(value, 2); }
    ImageBuilder& U32(std::size_t value) { return Integer(value, 4); }

    const std::string& Image() const { return mImage; }
    std::size_t Offset(const std::string& field) const;

    // Returns the name of the field that has the byte.
    std::string FieldAt(std::size_t offset) const;

    // Returns the image with `width` bytes at an offset overwritten by an integer.
    std::string With(std::size_t offset, std::uint64_t value, std::size_t width) const;

private:
    ImageBuilder& Integer(std::uint64_t value, std::size_t width);
    void Store(std::string& image, std::size_t offset, std::uint64_t value,
               std::size_t width) const;

    bool mBigEndian;
    std::string mImage;
    std::vector<std::pair<std::string, std::size_t>> mFields;
};

// The bucket of a key in files.
std::uint16_t BucketOf(const std::string& key);

struct ImageSlot
{
    std::string mKey;     // empty for a removed slot of version 2
    std::string mValue;   // bytes, in the byte order of the image
    std::string mComment; // of version 2
    bool mHasComment = false;
};

// The entries of an image, and the fields that an entry does not decide. WriteForm makes the
// offsets, sizes and tables of the entries, so that they fit each other.
struct ImageForm
{
    enum Layout
    {
        kFlat,        // 2.x
        kLengthTable, // 1.5
        kEntries      // 1.0
    };

    bool IsKeyed() const { return mMarker != 'N'; }

    // Puts the slot into the bucket of its key.
    void AddToBucket(std::uint32_t slot);

    // Removes the slot, and its identifier from the buckets.
    void Erase(std::uint32_t slot);

    std::uint8_t mMinor = 7; // of version 2
    bool mBigEndian = false;
    std::string mLocale = "en_US";
    std::uint32_t mBase = 0;
    char mMarker = 'Y'; // 'N' leaves the keys out
    Layout mLayout = kFlat;
    std::uint8_t mTextFlag = 0;
    bool mSharesPools = false;   // equal and contained runs share bytes
    std::int32_t mWrongLive = 0; // added to the count of live slots
    std::string mTrailing = {};  // bytes after the content
    std::vector<ImageSlot> mSlots = {};
    std::map<std::uint16_t, std::vector<std::uint32_t>> mBuckets = {}; // to slots
};

// Values are cut to whole units where the form needs it.
ImageBuilder WriteForm(const ImageForm& form);

#endif
