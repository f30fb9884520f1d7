// Images of version 1.0 and 1.5.

#include <tuple>

#include "tests/dictionary/Loading.h"

using hollin::Dictionary;

namespace
{
typedef ImageBuilder (*Build)(const std::vector<ImageEntry>&, std::uint8_t);
const Build kVersions[] = {BuildEntries, BuildLengthTable};

const std::vector<ImageEntry> kOneBucket = {{kOne, u"eins"}, {kTwo, u"zwei"}};

class LegacyImage : public testing::TestWithParam<Build>
{
protected:
    static std::string Image(const std::vector<ImageEntry>& entries, std::uint8_t textFlag = 0)
    {
        return GetParam()(entries, textFlag).Image();
    }
};
INSTANTIATE_TEST_SUITE_P(Versions, LegacyImage, testing::ValuesIn(kVersions));
} // namespace

TEST_P(LegacyImage, EntriesKeepTheirOrderBeforeOlderEntries)
{
    Loaded dictionary(Image(kOneBucket));
    Load(dictionary, Image({{kTwo, u"two"}, {kTwo, u"never found"}}));
    EXPECT_EQ(KeysOf(dictionary), (std::vector<std::string>{kTwo, kTwo, kOne, kTwo}));
    EXPECT_EQ(TextsOf(dictionary), (KeyedTexts{{kOne, u"eins"}, {kTwo, u"two"}}));
}

TEST_P(LegacyImage, CheckCountsEntriesBucketsAndBytes)
{
    const hollin::ImageReport report = Check(Image(kOneBucket));
    EXPECT_EQ(std::tuple(report.mSlots, report.mLive, report.mBuckets, report.mLongestBucket),
              std::tuple(2u, 2u, 1u, 2u));
    EXPECT_EQ(report.mKeyBytes, std::string(kOne).size() + std::string(kTwo).size());
    EXPECT_EQ(report.mValueBytes, 16u);
}

TEST_P(LegacyImage, KeysAreCopiedOnRequest)
{
    const std::string image = Image(kOneBucket);
    for (const bool copyKeys : {false, true})
    {
        std::vector<unsigned char> bytes(image.begin(), image.end());
        Dictionary dictionary;
        dictionary.LoadFromMemory(bytes.data(), static_cast<std::int32_t>(bytes.size()), copyKeys);
        EXPECT_TRUE(dictionary.HasString(kOne));
        bytes.assign(bytes.size(), 'x');
        EXPECT_EQ(dictionary.HasString(kOne), copyKeys);
    }
}

TEST_P(LegacyImage, UnconvertibleValueKeepsTheEntriesBeforeIt)
{
    const ScRefusedConversion refused;
    Dictionary dictionary;
    EXPECT_EQ(CodeThrownBy([&] { Load(dictionary, Image(kOneBucket, 1)); }),
              ScRefusedConversion::kCode);
    EXPECT_EQ(TextOf(dictionary, kOne), u"eins");
    EXPECT_FALSE(dictionary.HasString(kTwo));
    EXPECT_EQ(Check(Image(kOneBucket, 1)).mField, "value");
}

TEST_P(LegacyImage, EntriesBeforeATruncationAreLoaded)
{
    const std::string image = Image(kOneBucket);
    std::u16string lastOne;
    for (std::size_t size = 21; size < image.size(); ++size)
    {
        SCOPED_TRACE(size);
        Dictionary dictionary;
        Load(dictionary, image.substr(0, size), kWays[size % 2]);
        EXPECT_FALSE(dictionary.IsGood());
        EXPECT_TRUE(Check(image.substr(0, size)).mDamaged);
        EXPECT_FALSE(dictionary.HasString(kTwo));
        lastOne = TextOf(dictionary, kOne);
    }
    EXPECT_EQ(lastOne, u"eins");
}

TEST_P(LegacyImage, OverAFlatDictionaryIsNoDamageAndAddsNoEntry)
{
    Loaded dictionary(BuildFlat({{"/a", u"flat"}}).Image());
    Load(dictionary, Image({{"/a", u"later"}, {"/c", u"later"}}));
    EXPECT_TRUE(dictionary.IsGood());
    EXPECT_EQ(TextsOf(dictionary), (KeyedTexts{{"/a", u"flat"}}));
}

TEST(LegacyDamage, FieldIsCheckedAndNamed)
{
    const std::vector<ImageEntry> entries = {{"/a", u"1"}, {"/b", u"2"}};
    const ImageBuilder old = BuildEntries(entries);
    const ImageBuilder table = BuildLengthTable(entries);
    const std::size_t records = old.Offset("records");
    const std::size_t data = old.Offset("data");
    const std::size_t ends = table.Offset("bucket ends");
    const std::size_t lengths = table.Offset("lengths");
    const std::tuple<std::string, const char*, std::uint64_t> rows[] = {
        {old.With(old.Offset("record count"), 0xFFFF, 2), "records", records},
        {old.With(records, 1021, 2), "records", records},
        {old.With(records + 2, 13, 4), "records", records + 2},  // after the second bucket's
        {old.With(records + 8, 25, 4), "key length", data + 24}, // after the data
        {old.With(data, 5, 4), "value length", data + 9},        // no room for one
        {old.With(data, 9, 4), "key", data + 4},                 // out of its bucket
        {old.With(data + 6, 1, 4), "value length", data + 6},    // half a unit
        {old.With(data + 6, 4, 4), "value", data + 10},
        {table.With(table.Offset("bucket count"), 0x40000000, 4), "bucket ends", ends},
        {table.With(ends, 6, 4), "bucket ends", ends}, // beyond the lengths
        {table.With(ends, 1, 4), "bucket ends", ends}, // half an entry
        {table.With(ends + 4, 0x40000000, 4), "lengths", lengths},
        {table.With(lengths, 0xFFFFFFFF, 4), "key", table.Offset("data")},
        {table.With(lengths + 4, 3, 4), "lengths", lengths + 4}, // half a unit
        {table.With(lengths + 12, 4, 4), "value", table.Offset("data") + 6},
        {table.With(table.Offset("bucket numbers"), 0xFFFF, 2), "bucket numbers",
         table.Offset("bucket numbers")},
    };
    int number = 0;
    for (const auto& [image, field, offset] : rows)
    {
        SCOPED_TRACE(number++);
        for (const Way way : kWays)
        {
            Dictionary dictionary;
            Load(dictionary, image, way);
            EXPECT_FALSE(dictionary.IsGood());
        }
        const hollin::ImageReport report = Check(image);
        EXPECT_TRUE(report.mDamaged);
        EXPECT_EQ(report.mField, field) << report.mSentence;
        EXPECT_EQ(report.mOffset, offset) << report.mSentence;
    }

    // Ends that descend: the entry before them is undamaged.
    std::string falling = table.With(ends, 4, 4);
    falling.replace(ends + 4, 1, "\2");
    EXPECT_EQ(Check(falling).mField, "bucket ends");

    // Two offsets just beyond the data.
    std::string beyond = old.With(records + 2, 25, 4);
    beyond.replace(records + 8, 1, "\x19");
    EXPECT_EQ(Check(beyond).mOffset, records + 2);
}
