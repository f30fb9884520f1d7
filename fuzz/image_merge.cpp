// Has a dictionary the texts that it should have after an image was loaded over another one?

#include <set>

#include <hollin_private/FlatImageView.h>

#include "image_pair.h"
#include "load.h"

namespace
{
using namespace hollin_private;

const std::size_t kLongestMergedKey = 1023;

// The keys and texts of an image of version 2.
struct Content
{
    Content(const std::uint8_t* data, std::size_t size)
    {
        ImageCursor cursor(data, size);
        if (!IsBinaryImage(data, size))
            return;
        const ImageHeader header = ReadImageHeader(cursor);
        if (!cursor.Sound() || header.Layout() != ImageLayout::kFlat)
            return;
        mImage = ReadFlatImage(cursor);
        mIsOrderly = cursor.Sound() && mImage.mKeyed && IsEachKeyInItsBucket();
    }

    ByteRun KeyAt(std::size_t slot) const { return mImage.mKeys.At(slot); }

    bool Has(const ByteRun& key) const { return mKeys.count(std::string(ViewOf(key))) != 0; }

    hollin::ZString TextAt(std::size_t slot) const
    {
        const ByteRun value = mImage.mValues.At(slot);
        std::basic_string<std::uint16_t> units;
        for (std::uint32_t i = 0; i < value.mLength; i += 2)
            units += LoadInteger<std::uint16_t>(value.mBytes + i, mImage.mSwap);
        return hollin::ZString(units.data(), static_cast<std::uint32_t>(units.size()));
    }

    FlatImageView mImage;
    bool mIsOrderly = false; // each slot with a key is in its bucket once, and no key occurs twice

private:
    bool IsEachKeyInItsBucket()
    {
        std::size_t next = 0;
        for (std::size_t i = 0; i < mImage.mBucketSizes.Size(); ++i)
        {
            for (const std::size_t end = next + mImage.mBucketSizes[i]; next < end; ++next)
            {
                const ByteRun key = KeyAt(mImage.mBucketIds[next]);
                if (!key.mLength || key.mLength > kLongestMergedKey ||
                    HashKey(key, kBucketCount) != mImage.mBucketNumbers[i] ||
                    !mKeys.emplace(ViewOf(key)).second)
                    return false;
            }
        }
        return mKeys.size() == mImage.mLive;
    }

    std::set<std::string> mKeys;
};

void RequireTexts(const Content& content, const Content* newer,
                  const hollin::Dictionary& dictionary)
{
    for (std::size_t slot = 0; slot < content.mImage.mCount; ++slot)
    {
        const ByteRun key = content.KeyAt(slot);
        const std::string name(ViewOf(key));
        if (!IsNameable(name) || (newer && newer->Has(key)))
            continue;
        Require(dictionary.HasString(name.c_str()));
        Require(dictionary.GetString(name.c_str()) == content.TextAt(slot));
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const ImagePair pair = SplitPair(data, size);
    const Content first(pair.mFirst, pair.mFirstSize);
    const Content second(pair.mSecond, pair.mSecondSize);
    hollin::Dictionary dictionary;
    const bool isFirstGood = Load(dictionary, pair.mFirst, pair.mFirstSize);
    const bool areBothGood = Load(dictionary, pair.mSecond, pair.mSecondSize);
    Require(isFirstGood || !areBothGood);
    if (first.mIsOrderly)
    {
        // A damaged second image changes nothing.
        const bool isMerged = second.mIsOrderly && areBothGood && second.mImage.mBase == 0;
        if (isMerged || !areBothGood)
            RequireTexts(first, isMerged ? &second : nullptr, dictionary);
        if (isMerged)
            RequireTexts(second, nullptr, dictionary);
    }
    std::uint32_t id = 0;
    dictionary.ResetIterator();
    while (dictionary.NextId(&id))
        dictionary.CurrentText();
    return 0;
}
