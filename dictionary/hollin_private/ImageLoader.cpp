#include "hollin_private/ImageLoader.h"

#include <algorithm>
#include <istream>
#include <utility>

#include "hollin_private/FlatImageView.h"
#include "hollin_private/HashTable.h"
#include "hollin_private/LegacyImage.h"
#include "hollin_private/TextForm.h"

namespace hollin_private
{
namespace
{
using boost::container::default_init;

const std::size_t kFirstStreamRead = 0x1000;

// Returns false only if each run begins at or after the end of the run before it, as our
// writer orders them. Other writers may let texts share bytes.
bool MaySharePool(const StoredRuns& runs)
{
    bool apart = true;
    for (std::size_t i = 1; i < runs.Size(); ++i)
        apart &= runs.mOffsets[i] >= std::uint64_t(runs.mOffsets[i - 1]) + runs.mLengths[i - 1];
    return !apart;
}

StoredRuns CopyRuns(const ImageRuns& runs)
{
    StoredRuns copy;
    copy.mOffsets.resize(runs.mOffsets.Size(), default_init);
    runs.mOffsets.CopyTo(copy.mOffsets.data());
    copy.mLengths.resize(runs.mLengths.Size(), default_init);
    runs.mLengths.CopyTo(copy.mLengths.data());
    copy.mPool.resize(runs.mPoolSize, default_init);
    if (runs.mPoolSize)
        std::memcpy(copy.mPool.data(), runs.mPool, runs.mPoolSize);
    copy.mSharesPool = MaySharePool(copy);
    return copy;
}

template <typename Integer> Table<Integer> CopyTable(const ImageTable<Integer>& table)
{
    Table<Integer> copy(table.Size(), default_init);
    table.CopyTo(copy.data());
    return copy;
}

void SwapUnits(Table<unsigned char>& pool)
{
    unsigned char* const bytes = pool.data(); // bytes may alias anything, even the table
    const std::size_t size = pool.size();
    for (std::size_t i = 0; i + 1 < size; i += 2)
    {
        const std::uint16_t unit = LoadInteger<std::uint16_t>(bytes + i, true);
        std::memcpy(bytes + i, &unit, sizeof unit);
    }
}

FastArrayBlock CopyBlock(const FlatImageView& image)
{
    FastArrayBlock block;
    block.mCount = image.mCount;
    block.mHasKeys = image.mKeyed;
    block.mStoredLiveCount = image.mKeyed ? 0 : image.mLive;
    block.mKeys = CopyRuns(image.mKeys);
    block.mValues = CopyRuns(image.mValues);
    block.mComments = CopyRuns(image.mComments);
    block.mCommentIds = CopyTable(image.mCommentIds);
    if (image.mSwap)
    {
        SwapUnits(block.mValues.mPool);
        SwapUnits(block.mComments.mPool);
    }
    return block;
}

FileBuckets CopyBuckets(const FlatImageView& image)
{
    return {CopyTable(image.mBucketNumbers), CopyTable(image.mBucketSizes),
            CopyTable(image.mBucketIds)};
}

// The dictionary is changed only after all of the image is checked.
bool LoadFlat(DictionaryImpl& dictionary, ImageCursor& cursor)
{
    const FlatImageView image = ReadFlatImage(cursor);
    if (!cursor.Sound())
        return false;
    std::string locale(reinterpret_cast<const char*>(image.mLocale.mBytes), image.mLocale.mLength);
    if (!dictionary.mFastArray->AdoptBlock(CopyBlock(image), CopyBuckets(image), image.mBase))
        return false;
    dictionary.mLocale = std::move(locale);
    dictionary.MakeFlat();
    return true;
}

hollin::ZString LegacyValue(const ByteRun& value, std::uint32_t textFlag)
{
    if (!textFlag)
        return hollin::ZString::FromUTF16Bytes(value.mBytes, value.mLength);
    return hollin::ZString(reinterpret_cast<const char*>(value.mBytes), value.mLength, &textFlag);
}

// The entries of a bucket keep the image's order, before the older entries of the bucket.
bool LoadLegacy(DictionaryImpl& dictionary, ImageCursor& cursor, const ImageHeader& header,
                bool copyKeys)
{
    const auto ownership = copyKeys ? ByteRunKey::kCopy : ByteRunKey::kBorrow;
    const std::unique_ptr<LegacyImage> image = LegacyImage::Open(cursor, header);
    HashItem* previous = nullptr;
    for (LegacyEntry entry; image->Next(&entry);)
    {
        auto item = std::make_unique<DictionaryEntry>(entry.mKey, ownership,
                                                      LegacyValue(entry.mValue, header.mTextFlag));
        previous = dictionary.mHashTable.InsertAfter(
            entry.mBucket, entry.mStartsBucket ? nullptr : previous, std::move(item));
    }
    return cursor.Sound();
}

bool LoadBinary(DictionaryImpl& dictionary, const unsigned char* bytes, std::size_t size,
                bool copyKeys)
{
    ImageCursor cursor(bytes, size);
    const ImageHeader header = ReadImageHeader(cursor);
    if (!cursor.Sound())
        return false;
    if (header.Layout() == ImageLayout::kFlat)
        return LoadFlat(dictionary, cursor);
    return header.Layout() != ImageLayout::kUnknownVersion &&
           LoadLegacy(dictionary, cursor, header, copyKeys);
}

void LoadImage(DictionaryImpl& dictionary, const unsigned char* bytes, std::size_t size,
               bool copyKeys, TextSource source)
{
    if (size && bytes && !IsBinaryImage(bytes, size))
        return LoadText(dictionary, bytes, size, source);
    if (!size || !bytes || !LoadBinary(dictionary, bytes, size, copyKeys))
        dictionary.mGood = false;
}

// Disables the exceptions of a stream while it is read. Its state shows a failure.
class QuietStream
{
public:
    explicit QuietStream(std::istream& stream) : mStream(stream), mMask(stream.exceptions())
    {
        mStream.exceptions(std::ios_base::goodbit);
    }
    ~QuietStream()
    {
        try
        {
            mStream.exceptions(mMask); // throws if the state is in the mask
        }
        catch (const std::ios_base::failure&)
        {
        }
    }
    QuietStream(const QuietStream&) = delete;
    QuietStream& operator=(const QuietStream&) = delete;

private:
    std::istream& mStream;
    const std::ios_base::iostate mMask;
};

// Returns false if the stream fails before its end.
bool ReadToEnd(std::istream& stream, Table<unsigned char>& bytes)
{
    std::size_t size = 0;
    if (!stream.good())
        return false;
    while (stream.good())
    {
        // A stream that is good after a read has filled the bytes.
        bytes.resize(std::max(kFirstStreamRead, 2 * size), default_init);
        stream.read(reinterpret_cast<char*>(bytes.data() + size),
                    static_cast<std::streamsize>(bytes.size() - size));
        size += static_cast<std::size_t>(stream.gcount());
    }
    bytes.resize(size);
    return !stream.bad();
}
} // namespace

void LoadImageFromMemory(DictionaryImpl& dictionary, const unsigned char* bytes, std::size_t size,
                         bool copyKeys)
{
    LoadImage(dictionary, bytes, size, copyKeys, TextSource::kMemory);
}

void LoadImageFromStream(DictionaryImpl& dictionary, std::istream& stream)
{
    const QuietStream quiet(stream);
    Table<unsigned char> bytes;
    if (!ReadToEnd(stream, bytes))
        bytes.clear();
    LoadImage(dictionary, bytes.data(), bytes.size(), true, TextSource::kStream);
}
} // namespace hollin_private
