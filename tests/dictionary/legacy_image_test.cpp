// Images of version 1.0 and 1.5.

#include <cstring>

#include <gtest/gtest.h>

#include <hollin/ConversionHooks.h>
#include <hollin/VoErrException.h>

#include "tests/dictionary/support/ImageBuilder.h"
#include "tests/dictionary/support/Loading.h"

using hollin::Dictionary;

namespace
{
typedef ImageBuilder (*Build)(const std::vector<TestEntry>&, std::uint8_t);
const Build kVersions[] = {BuildEntries, BuildLengthTable};

// Two keys of one bucket, and one of another.
const std::string kOne = "a0bbbbbbbb";
const std::string kTwo = "a1bbbbbbbb";
const std::vector<TestEntry> kEntries = {
    {kOne, u"eins", u""}, {kTwo, u"zwei", u""}, {"/c", u"", u""}};

// An image whose only entries are of one bucket, so that they are in order.
const std::vector<TestEntry> kOneBucket = {{kOne, u"eins", u""}, {kTwo, u"zwei", u""}};

std::int32_t RefuseTwo(const char* bytes, std::uint32_t length, std::uint32_t* count,
                       hollin::TextEncoding)
{
    *count = length;
    return std::memchr(bytes, 'z', length) ? 1234 : 0;
}

class LegacyImage : public testing::TestWithParam<Build>
{
protected:
    void TearDown() override { hollin::SetConversionHooks(nullptr, nullptr, nullptr, nullptr); }

    static std::string Image(const std::vector<TestEntry>& entries, std::uint8_t textFlag = 0)
    {
        return GetParam()(entries, textFlag).Image();
    }
};
INSTANTIATE_TEST_SUITE_P(Versions, LegacyImage, testing::ValuesIn(kVersions));
} // namespace

TEST_P(LegacyImage, IsReadFromMemoryAndStream)
{
    for (const Way way : kWays)
    {
        Dictionary dictionary;
        Load(dictionary, Image(kEntries), way);
        EXPECT_TRUE(dictionary.IsGood());
        EXPECT_EQ(TextOf(dictionary, kOne), u"eins");
        EXPECT_EQ(TextOf(dictionary, kTwo), u"zwei");
        EXPECT_EQ(TextOf(dictionary, "/c"), u"");
    }
}

TEST_P(LegacyImage, IsReadAtAnyAddress)
{
    const std::string image = Image(kEntries);
    for (std::size_t shift = 0; shift < 4; ++shift)
    {
        std::vector<unsigned char> bytes(shift);
        bytes.insert(bytes.end(), image.begin(), image.end());
        Dictionary dictionary;
        dictionary.LoadFromMemory(bytes.data() + shift, static_cast<std::int32_t>(image.size()),
                                  true);
        EXPECT_TRUE(dictionary.IsGood());
        EXPECT_EQ(TextOf(dictionary, kTwo), u"zwei");
    }
}

TEST_P(LegacyImage, EntriesKeepTheirOrderInFrontOfOlderOnes)
{
    Dictionary dictionary;
    Load(dictionary, Image(kOneBucket));
    Load(dictionary, Image({{kTwo, u"two", u""}, {kTwo, u"never found", u""}}));
    EXPECT_EQ(KeysOf(dictionary), (std::vector<std::string>{kTwo, kTwo, kOne, kTwo}));
    EXPECT_EQ(TextOf(dictionary, kTwo), u"two");
    EXPECT_EQ(TextOf(dictionary, kOne), u"eins");
}

TEST_P(LegacyImage, KeysAreCopiedOnRequest)
{
    const std::string image = Image(kEntries);
    for (const bool copyKeys : {false, true})
    {
        std::vector<unsigned char> bytes(image.begin(), image.end());
        Dictionary dictionary;
        dictionary.LoadFromMemory(bytes.data(), static_cast<std::int32_t>(bytes.size()), copyKeys);
        EXPECT_TRUE(dictionary.HasString(kOne.c_str()));
        bytes.assign(bytes.size(), 'x');
        EXPECT_EQ(dictionary.HasString(kOne.c_str()), copyKeys);
    }
}

TEST_P(LegacyImage, WithoutBucketsHoldsNothing)
{
    Dictionary dictionary;
    Load(dictionary, Image({}));
    EXPECT_TRUE(dictionary.IsGood());
    EXPECT_TRUE(KeysOf(dictionary).empty());
}

TEST_P(LegacyImage, FlaggedValuesAreConverted)
{
    const std::vector<TestEntry> entries = {{"/e", u"\xC3\xA9", u""}}; // e acute in UTF-8
    for (const Way way : kWays)
    {
        Dictionary utf8;
        Load(utf8, Image(entries, 1), way);
        EXPECT_EQ(TextOf(utf8, "/e"), u"\xE9");
        Dictionary codePage;
        Load(codePage, Image(entries, 2), way);
        EXPECT_EQ(TextOf(codePage, "/e"), u"\xC3\xA9");
    }
}

TEST_P(LegacyImage, ValueThatCannotBeConvertedLeavesWhatCameBefore)
{
    hollin::SetConversionHooks(RefuseTwo, nullptr, nullptr, nullptr);
    Dictionary dictionary;
    try
    {
        Load(dictionary, Image(kOneBucket, 1));
        ADD_FAILURE() << "the load went on";
    }
    catch (const hollin::VoErrException& failure)
    {
        EXPECT_EQ(failure.mCode, 1234);
    }
    EXPECT_EQ(TextOf(dictionary, kOne), u"eins");
    EXPECT_FALSE(dictionary.HasString(kTwo.c_str()));
    EXPECT_EQ(Check(Image(kOneBucket, 1)).mField, "value");
}

TEST_P(LegacyImage, EntriesInFrontOfTheDamageStay)
{
    const std::string image = Image(kOneBucket);
    for (const Way way : kWays)
    {
        Dictionary dictionary;
        Load(dictionary, image.substr(0, image.size() - 1), way);
        EXPECT_FALSE(dictionary.IsGood());
        EXPECT_EQ(TextOf(dictionary, kOne), u"eins");
        EXPECT_FALSE(dictionary.HasString(kTwo.c_str()));
    }
}

TEST_P(LegacyImage, EveryTruncationIsFound)
{
    const std::string image = Image(kEntries);
    for (std::size_t size = 21; size < image.size(); ++size)
    {
        SCOPED_TRACE(size);
        Dictionary dictionary;
        Load(dictionary, image.substr(0, size), kWays[size % 2]);
        EXPECT_FALSE(dictionary.IsGood());
        EXPECT_TRUE(Check(image.substr(0, size)).mDamaged);
    }
}

TEST(LegacyDamage, IsFoundAndNamed)
{
    const std::vector<TestEntry> entries = {{"/a", u"1", u""}, {"/b", u"2", u""}};
    const ImageBuilder old = BuildEntries(entries);
    const ImageBuilder table = BuildLengthTable(entries);
    const std::size_t records = old.Offset("records");
    const std::size_t data = old.Offset("data");
    const std::size_t ends = table.Offset("bucket ends");
    const std::size_t lengths = table.Offset("lengths");
    struct Row
    {
        std::string image;
        const char* field;
        std::uint64_t offset;
    };
    const Row rows[] = {
        {old.With(old.Offset("record count"), 0xFFFF, 2), "records", records},
        {old.With(records, 1021, 2), "records", records},
        {old.With(records + 2, 13, 4), "records", records + 2},  // behind the second's
        {old.With(records + 8, 25, 4), "key length", data + 24}, // behind the data
        {old.With(records + 14, 25, 4), "key length", data + 24},
        {old.With(data, 5, 4), "value length", data + 9}, // no room for one
        {old.With(data, 9, 4), "key", data + 4},          // out of its bucket
        {old.With(data, 0xFFFFFFFF, 4), "key", data + 4},
        {old.With(data + 6, 1, 4), "value length", data + 6}, // half a unit
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
    for (const Row& row : rows)
    {
        SCOPED_TRACE(testing::Message() << "row " << &row - rows);
        for (const Way way : kWays)
        {
            Dictionary dictionary;
            Load(dictionary, row.image, way);
            EXPECT_FALSE(dictionary.IsGood());
        }
        const hollin::ImageReport report = Check(row.image);
        EXPECT_TRUE(report.mDamaged);
        EXPECT_EQ(report.mField, row.field) << report.mSentence;
        EXPECT_EQ(report.mOffset, row.offset) << report.mSentence;
    }

    // Ends that fall: the entry in front of them is sound.
    std::string falling = table.With(ends, 4, 4);
    falling.replace(ends + 4, 1, "\2");
    EXPECT_EQ(Check(falling).mField, "bucket ends");
}
