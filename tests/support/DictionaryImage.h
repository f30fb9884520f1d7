// Dictionary images built field by field, independent of the library's own writer, so that
// tests can damage each field.

#ifndef TESTS_SUPPORT_DICTIONARY_IMAGE_H
#define TESTS_SUPPORT_DICTIONARY_IMAGE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

struct ImageEntry
{
    std::string key; // empty for a removed slot of version 2
    std::u16string value;
    std::u16string comment = {};
};

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
std::uint32_t BucketOf(const std::string& key);

struct FlatOptions
{
    std::uint8_t minor = 7;
    bool bigEndian = false;
    std::string locale = "en_US";
    std::uint32_t base = 0;
    char marker = 'Y'; // 'N' leaves the keys out
};
const FlatOptions kKeyless = {7, false, "en_US", 0, 'N'};
ImageBuilder BuildFlat(const std::vector<ImageEntry>& entries, const FlatOptions& options = {});

// Version 1.0 and 1.5. Values are UTF-16 if the flag is 0, and else the low
// bytes of their units.
ImageBuilder BuildEntries(const std::vector<ImageEntry>& entries, std::uint8_t textFlag = 0);
ImageBuilder BuildLengthTable(const std::vector<ImageEntry>& entries, std::uint8_t textFlag = 0);

// A text in UTF-16 with a byte-order mark.
std::string TextBytes(const std::u16string& text, bool bigEndian = false);

// An image for U_ZStringSetCurrentDictionary: whole units, and a size in bytes.
struct DictionaryImage
{
    explicit DictionaryImage(const std::string& image = {});

    std::vector<std::uint16_t> units;
    std::size_t size;
};

// The binary form of version 2.7 with the locale de_DE.
DictionaryImage BinaryImage(const std::vector<ImageEntry>& entries);

// The text form in UTF-16, of lines.
DictionaryImage TextImage(const std::u16string& lines);

#endif
