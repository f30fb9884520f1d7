#include "tests/support/DictionaryImage.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <stdexcept>

namespace
{
typedef std::map<std::uint32_t, std::vector<std::size_t>> Buckets; // to indices of entries

Buckets BucketsOf(const std::vector<ImageEntry>& entries, bool hasRemoved = false)
{
    Buckets buckets;
    for (std::size_t i = 0; i < entries.size(); ++i)
    {
        if (!hasRemoved || !entries[i].key.empty())
            buckets[BucketOf(entries[i].key)].push_back(i);
    }
    return buckets;
}

ImageBuilder Header(std::uint32_t major, std::uint32_t minor, std::uint32_t flag,
                    bool bigEndian = false)
{
    return ImageBuilder(bigEndian)
        .Field("header")
        .Bytes("ZString Binary Format")
        .U8(major)
        .U8(minor)
        .U8(flag);
}

std::string Joined(const std::vector<std::string>& runs)
{
    std::string joined;
    for (const std::string& run : runs)
        joined += run;
    return joined;
}

void AddRunTables(ImageBuilder& image, const std::string& kind,
                  const std::vector<std::string>& runs)
{
    std::size_t offset = 0;
    image.Field(kind + " offsets");
    for (const std::string& run : runs)
    {
        image.U32(offset);
        offset += run.size();
    }
    image.Field(kind + " lengths");
    for (const std::string& run : runs)
        image.U16(run.size());
}

void AddBuckets(ImageBuilder& image, const Buckets& buckets)
{
    image.Field("bucket numbers");
    for (const auto& bucket : buckets)
        image.U16(bucket.first);
    image.Field("bucket sizes");
    for (const auto& bucket : buckets)
        image.U32(bucket.second.size());
    image.Field("bucket identifiers");
    for (const auto& bucket : buckets)
    {
        for (const std::size_t id : bucket.second)
            image.U32(id);
    }
}

std::string LegacyValue(const ImageEntry& entry, std::uint8_t textFlag)
{
    return textFlag ? std::string(entry.value.begin(), entry.value.end())
                    : ImageBuilder().Units(entry.value).Image();
}
} // namespace

ImageBuilder& ImageBuilder::Field(const std::string& name)
{
    mFields.emplace_back(name, mImage.size());
    return *this;
}

ImageBuilder& ImageBuilder::Bytes(const std::string& bytes)
{
    mImage += bytes;
    return *this;
}

ImageBuilder& ImageBuilder::Units(const std::u16string& units)
{
    for (const char16_t unit : units)
        U16(unit);
    return *this;
}

ImageBuilder& ImageBuilder::Integer(std::uint64_t value, std::size_t width)
{
    const std::size_t offset = mImage.size();
    mImage.resize(offset + width);
    Store(mImage, offset, value, width);
    return *this;
}

void ImageBuilder::Store(std::string& image, std::size_t offset, std::uint64_t value,
                         std::size_t width) const
{
    for (std::size_t i = 0; i < width; ++i)
    {
        const std::size_t byte = mBigEndian ? width - 1 - i : i;
        image.at(offset + byte) = static_cast<char>(value >> (8 * i));
    }
}

std::size_t ImageBuilder::Offset(const std::string& field) const
{
    for (const auto& known : mFields)
    {
        if (known.first == field)
            return known.second;
    }
    throw std::logic_error("the image has no field " + field);
}

std::string ImageBuilder::FieldAt(std::size_t offset) const
{
    std::string field;
    for (const auto& known : mFields)
    {
        if (known.second <= offset)
            field = known.first;
    }
    return field;
}

std::string ImageBuilder::With(std::size_t offset, std::uint64_t value, std::size_t width) const
{
    std::string image = mImage;
    Store(image, offset, value, width);
    return image;
}

std::uint32_t BucketOf(const std::string& key)
{
    const std::size_t step = std::max<std::size_t>(key.size() / 5, 1);
    std::uint32_t hash = 0;
    for (std::size_t i = 0; i < key.size(); i += step)
        hash = ((hash << 5) + static_cast<unsigned char>(key[i])) % 1021;
    return hash;
}

ImageBuilder BuildFlat(const std::vector<ImageEntry>& entries, const FlatOptions& options)
{
    const bool keyed = options.marker != 'N';
    const auto bytesOf = [&](const std::u16string& text) {
        return ImageBuilder(options.bigEndian).Units(text).Image();
    };
    std::vector<std::string> keys;
    std::vector<std::string> values;
    std::vector<std::string> comments;
    std::vector<std::size_t> commentIds;
    for (const ImageEntry& entry : entries)
    {
        if (!entry.comment.empty())
        {
            commentIds.push_back(keys.size());
            comments.push_back(bytesOf(entry.comment));
        }
        keys.push_back(entry.key);
        values.push_back(bytesOf(entry.value));
    }
    const auto removed = keyed ? std::count(keys.begin(), keys.end(), "") : 0;
    const Buckets buckets = BucketsOf(entries, true); // counted in an image without keys, too

    ImageBuilder image = Header(2, options.minor, 0, options.bigEndian);
    if (options.minor >= 1)
        image.Field("byte-order byte").U8(options.bigEndian);
    image.Field("locale length").U32(options.locale.size());
    image.Field("locale name").Bytes(options.locale);
    image.Field("base").U32(options.base);
    image.Field("keyed marker").U8(static_cast<unsigned char>(options.marker));
    image.Field("count").U32(keys.size());
    image.Field("live").U32(keys.size() - static_cast<std::size_t>(removed));
    image.Field("buckets").U32(buckets.size());
    if (keyed)
        image.Field("key pool size").U32(Joined(keys).size());
    image.Field("value pool size").U32(Joined(values).size());
    if (keyed)
        AddRunTables(image, "key", keys);
    AddRunTables(image, "value", values);
    if (keyed)
        image.Field("key pool").Bytes(Joined(keys));
    image.Field("value pool").Bytes(Joined(values));
    if (keyed)
        AddBuckets(image, buckets);
    image.Field("comment count").U32(comments.size());
    if (comments.empty())
        return image;
    image.Field("comment pool size").U32(Joined(comments).size());
    image.Field("comment identifiers");
    for (const std::size_t id : commentIds)
        image.U32(id);
    AddRunTables(image, "comment", comments);
    image.Field("comment pool").Bytes(Joined(comments));
    return image;
}

ImageBuilder BuildEntries(const std::vector<ImageEntry>& entries, std::uint8_t textFlag)
{
    const Buckets buckets = BucketsOf(entries);
    ImageBuilder data;
    ImageBuilder image = Header(1, 0, textFlag);
    image.Field("record count").U16(buckets.size() + 1).Field("records");
    for (const auto& bucket : buckets)
    {
        image.U16(bucket.first).U32(data.Image().size());
        for (const std::size_t i : bucket.second)
        {
            const std::string value = LegacyValue(entries[i], textFlag);
            data.U32(entries[i].key.size()).Bytes(entries[i].key);
            data.U32(value.size()).Bytes(value);
        }
    }
    image.U16(0xFFFF).U32(data.Image().size()).Field("data").Bytes(data.Image());
    return image;
}

ImageBuilder BuildLengthTable(const std::vector<ImageEntry>& entries, std::uint8_t textFlag)
{
    const Buckets buckets = BucketsOf(entries);
    std::size_t end = 0;
    std::string data;
    ImageBuilder image = Header(1, 5, textFlag);
    ImageBuilder lengths;
    image.Field("bucket count").U32(buckets.size()).Field("bucket ends");
    for (const auto& bucket : buckets)
    {
        image.U32(end += 2 * bucket.second.size());
        for (const std::size_t i : bucket.second)
        {
            const std::string value = LegacyValue(entries[i], textFlag);
            lengths.U32(entries[i].key.size()).U32(value.size());
            data += entries[i].key + value;
        }
    }
    image.Field("lengths").Bytes(lengths.Image()).Field("bucket numbers");
    for (const auto& bucket : buckets)
        image.U16(bucket.first);
    image.Field("data").Bytes(data);
    return image;
}

std::string TextBytes(const std::u16string& text, bool bigEndian)
{
    return ImageBuilder(bigEndian).Units(u"\xFEFF" + text).Image();
}

DictionaryImage::DictionaryImage(const std::string& image)
    : units((image.size() + 1) / 2), size(image.size())
{
    std::copy(image.begin(), image.end(), reinterpret_cast<char*>(units.data()));
}

DictionaryImage BinaryImage(const std::vector<ImageEntry>& entries)
{
    FlatOptions options;
    options.locale = "de_DE";
    return DictionaryImage(BuildFlat(entries, options).Image());
}

DictionaryImage TextImage(const std::u16string& lines)
{
    return DictionaryImage(TextBytes(lines));
}
