#include "hollin_private/ImageWriter.h"

#include <limits>
#include <ostream>
#include <utility>

#include "hollin/ConversionHooks.h"
#include "hollin/Limits.h"
#include "hollin_private/DictionaryReader.h"
#include "hollin_private/ImageCursor.h"
#include "hollin_private/TextForm.h"

namespace hollin_private
{
namespace
{
// SetString stores texts of any length in bytes. Images have whole units.
ByteRun WholeUnits(const ByteRun& text)
{
    return {text.mBytes, text.mLength & ~1u};
}

// In a file with keys, a slot without a key is removed. So a slot of a block without keys has
// no text in such a file.
void GatherSlots(const FastArrayBlock& block, ImageContent& content)
{
    for (std::uint32_t slot = 0; slot < block.mCount; ++slot)
    {
        const ByteRun key = block.mKeys.Get(slot);
        const bool live = content.mKeyed ? key.mLength != 0 : block.IsLive(slot);
        content.mValues.push_back(live ? WholeUnits(block.mValues.Get(slot)) : ByteRun());
        if (content.mKeyed)
            content.mKeys.push_back(key);
    }
}

void GatherComments(const FastArrayBlock& block, ImageContent& content)
{
    for (std::size_t i = 0; i < block.mCommentIds.size(); ++i)
    {
        const ByteRun comment = WholeUnits(block.mComments.Get(i));
        if (!comment.mLength)
            continue;
        content.mCommentIds.push_back(block.mBaseId + block.mCommentIds[i]);
        content.mComments.push_back(comment);
    }
}

// Numbers the entries in the order of the chains.
ImageContent ContentOf(const HashTable& table)
{
    ImageContent content;
    std::uint32_t id = 0;
    ForEachEntry(table, [&](std::uint32_t bucket, const DictionaryEntry& entry) {
        content.AddToBucket(bucket, id++);
        content.mKeys.push_back(entry.Key());
        content.mValues.push_back(entry.ValueBytes());
    });
    content.mLive = id;
    return content;
}

// Joins all blocks. Removed slots keep their identifiers, without text. Content without keys
// has the text of every live slot.
ImageContent ContentOf(const FastArray& store, bool withoutKeys)
{
    ImageContent content;
    content.mKeyed = false;
    content.mLive = store.LiveCount();
    for (const FastArrayBlock& block : store.Blocks())
        content.mKeyed |= block.mHasKeys && !withoutKeys;
    for (const FastArrayBlock& block : store.Blocks())
    {
        GatherSlots(block, content);
        GatherComments(block, content);
    }
    for (std::uint32_t bucket = 0; bucket < kBucketCount; ++bucket)
    {
        for (const std::uint32_t id : store.Buckets().Get(bucket))
            content.AddToBucket(bucket, id);
    }
    return content;
}

std::uint32_t Checked32(std::uint64_t size)
{
    if (size > std::numeric_limits<std::uint32_t>::max())
        throw hollin::VoErrException(hollin::VoErrException::kBadParameter);
    return static_cast<std::uint32_t>(size);
}

std::uint16_t CheckedLength(const ByteRun& run)
{
    if (run.mLength > hollin::kLongestRun)
        throw hollin::VoErrException(hollin::VoErrException::kBadParameter);
    return static_cast<std::uint16_t>(run.mLength);
}

std::uint64_t PoolSize(const std::vector<ByteRun>& runs)
{
    std::uint64_t size = 0;
    for (const ByteRun& run : runs)
        size += run.mLength;
    return size;
}

// Returns at least the size of the image without its locale.
std::uint64_t RoomFor(const ImageContent& content)
{
    const std::uint64_t header = 64; // and the counts
    const std::uint64_t run = sizeof(std::uint32_t) + sizeof(std::uint16_t);
    const std::uint64_t runs =
        content.mKeys.size() + content.mValues.size() + content.mBucketNumbers.size();
    return header + runs * run + content.mBucketIds.size() * sizeof(std::uint32_t) +
           content.mComments.size() * (run + sizeof(std::uint32_t)) + PoolSize(content.mKeys) +
           PoolSize(content.mValues) + PoolSize(content.mComments);
}

// Appends the fields of an image.
class ImageBuffer
{
public:
    ImageBuffer(bool swap, std::uint64_t size) : mSwap(swap)
    {
        mBytes.reserve(static_cast<std::size_t>(size));
    }

    std::string Take() { return std::move(mBytes); }

    void AddBytes(const void* bytes, std::size_t size)
    {
        mBytes.append(static_cast<const char*>(bytes), size);
    }

    template <typename Integer> void Add(Integer value)
    {
        if (mSwap)
            value = boost::endian::endian_reverse(value);
        AddBytes(&value, sizeof value);
    }

    template <typename Integer> void AddTable(const std::vector<Integer>& table)
    {
        if (!mSwap)
            return AddBytes(table.data(), table.size() * sizeof(Integer));
        for (const Integer value : table)
            Add(value);
    }

    // The runs of the pool are adjacent.
    void AddRunTables(const std::vector<ByteRun>& runs)
    {
        std::uint32_t offset = 0;
        for (const ByteRun& run : runs)
        {
            Add(offset);
            offset += run.mLength;
        }
        for (const ByteRun& run : runs)
            Add(CheckedLength(run));
    }

    void AddBytePool(const std::vector<ByteRun>& runs)
    {
        for (const ByteRun& run : runs)
            AddBytes(run.mBytes, run.mLength);
    }

    void AddUnitPool(const std::vector<ByteRun>& runs)
    {
        if (!mSwap)
            return AddBytePool(runs);
        for (const ByteRun& run : runs)
        {
            for (std::uint32_t i = 0; i < run.mLength; i += 2)
                Add(LoadInteger<std::uint16_t>(run.mBytes + i, false));
        }
    }

private:
    const bool mSwap;
    std::string mBytes;
};

// Values are UTF-16 in every case, so the text flag is 0.
void AddHeader(ImageBuffer& image, bool bigEndian, const std::string& locale)
{
    image.AddBytes(kImageMagic, kImageMagicLength);
    image.Add(kFlatMajor);
    image.Add(kFlatMinor);
    image.Add(std::uint8_t(0));
    image.Add(std::uint8_t(bigEndian));
    image.Add(Checked32(locale.size()));
    image.AddBytes(locale.data(), locale.size());
}

void AddSlotTables(ImageBuffer& image, const ImageContent& content)
{
    const std::uint32_t keyPoolSize = Checked32(PoolSize(content.mKeys));
    const std::uint32_t valuePoolSize = Checked32(PoolSize(content.mValues));
    if (content.mKeyed)
        image.Add(keyPoolSize);
    image.Add(valuePoolSize);
    image.AddRunTables(content.mKeys);
    image.AddRunTables(content.mValues);
    image.AddBytePool(content.mKeys);
    image.AddUnitPool(content.mValues);
}

void AddComments(ImageBuffer& image, const ImageContent& content)
{
    image.Add(Checked32(content.mComments.size()));
    if (content.mComments.empty())
        return;
    image.Add(Checked32(PoolSize(content.mComments)));
    image.AddTable(content.mCommentIds);
    image.AddRunTables(content.mComments);
    image.AddUnitPool(content.mComments);
}

void AddBlock(ImageBuffer& image, const ImageContent& content, std::uint32_t base)
{
    image.Add(base);
    image.Add(std::uint8_t(content.mKeyed ? 'Y' : 'N'));
    image.Add(Checked32(content.mValues.size()));
    image.Add(content.mLive);
    image.Add(Checked32(content.mBucketNumbers.size()));
    AddSlotTables(image, content);
    if (content.mKeyed)
    {
        image.AddTable(content.mBucketNumbers);
        image.AddTable(content.mBucketSizes);
        image.AddTable(content.mBucketIds);
    }
    AddComments(image, content);
}

std::size_t WriteAll(const void* bytes, std::size_t size, std::ostream& stream)
{
    stream.write(static_cast<const char*>(bytes), static_cast<std::streamsize>(size));
    return stream ? size : 0;
}

std::size_t WriteUnits(const std::vector<std::uint16_t>& units, std::ostream& stream)
{
    return WriteAll(units.data(), units.size() * sizeof units[0], stream);
}
} // namespace

void ImageContent::AddToBucket(std::uint32_t bucket, std::uint32_t id)
{
    if (mBucketNumbers.empty() || mBucketNumbers.back() != bucket)
    {
        mBucketNumbers.push_back(static_cast<std::uint16_t>(bucket));
        mBucketSizes.push_back(0);
    }
    ++mBucketSizes.back();
    mBucketIds.push_back(id);
}

std::string ImageOf(const ImageContent& content, const ImageOptions& options,
                    const std::string& locale)
{
    ImageBuffer image(NeedsSwap(options.mBigEndian), RoomFor(content) + locale.size());
    AddHeader(image, options.mBigEndian, locale);
    AddBlock(image, content, options.mBase);
    return image.Take();
}

std::size_t WriteImage(const DictionaryImpl& dictionary, const ImageOptions& options,
                       std::ostream& stream)
{
    const bool flat = dictionary.IsFlat();
    const ImageContent content = flat ? ContentOf(*dictionary.mFastArray, options.mWithoutKeys)
                                      : ContentOf(dictionary.mHashTable);
    ImageOptions written = options;
    written.mBase = flat ? options.mBase : 0;
    const std::string image =
        ImageOf(content, written, dictionary.mLocale.value_or(kDefaultLocale));
    return WriteAll(image.data(), image.size(), stream);
}

std::size_t WriteText(const DictionaryImpl& dictionary, std::ostream& stream)
{
    std::vector<std::uint16_t> text = {kByteOrderMark};
    if (!dictionary.IsFlat())
    {
        ForEachEntry(dictionary.mHashTable, [&](std::uint32_t, const DictionaryEntry& entry) {
            AppendTextLine(entry.Key(), entry.ValueBytes(), text);
        });
        return WriteUnits(text, stream);
    }
    for (const FastArrayBlock& block : dictionary.mFastArray->Blocks())
    {
        for (std::uint32_t slot = 0; slot < block.mCount; ++slot)
        {
            const ByteRun key = block.mKeys.Get(slot);
            if (key.mLength)
                AppendTextLine(key, block.mValues.Get(slot), text);
        }
    }
    return WriteUnits(text, stream);
}

std::size_t WriteByteOrderMark(std::ostream& stream)
{
    return WriteUnits({kByteOrderMark}, stream);
}
} // namespace hollin_private
