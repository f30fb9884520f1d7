#include "image_form.h"

#include <algorithm>
#include <iterator>

#include <hollin_private/FlatImageView.h>
#include <hollin_private/LegacyImage.h>

namespace
{
using namespace hollin_private;

const std::size_t kLongestRun = 0xFFFE;
const std::size_t kMostTrailing = 8; // bytes that are kept

std::string BytesOf(const ByteRun& run)
{
    return std::string(ViewOf(run));
}

void ReadFlat(ImageCursor& cursor, ImageForm* form)
{
    const FlatImageView image = ReadFlatImage(cursor);
    if (!cursor.Sound())
        return;
    form->mLocale = BytesOf(image.mLocale);
    form->mBase = image.mBase;
    form->mKeyed = image.mKeyed;
    std::size_t keySize = 0;
    std::size_t valueSize = 0;
    for (std::uint32_t slot = 0; slot < image.mCount; ++slot)
    {
        const std::string key = image.mKeyed ? BytesOf(image.mKeys.At(slot)) : std::string();
        form->mSlots.push_back({key, BytesOf(image.mValues.At(slot)), std::string(), false});
        keySize += key.size();
        valueSize += form->mSlots.back().mValue.size();
    }
    form->mSharesPools = keySize > image.mKeys.mPoolSize || valueSize > image.mValues.mPoolSize;
    std::size_t next = 0;
    for (std::size_t i = 0; i < image.mBucketSizes.Size(); ++i)
    {
        std::vector<std::uint32_t>& ids = form->mBuckets[image.mBucketNumbers[i]];
        for (const std::size_t end = next + image.mBucketSizes[i]; next < end; ++next)
            ids.push_back(image.mBucketIds[next]);
    }
    for (std::size_t i = 0; i < image.mCommentIds.Size(); ++i)
    {
        ImageSlot& slot = form->mSlots[image.mCommentIds[i]];
        slot.mHasComment = true;
        slot.mComment = BytesOf(image.mComments.At(i));
    }
    const auto trailing = static_cast<std::uint32_t>(std::min(cursor.Remaining(), kMostTrailing));
    form->mTrailing = BytesOf({cursor.Take(trailing, "trailing"), trailing});
}

void ReadLegacy(ImageCursor& cursor, const ImageHeader& header, ImageForm* form)
{
    const std::unique_ptr<LegacyImage> image = LegacyImage::Open(cursor, header);
    for (LegacyEntry entry; image->Next(&entry);)
    {
        form->mBuckets[static_cast<std::uint16_t>(entry.mBucket)].push_back(
            static_cast<std::uint32_t>(form->mSlots.size()));
        form->mSlots.push_back({BytesOf(entry.mKey), BytesOf(entry.mValue), std::string(), false});
    }
}

class Writer
{
public:
    explicit Writer(bool bigEndian) : mBigEndian(bigEndian) {}

    void Integer(std::uint64_t value, std::size_t width)
    {
        for (std::size_t i = 0; i < width; ++i)
        {
            const std::size_t byte = mBigEndian ? width - 1 - i : i;
            mBytes += static_cast<char>(value >> (8 * byte));
        }
    }

    std::string mBytes;
    bool mBigEndian;
};

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

    void WriteTables(Writer& out) const
    {
        for (const std::size_t offset : mOffsets)
            out.Integer(offset, 4);
        for (const std::size_t length : mLengths)
            out.Integer(length, 2);
    }

    std::string mBytes;

private:
    const bool mShares;
    std::vector<std::size_t> mOffsets;
    std::vector<std::size_t> mLengths;
};

void WriteBuckets(const ImageForm& form, Writer& out)
{
    for (const auto& bucket : form.mBuckets)
        out.Integer(bucket.first, 2);
    for (const auto& bucket : form.mBuckets)
        out.Integer(bucket.second.size(), 4);
    for (const auto& bucket : form.mBuckets)
    {
        for (const std::uint32_t slot : bucket.second)
            out.Integer(slot, 4);
    }
}

void WriteComments(const ImageForm& form, Writer& out)
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
    out.Integer(ids.size(), 4);
    if (ids.empty())
        return;
    out.Integer(comments.mBytes.size(), 4);
    for (const std::size_t id : ids)
        out.Integer(id, 4);
    comments.WriteTables(out);
    out.mBytes += comments.mBytes;
}

void WriteFlat(const ImageForm& form, Writer& out)
{
    Pool keys(form.mSharesPools);
    Pool values(form.mSharesPools);
    std::int32_t live = form.mWrongLive;
    for (const ImageSlot& slot : form.mSlots)
    {
        keys.Add(slot.mKey, false);
        values.Add(slot.mValue, true);
        live += !slot.mKey.empty() || !form.mKeyed;
    }
    if (form.mMinor >= 1)
        out.Integer(form.mBigEndian, 1);
    out.mBigEndian = form.mBigEndian && form.mMinor >= 1;
    out.Integer(form.mLocale.size(), 4);
    out.mBytes += form.mLocale;
    out.Integer(form.mBase, 4);
    out.Integer(form.mKeyed ? 'Y' : 'N', 1);
    out.Integer(form.mSlots.size(), 4);
    out.Integer(static_cast<std::uint32_t>(live), 4);
    out.Integer(form.mBuckets.size(), 4);
    if (form.mKeyed)
        out.Integer(keys.mBytes.size(), 4);
    out.Integer(values.mBytes.size(), 4);
    if (form.mKeyed)
        keys.WriteTables(out);
    values.WriteTables(out);
    if (form.mKeyed)
        out.mBytes += keys.mBytes;
    out.mBytes += values.mBytes;
    if (form.mKeyed)
        WriteBuckets(form, out);
    WriteComments(form, out);
    out.mBytes += form.mTrailing;
}

std::string LegacyValue(const ImageForm& form, const ImageSlot& slot)
{
    const std::size_t size = slot.mValue.size();
    return slot.mValue.substr(0, form.mTextFlag ? size : size & ~std::size_t(1));
}

void WriteLengthTable(const ImageForm& form, Writer& out)
{
    Writer lengths(false);
    std::string data;
    std::size_t end = 0;
    out.Integer(form.mBuckets.size(), 4);
    for (const auto& bucket : form.mBuckets)
    {
        out.Integer(end += 2 * bucket.second.size(), 4);
        for (const std::uint32_t slot : bucket.second)
        {
            const std::string value = LegacyValue(form, form.mSlots[slot]);
            lengths.Integer(form.mSlots[slot].mKey.size(), 4);
            lengths.Integer(value.size(), 4);
            data += form.mSlots[slot].mKey + value;
        }
    }
    out.mBytes += lengths.mBytes;
    for (const auto& bucket : form.mBuckets)
        out.Integer(bucket.first, 2);
    out.mBytes += data;
}

void WriteEntries(const ImageForm& form, Writer& out)
{
    Writer data(false);
    out.Integer(form.mBuckets.size() + 1, 2);
    for (const auto& bucket : form.mBuckets)
    {
        out.Integer(bucket.first, 2);
        out.Integer(data.mBytes.size(), 4);
        for (const std::uint32_t slot : bucket.second)
        {
            const std::string value = LegacyValue(form, form.mSlots[slot]);
            data.Integer(form.mSlots[slot].mKey.size(), 4);
            data.mBytes += form.mSlots[slot].mKey;
            data.Integer(value.size(), 4);
            data.mBytes += value;
        }
    }
    out.Integer(0xFFFF, 2);
    out.Integer(data.mBytes.size(), 4);
    out.mBytes += data.mBytes;
}
} // namespace

void ImageForm::AddToBucket(std::uint32_t slot)
{
    const std::string& key = mSlots[slot].mKey;
    std::size_t hash = 0; // of at most nine bytes
    for (std::size_t i = 0; i < key.size(); i += std::max<std::size_t>(key.size() / 5, 1))
        hash = (32 * hash + static_cast<unsigned char>(key[i])) % 1021;
    mBuckets[static_cast<std::uint16_t>(hash)].push_back(slot);
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

bool ReadForm(const std::uint8_t* bytes, std::size_t size, ImageForm* form)
{
    if (!IsBinaryImage(bytes, size))
        return false;
    ImageCursor cursor(bytes, size);
    const ImageHeader header = ReadImageHeader(cursor);
    form->mTextFlag = header.mTextFlag;
    form->mBigEndian = header.mBigEndian;
    switch (header.Layout())
    {
    case ImageLayout::kFlat:
        form->mMinor = header.mMinor;
        ReadFlat(cursor, form);
        break;
    case ImageLayout::kUnknownVersion:
        return false;
    default:
        form->mLayout = header.Layout() == ImageLayout::kEntries ? ImageForm::kEntries
                                                                 : ImageForm::kLengthTable;
        ReadLegacy(cursor, header, form);
    }
    return cursor.Sound();
}

std::string WriteForm(const ImageForm& form)
{
    const bool isFlat = form.mLayout == ImageForm::kFlat;
    Writer out(false);
    out.mBytes = kImageMagic;
    out.Integer(isFlat ? 2 : 1, 1);
    out.Integer(isFlat ? form.mMinor : form.mLayout == ImageForm::kLengthTable ? 5 : 0, 1);
    out.Integer(form.mTextFlag, 1);
    if (isFlat)
        WriteFlat(form, out);
    else if (form.mLayout == ImageForm::kLengthTable)
        WriteLengthTable(form, out);
    else
        WriteEntries(form, out);
    return out.mBytes;
}
