// Changes images so that most of them stay sound: the mutator changes the entries and the fields,
// and writes all tables anew. Some images are damaged in one place afterwards.

#include <algorithm>
#include <cstring>
#include <iterator>
#include <random>

#include <hollin_private/FlatImageView.h>
#include <hollin_private/LegacyImage.h>

#include "image_form.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace
{
using namespace hollin_private;

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
    form->mMarker = image.mKeyed ? 'Y' : 'N';
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

// Reads a sound image. Returns false for any other bytes.
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

const char* const kKeys[] = {"/a", "/b", "/QX/U/Demo", "/QX/U/Menu/File/Open", "a=b", "$", ""};
const char* const kLocales[] = {"en_US", "de", ""};

class Mutator
{
public:
    // `most` is the largest size of an image.
    Mutator(unsigned int seed, std::size_t most) : mMost(most), mRandom(seed) {}

    // Returns a number below `limit`, or 0.
    std::uint32_t Below(std::size_t limit)
    {
        return limit ? static_cast<std::uint32_t>(mRandom() % limit) : 0;
    }
    bool OneIn(std::uint32_t count) { return Below(count) == 0; }

    void Change(ImageForm& form)
    {
        static void (Mutator::*const kChanges[])(ImageForm&) = {
            &Mutator::AddNew,        &Mutator::AddNew,        &Mutator::AddTwin,
            &Mutator::EraseSlot,     &Mutator::ChangeKey,     &Mutator::ChangeKey,
            &Mutator::ChangeValue,   &Mutator::ChangeValue,   &Mutator::CopyValue,
            &Mutator::ChangeComment, &Mutator::ChangeComment, &Mutator::ChangeBuckets,
            &Mutator::ChangeFields,  &Mutator::ChangeFields,  &Mutator::ChangeFields,
            &Mutator::ChangeFields};
        (this->*kChanges[form.mSlots.empty() ? 0 : Below(std::size(kChanges))])(form);
    }

    // Overwrites two bytes or four with a number that is near a limit.
    void Damage(std::string& image)
    {
        const std::size_t width = OneIn(2) ? 2 : 4;
        if (image.size() < width)
            return;
        const std::size_t at = Below(image.size() - width + 1);
        const auto size = static_cast<std::uint32_t>(image.size());
        const std::uint32_t numbers[] = {0, 1, 0xFF, 0x7FFFFFFF, 0xFFFFFFFF, Below(1024), size};
        std::uint32_t number = numbers[Below(std::size(numbers))];
        if (OneIn(2))
            number = static_cast<std::uint8_t>(image[at]) + Below(5) - 2;
        std::memcpy(&image[at], &number, width);
    }

private:
    std::string SampleKey()
    {
        std::string key = kKeys[Below(std::size(kKeys))];
        if (OneIn(3))
            key += static_cast<char>('0' + Below(10));
        if (OneIn(64))
            key.append(1018 + Below(10), 'x'); // near the longest key that a merge compares
        return key;
    }

    std::string SampleValue()
    {
        const std::size_t units = mMost > 4096 && OneIn(8) ? Below(mMost / 4) : Below(5);
        return std::string(2 * units, static_cast<char>('a' + Below(3)));
    }

    ImageSlot& AnySlot(ImageForm& form) { return form.mSlots[Below(form.mSlots.size())]; }

    void AddNew(ImageForm& form) { AddSlot(form, SampleKey()); }
    void AddTwin(ImageForm& form) { AddSlot(form, AnySlot(form).mKey); }
    void EraseSlot(ImageForm& form) { form.Erase(Below(form.mSlots.size())); }
    void ChangeValue(ImageForm& form) { ChangeBytes(AnySlot(form).mValue, 64); }

    void AddSlot(ImageForm& form, std::string key) // a copy: the key may be that of a slot
    {
        form.mSlots.push_back({key, SampleValue(), SampleValue(), OneIn(4)});
        if (!key.empty() || form.mLayout != ImageForm::kFlat)
            form.AddToBucket(static_cast<std::uint32_t>(form.mSlots.size() - 1));
    }

    void ChangeBytes(std::string& bytes, std::size_t more)
    {
        const std::size_t size = bytes.size();
        bytes.resize(size + more);
        bytes.resize(
            LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(&bytes[0]), size, size + more));
    }

    // The slot gets the bucket of its new key.
    void ChangeKey(ImageForm& form)
    {
        ImageSlot slot = AnySlot(form);
        form.Erase(static_cast<std::uint32_t>(Below(form.mSlots.size())));
        if (OneIn(2))
            slot.mKey = SampleKey();
        else
            ChangeBytes(slot.mKey, 16);
        form.mSlots.push_back(slot);
        if (!slot.mKey.empty())
            form.AddToBucket(static_cast<std::uint32_t>(form.mSlots.size() - 1));
    }

    void CopyValue(ImageForm& form)
    {
        const std::string value = AnySlot(form).mValue;
        ImageSlot& to = AnySlot(form);
        to.mValue = value.substr(std::min<std::size_t>(value.size(), 2 * Below(3)));
    }

    void ChangeComment(ImageForm& form)
    {
        ImageSlot& slot = AnySlot(form);
        slot.mHasComment = !slot.mHasComment || OneIn(2);
        ChangeBytes(slot.mComment, 16);
    }

    // Identifiers that are missing, occur twice or are in the bucket of another key. Images with
    // them are not damaged.
    void ChangeBuckets(ImageForm& form)
    {
        const std::uint32_t slot = Below(form.mSlots.size());
        if (OneIn(2))
        {
            for (auto& bucket : form.mBuckets)
            {
                std::vector<std::uint32_t>& ids = bucket.second;
                ids.erase(std::remove(ids.begin(), ids.end(), slot), ids.end());
            }
        }
        if (OneIn(2))
            form.mBuckets[static_cast<std::uint16_t>(Below(1021))].push_back(slot);
        else
            form.AddToBucket(slot);
    }

    void ChangeFields(ImageForm& form)
    {
        switch (Below(9))
        {
        case 0:
            form.mLayout = static_cast<ImageForm::Layout>(Below(3));
            break;
        case 1:
            form.mBigEndian = !form.mBigEndian;
            break;
        case 2:
            form.mMarker = form.IsKeyed() ? 'N' : 'Y';
            break;
        case 3:
            form.mSharesPools = !form.mSharesPools;
            break;
        case 4:
            form.mBase = OneIn(2) ? 0 : Below(8);
            break;
        case 5:
            form.mWrongLive = static_cast<std::int32_t>(Below(5)) - 2;
            break;
        case 6:
            form.mLocale = kLocales[Below(std::size(kLocales))];
            break;
        case 7:
            form.mMinor = static_cast<std::uint8_t>(Below(128));
            break;
        default:
            form.mTextFlag = static_cast<std::uint8_t>(Below(3));
            form.mTrailing.assign(Below(4), 'T');
        }
    }

    const std::size_t mMost;
    std::minstd_rand mRandom;
};
} // namespace

// Bytes that are no sound image are replaced by a new image.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned int seed)
{
    Mutator mutator(seed, maxSize);
    if (mutator.OneIn(16))
        return LLVMFuzzerMutate(data, size, maxSize);
    ImageForm form;
    if (!ReadForm(data, size, &form))
        form = ImageForm();
    do
        mutator.Change(form);
    while (mutator.OneIn(2));
    std::string image = WriteForm(form).Image();
    if (mutator.OneIn(8))
        mutator.Damage(image);
    if (image.size() > maxSize)
        return LLVMFuzzerMutate(data, size, maxSize);
    std::copy(image.begin(), image.end(), data);
    return image.size();
}
