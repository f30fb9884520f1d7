#include "image_form.h"

#include <algorithm>
#include <iterator>

#include <hollin/ImageView.h>

namespace
{
const char kMagic[] = "ZString Binary Format";
const std::size_t kMagicLength = sizeof kMagic - 1;
const std::size_t kLongestRun = 0xFFFE;

// Reads fields in turn. After the end, all fields are 0 and empty.
class Reader
{
public:
    Reader(const std::uint8_t* bytes, std::size_t size) : mAt(bytes), mEnd(bytes + size) {}

    std::uint32_t Integer(std::size_t width)
    {
        std::uint32_t value = 0;
        mSound &= width <= Remaining();
        for (std::size_t i = 0; mSound && i < width; ++i)
        {
            const std::size_t byte = mBigEndian ? width - 1 - i : i;
            value |= std::uint32_t(*mAt++) << (8 * byte);
        }
        return value;
    }

    std::string Bytes(std::size_t size)
    {
        mSound &= size <= Remaining();
        if (!mSound)
            return std::string();
        mAt += size;
        return std::string(reinterpret_cast<const char*>(mAt - size), size);
    }

    std::vector<std::uint32_t> Table(std::uint32_t count, std::size_t width)
    {
        mSound &= count <= Remaining() / width;
        std::vector<std::uint32_t> table(mSound ? count : 0);
        for (std::uint32_t& value : table)
            value = Integer(width);
        return table;
    }

    std::size_t Remaining() const { return static_cast<std::size_t>(mEnd - mAt); }

    bool mSound = true;
    bool mBigEndian = false;

private:
    const std::uint8_t* mAt;
    const std::uint8_t* mEnd;
};

struct RunTables
{
    void Read(Reader& in, std::uint32_t count)
    {
        mOffsets = in.Table(count, 4);
        mLengths = in.Table(count, 2);
    }

    std::string At(std::size_t index, const std::string& pool) const
    {
        return mOffsets[index] <= pool.size() ? pool.substr(mOffsets[index], mLengths[index])
                                              : std::string();
    }

    std::vector<std::uint32_t> mOffsets;
    std::vector<std::uint32_t> mLengths;
};

std::uint64_t Sum(const std::vector<std::uint32_t>& numbers)
{
    std::uint64_t sum = 0;
    for (const std::uint32_t number : numbers)
        sum += number;
    return sum;
}

void ReadBuckets(Reader& in, std::uint32_t buckets, ImageForm* form)
{
    const std::vector<std::uint32_t> numbers = in.Table(buckets, 2);
    const std::vector<std::uint32_t> sizes = in.Table(buckets, 4);
    for (std::size_t i = 0; in.mSound && i < numbers.size(); ++i)
        form->mBuckets[static_cast<std::uint16_t>(numbers[i])] = in.Table(sizes[i], 4);
}

void ReadComments(Reader& in, ImageForm* form)
{
    const std::uint32_t count = in.Integer(4);
    if (!count)
        return;
    const std::uint32_t size = in.Integer(4);
    const std::vector<std::uint32_t> ids = in.Table(count, 4);
    RunTables tables;
    tables.Read(in, count);
    const std::string pool = in.Bytes(size);
    for (std::size_t i = 0; in.mSound && i < ids.size(); ++i)
    {
        if (ids[i] >= form->mSlots.size())
            continue;
        form->mSlots[ids[i]].mHasComment = true;
        form->mSlots[ids[i]].mComment = tables.At(i, pool);
    }
}

void ReadFlat(Reader& in, ImageForm* form)
{
    if (form->mMinor >= 1)
        in.mBigEndian = form->mBigEndian = in.Integer(1) & 1;
    form->mLocale = in.Bytes(in.Integer(4));
    form->mBase = in.Integer(4);
    form->mKeyed = in.Integer(1) != 'N';
    const std::uint32_t count = in.Integer(4);
    in.Integer(4); // the live slots are counted
    const std::uint32_t buckets = in.Integer(4);
    const std::uint32_t keySize = form->mKeyed ? in.Integer(4) : 0;
    const std::uint32_t valueSize = in.Integer(4);
    RunTables keys;
    RunTables values;
    if (form->mKeyed)
        keys.Read(in, count);
    values.Read(in, count);
    const std::string keyPool = in.Bytes(keySize);
    const std::string valuePool = in.Bytes(valueSize);
    if (!in.mSound)
        return;
    form->mSharesPools =
        Sum(keys.mLengths) > keyPool.size() || Sum(values.mLengths) > valuePool.size();
    form->mSlots.resize(count);
    for (std::uint32_t slot = 0; slot < count; ++slot)
    {
        form->mSlots[slot].mKey = form->mKeyed ? keys.At(slot, keyPool) : std::string();
        form->mSlots[slot].mValue = values.At(slot, valuePool);
    }
    if (form->mKeyed)
        ReadBuckets(in, buckets, form);
    ReadComments(in, form);
    form->mTrailing = in.Bytes(std::min<std::size_t>(in.Remaining(), 8));
}

void AddEntry(std::uint32_t bucket, const std::string& key, const std::string& value,
              ImageForm* form)
{
    form->mBuckets[static_cast<std::uint16_t>(bucket)].push_back(
        static_cast<std::uint32_t>(form->mSlots.size()));
    form->mSlots.push_back({key, value, std::string(), false});
}

void ReadLengthTable(Reader& in, ImageForm* form)
{
    const std::uint32_t buckets = in.Integer(4);
    const std::vector<std::uint32_t> ends = in.Table(buckets, 4);
    const std::vector<std::uint32_t> lengths = in.Table(ends.empty() ? 0 : ends.back(), 4);
    const std::vector<std::uint32_t> numbers = in.Table(buckets, 2);
    std::size_t field = 0;
    for (std::size_t bucket = 0; in.mSound && bucket < numbers.size(); ++bucket)
    {
        for (; field + 1 < lengths.size() && field < ends[bucket]; field += 2)
        {
            const std::string key = in.Bytes(lengths[field]);
            AddEntry(numbers[bucket], key, in.Bytes(lengths[field + 1]), form);
        }
    }
}

void ReadEntries(Reader& in, ImageForm* form)
{
    const std::uint32_t records = in.Integer(2);
    std::vector<std::uint32_t> numbers;
    std::vector<std::uint32_t> offsets;
    for (std::uint32_t i = 0; in.mSound && i < records; ++i)
    {
        numbers.push_back(in.Integer(2));
        offsets.push_back(in.Integer(4));
    }
    const std::size_t data = in.Remaining();
    for (std::size_t i = 0; in.mSound && i + 1 < numbers.size(); ++i)
    {
        while (in.mSound && data - in.Remaining() < offsets[i + 1])
        {
            const std::string key = in.Bytes(in.Integer(4));
            AddEntry(numbers[i], key, in.Bytes(in.Integer(4)), form);
        }
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
    mBuckets[static_cast<std::uint16_t>(hollin::BucketOf(key))].push_back(slot);
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
    Reader in(bytes, size);
    if (in.Bytes(kMagicLength) != kMagic)
        return false;
    const std::uint32_t major = in.Integer(1);
    form->mMinor = static_cast<std::uint8_t>(in.Integer(1));
    form->mTextFlag = static_cast<std::uint8_t>(in.Integer(1));
    if (major == 2)
        ReadFlat(in, form);
    else if (major == 1)
    {
        form->mLayout = form->mMinor == 5 ? ImageForm::kLengthTable : ImageForm::kEntries;
        form->mMinor = 7; // if the layout is changed
        form->mLayout == ImageForm::kEntries ? ReadEntries(in, form) : ReadLengthTable(in, form);
    }
    for (const auto& bucket : form->mBuckets)
    {
        for (const std::uint32_t slot : bucket.second)
            in.mSound &= slot < form->mSlots.size();
    }
    return in.mSound && (major == 1 || major == 2);
}

std::string WriteForm(const ImageForm& form)
{
    Writer out(false);
    out.mBytes = kMagic;
    out.Integer(form.mLayout == ImageForm::kFlat ? 2 : 1, 1);
    switch (form.mLayout)
    {
    case ImageForm::kFlat:
        out.Integer(form.mMinor, 1);
        out.Integer(form.mTextFlag, 1);
        WriteFlat(form, out);
        break;
    case ImageForm::kLengthTable:
        out.Integer(5, 1);
        out.Integer(form.mTextFlag, 1);
        WriteLengthTable(form, out);
        break;
    case ImageForm::kEntries:
        out.Integer(0, 1);
        out.Integer(form.mTextFlag, 1);
        WriteEntries(form, out);
        break;
    }
    return out.mBytes;
}
