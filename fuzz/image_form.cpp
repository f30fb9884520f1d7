#include "image_form.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace
{
const std::size_t kLongestRun = 0xFFFE;

// The runs of a pool with their offsets.
class Pool
{
public:
    explicit Pool(bool shares) : mShares(shares) {}

    void Add(std::string run, bool units)
    {
        run.resize(std::min(run.size(), kLongestRun));
        if (units)
            run.resize(run.size() & ~std::size_t(1));
        std::size_t at = mShares ? mBytes.find(run) : std::string::npos;
        if (at == std::string::npos || (units && at % 2))
        {
            at = mBytes.size();
            mBytes += run;
        }
        mOffsets.push_back(at);
        mLengths.push_back(run.size());
    }

    void WriteTables(ImageBuilder& image, const std::string& kind) const
    {
        image.Field(kind + " offsets");
        for (const std::size_t offset : mOffsets)
            image.U32(offset);
        image.Field(kind + " lengths");
        for (const std::size_t length : mLengths)
            image.U16(length);
    }

    std::string mBytes;

private:
    const bool mShares;
    std::vector<std::size_t> mOffsets;
    std::vector<std::size_t> mLengths;
};

void WriteBucketNumbers(const ImageForm& form, ImageBuilder& image)
{
    image.Field("bucket numbers");
    for (const auto& bucket : form.mBuckets)
        image.U16(bucket.first);
}

void WriteBuckets(const ImageForm& form, ImageBuilder& image)
{
    WriteBucketNumbers(form, image);
    image.Field("bucket sizes");
    for (const auto& bucket : form.mBuckets)
        image.U32(bucket.second.size());
    image.Field("bucket identifiers");
    for (const auto& bucket : form.mBuckets)
    {
        for (const std::uint32_t slot : bucket.second)
            image.U32(slot);
    }
}

void WriteComments(const ImageForm& form, ImageBuilder& image)
{
    Pool comments(form.mSharesPools);
    std::vector<std::size_t> ids;
    for (std::size_t slot = 0; slot < form.mSlots.size(); ++slot)
    {
        if (!form.mSlots[slot].mHasComment)
            continue;
        ids.push_back(slot);
        comments.Add(form.mSlots[slot].mComment, true);
    }
    image.Field("comment count").U32(ids.size());
    if (ids.empty())
        return;
    image.Field("comment pool size").U32(comments.mBytes.size());
    image.Field("comment identifiers");
    for (const std::size_t id : ids)
        image.U32(id);
    comments.WriteTables(image, "comment");
    image.Field("comment pool").Bytes(comments.mBytes);
}

void WriteFlat(const ImageForm& form, ImageBuilder& image)
{
    Pool keys(form.mSharesPools);
    Pool values(form.mSharesPools);
    std::int32_t live = form.mWrongLive;
    for (const ImageSlot& slot : form.mSlots)
    {
        keys.Add(slot.mKey, false);
        values.Add(slot.mValue, true);
        live += !slot.mKey.empty() || !form.IsKeyed();
    }
    if (form.mMinor >= 1)
        image.Field("byte-order byte").U8(form.mBigEndian);
    image.Field("locale length").U32(form.mLocale.size());
    image.Field("locale name").Bytes(form.mLocale);
    image.Field("base").U32(form.mBase);
    image.Field("keyed marker").U8(static_cast<unsigned char>(form.mMarker));
    image.Field("count").U32(form.mSlots.size());
    image.Field("live").U32(static_cast<std::uint32_t>(live));
    image.Field("buckets").U32(form.mBuckets.size()); // also without keys
    if (form.IsKeyed())
        image.Field("key pool size").U32(keys.mBytes.size());
    image.Field("value pool size").U32(values.mBytes.size());
    if (form.IsKeyed())
        keys.WriteTables(image, "key");
    values.WriteTables(image, "value");
    if (form.IsKeyed())
        image.Field("key pool").Bytes(keys.mBytes);
    image.Field("value pool").Bytes(values.mBytes);
    if (form.IsKeyed())
        WriteBuckets(form, image);
    WriteComments(form, image);
    image.Bytes(form.mTrailing);
}

std::string LegacyValue(const ImageForm& form, const ImageSlot& slot)
{
    const std::size_t size = slot.mValue.size();
    return slot.mValue.substr(0, form.mTextFlag ? size : size & ~std::size_t(1));
}

void WriteLengthTable(const ImageForm& form, ImageBuilder& image)
{
    ImageBuilder lengths;
    std::string data;
    std::size_t end = 0;
    image.Field("bucket count").U32(form.mBuckets.size()).Field("bucket ends");
    for (const auto& bucket : form.mBuckets)
    {
        image.U32(end += 2 * bucket.second.size());
        for (const std::uint32_t slot : bucket.second)
        {
            const std::string value = LegacyValue(form, form.mSlots[slot]);
            lengths.U32(form.mSlots[slot].mKey.size()).U32(value.size());
            data += form.mSlots[slot].mKey + value;
        }
    }
    image.Field("lengths").Bytes(lengths.Image());
    WriteBucketNumbers(form, image);
    image.Field("data").Bytes(data);
}

void WriteEntries(const ImageForm& form, ImageBuilder& image)
{
    ImageBuilder data;
    image.Field("record count").U16(form.mBuckets.size() + 1).Field("records");
    for (const auto& bucket : form.mBuckets)
    {
        image.U16(bucket.first).U32(data.Image().size());
        for (const std::uint32_t slot : bucket.second)
        {
            const std::string value = LegacyValue(form, form.mSlots[slot]);
            data.U32(form.mSlots[slot].mKey.size()).Bytes(form.mSlots[slot].mKey);
            data.U32(value.size()).Bytes(value);
        }
    }
    image.U16(0xFFFF).U32(data.Image().size()).Field("data").Bytes(data.Image());
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

std::uint16_t BucketOf(const std::string& key)
{
    const std::size_t step = std::max<std::size_t>(key.size() / 5, 1);
    std::uint32_t hash = 0;
    for (std::size_t i = 0; i < key.size(); i += step)
        hash = ((hash << 5) + static_cast<unsigned char>(key[i])) % 1021;
    return static_cast<std::uint16_t>(hash);
}

void ImageForm::AddToBucket(std::uint32_t slot)
{
    mBuckets[BucketOf(mSlots[slot].mKey)].push_back(slot);
}

void ImageForm::Erase(std::uint32_t slot)
{
    mSlots.erase(mSlots.begin() + slot);
    for (auto bucket = mBuckets.begin(); bucket != mBuckets.end();)
    {
        std::vector<std::uint32_t>& ids = bucket->second;
        ids.erase(std::remove(ids.begin(), ids.end(), slot), ids.end());
        for (std::uint32_t& id : ids)
            id -= id > slot;
        bucket = ids.empty() ? mBuckets.erase(bucket) : std::next(bucket);
    }
}

ImageBuilder WriteForm(const ImageForm& form)
{
    const bool isFlat = form.mLayout == ImageForm::kFlat;
    ImageBuilder image(isFlat && form.mBigEndian && form.mMinor >= 1);
    image.Field("header").Bytes("ZString Binary Format").U8(isFlat ? 2 : 1);
    image.U8(isFlat ? form.mMinor : form.mLayout == ImageForm::kLengthTable ? 5 : 0);
    image.U8(form.mTextFlag);
    if (isFlat)
        WriteFlat(form, image);
    else if (form.mLayout == ImageForm::kLengthTable)
        WriteLengthTable(form, image);
    else
        WriteEntries(form, image);
    return image;
}
