// Images of version 2: reading them, and laying one over another.

#include <algorithm>
#include <cstdlib>
#include <random>

#include <gtest/gtest.h>

#include "tests/dictionary/support/ImageBuilder.h"
#include "tests/dictionary/support/Loading.h"

using hollin::Dictionary;

namespace
{
const std::vector<TestEntry> kEntries = {
    {"/app/title", u"Titel", u"menu bar"},
    {"", u""}, // removed
    {"/app/empty", u""},
    {"/app/greek", u"\x394\xD83D\xDE00", u"a letter"},
};

// Loaded from a little-endian image in memory.
void LoadEntries(Dictionary& dictionary, const std::vector<TestEntry>& entries,
                 const FlatOptions& options = {})
{
    Load(dictionary, BuildFlat(entries, options).Image());
}
} // namespace

TEST(FlatImage, SmallestExampleIsReadAndWrittenToTheByte)
{
    const unsigned char bytes[] = {
        'Z',  'S', 't', 'r', 'i', 'n', 'g', ' ', 'B',  'i', 'n', 'a',  'r',  'y',  ' ',
        'F',  'o', 'r', 'm', 'a', 't', 2,   7,   0,    0,   5,   0,    0,    0,    'e',
        'n',  '_', 'U', 'S', 0,   0,   0,   0,   0x59, 1,   0,   0,    0,    1,    0,
        0,    0,   1,   0,   0,   0,   2,   0,   0,    0,   2,   0,    0,    0,    0,
        0,    0,   0,   2,   0,   0,   0,   0,   0,    2,   0,   0x2F, 0x61, 0x62, 0,
        0x44, 2,   1,   0,   0,   0,   0,   0,   0,    0,   0,   0,    0,    0,
    };
    const std::string image(bytes, bytes + sizeof bytes);
    ASSERT_EQ(image.size(), 89u);
    ASSERT_EQ(BuildFlat({{"/a", u"b"}}).Image(), image);

    const Loaded dictionary(image);
    EXPECT_EQ(TextOf(dictionary, "/a=default"), u"b");
    EXPECT_EQ(LocaleOf(dictionary), "en_US");
    EXPECT_EQ(Saved(dictionary), image);
}

TEST(FlatImage, EveryMinorVersionAndByteOrderGivesTheSameTexts)
{
    for (const int version : {0, 1, 5, 7, 127, -1, -7, -127}) // the latter big-endian
    {
        for (const Way way : kWays)
        {
            SCOPED_TRACE(testing::Message() << "2." << version << " way " << int(way));
            const auto minor = static_cast<std::uint8_t>(std::abs(version));
            const FlatOptions options = {minor, version < 0, "el_GR", 0, 'Y'};
            const Loaded dictionary(BuildFlat(kEntries, options).Image(), way);
            EXPECT_EQ(LocaleOf(dictionary), "el_GR");
            EXPECT_EQ(TextOf(dictionary, "/app/title"), u"Titel");
            EXPECT_EQ(TextOf(dictionary, "/app/empty"), u"");
            EXPECT_EQ(TextOf(dictionary, "/app/greek"), u"\x394\xD83D\xDE00");
            EXPECT_EQ(TextById(dictionary, 3), u"\x394\xD83D\xDE00");
            EXPECT_EQ(TextById(dictionary, 1), u"(none)");
            EXPECT_EQ(CommentOf(dictionary, "/app/greek"), u"a letter");
            EXPECT_EQ(CommentOf(dictionary, "/app/empty"), u"");
        }
    }
}

TEST(FlatImage, AnyOtherMarkerCountsAsKeyed)
{
    const Loaded dictionary(BuildFlat(kEntries, {7, false, "en_US", 0, 'n'}).Image());
    EXPECT_EQ(TextOf(dictionary, "/app/title"), u"Titel");
}

TEST(FlatImage, LocaleIsReplacedAndMayBeEmpty)
{
    Dictionary dictionary;
    LoadEntries(dictionary, {{"/a", u"1"}});
    LoadEntries(dictionary, {{"/b", u"2"}}, {7, false, "", 0, 'Y'});
    EXPECT_TRUE(dictionary.IsGood());
    EXPECT_EQ(LocaleOf(dictionary), "");
}

TEST(FlatImage, WithoutEntriesAddsNothing)
{
    Dictionary dictionary;
    LoadEntries(dictionary, {});
    LoadEntries(dictionary, {{"", u""}}); // removed ones alone
    LoadEntries(dictionary, {{"/a", u"1"}});
    EXPECT_TRUE(dictionary.IsGood());
    EXPECT_EQ(TextById(dictionary, 0), u"1");
}

TEST(FlatLayers, KeysOfOneBucketAreToldApart)
{
    const std::string one = "a0bbbbbbbb"; // only every second byte is hashed
    const std::string two = "a1bbbbbbbb";
    ASSERT_EQ(BucketOf(one), BucketOf(two));
    Dictionary dictionary;
    LoadEntries(dictionary, {{one, u"1"}});
    LoadEntries(dictionary, {{two, u"2"}, {one, u"1 again"}});
    EXPECT_EQ(TextOf(dictionary, one), u"1 again");
    EXPECT_EQ(TextOf(dictionary, two), u"2");
}

TEST(FlatLayers, TextsThatShareBytesChangeApart)
{
    const ImageBuilder whole = BuildFlat({{"/a", u"text", u"note"}, {"/b", u"text", u"note"}});
    std::string image = whole.With(whole.Offset("value offsets") + 4, 0, 4);
    for (int i = 0; i < 4; ++i) // the second comment is the first one's bytes
        image[whole.Offset("comment offsets") + 4 + static_cast<std::size_t>(i)] = 0;
    for (const std::u16string text : {u"shor", u"s", u"longer"})
    {
        Loaded dictionary(image);
        LoadEntries(dictionary, {{"/a", text}});
        EXPECT_EQ(TextOf(dictionary, "/a"), text);
        EXPECT_EQ(TextOf(dictionary, "/b"), u"text");
        Set(dictionary, "/a", u"x", u"memo");
        EXPECT_EQ(TextOf(dictionary, "/a") + TextOf(dictionary, "/b"), u"xtext");
        EXPECT_EQ(CommentOf(dictionary, "/a") + CommentOf(dictionary, "/b"), u"memonote");
    }
}

TEST(FlatLayers, ContinuationFollowsWithoutMerging)
{
    const FlatOptions continued = {7, false, "de_DE", 2, 'Y'};
    Dictionary dictionary;
    LoadEntries(dictionary, {{"/a", u"1"}, {"/b", u"2"}});
    LoadEntries(dictionary, {{"/c", u"3", u"third"}, {"/a", u"4"}}, continued);
    EXPECT_TRUE(dictionary.IsGood());
    EXPECT_EQ(TextById(dictionary, 2), u"3");
    EXPECT_EQ(TextOf(dictionary, "/c"), u"3");
    EXPECT_EQ(TextOf(dictionary, "/a"), u"1"); // the earlier identifier is found first
    EXPECT_EQ(TextById(dictionary, 3), u"4");
    EXPECT_EQ(CommentOf(dictionary, "/c"), u"third");

    LoadEntries(dictionary, {{"/d", u"5"}, {"/a", u"6"}}, {7, false, "xx", 2, 'Y'}); // of another
    EXPECT_FALSE(dictionary.IsGood());
    EXPECT_FALSE(dictionary.HasString("/d"));
    EXPECT_EQ(TextOf(dictionary, "/a"), u"1");
    EXPECT_EQ(LocaleOf(dictionary), "de_DE");

    const Loaded first(BuildFlat({{"/c", u"3"}}, continued).Image()); // which any file may be
    EXPECT_EQ(TextById(first, 0), u"3");
}

TEST(UnknownVersion, ChangesNothingButTheFlag)
{
    const ImageBuilder known = BuildFlat({{"/a", u"new"}});
    for (const unsigned int version : {0x0280u, 0x0300u, 0x0101u, 0x0000u})
    {
        SCOPED_TRACE(version);
        std::string image = known.Image();
        image[21] = static_cast<char>(version >> 8);
        image[22] = static_cast<char>(version);
        for (const Way way : kWays)
        {
            Dictionary dictionary;
            LoadEntries(dictionary, {{"/a", u"old"}});
            Load(dictionary, image, way);
            EXPECT_FALSE(dictionary.IsGood());
            EXPECT_EQ(TextOf(dictionary, "/a"), u"old");
        }
        EXPECT_EQ(Check(image).mField, "version");
    }
}

// Every version holds what was put in, however it is laid out.
TEST(AnyImage, HoldsWhatItWasMadeFrom)
{
    std::mt19937 random(20240601);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    for (int round = 0; round < 60; ++round)
    {
        SCOPED_TRACE(round);
        KeyedTexts texts;
        for (std::size_t i = below(300); i > 0; --i)
        {
            std::string key(1 + below(40), '\0');
            std::generate(key.begin(), key.end(), [&] { return char('/' + below(60)); });
            key.erase(std::remove(key.begin(), key.end(), '='), key.end());
            std::u16string text(below(30), u'\0');
            std::generate(text.begin(), text.end(), [&] { return char16_t(1 + below(0xD700)); });
            if (!key.empty())
                texts[key] = text;
        }
        std::vector<TestEntry> entries;
        entries.reserve(texts.size());
        for (const auto& text : texts)
            entries.push_back({text.first, text.second, below(5) ? u"" : text.second});
        std::shuffle(entries.begin(), entries.end(), random);

        const auto minor = static_cast<std::uint8_t>(1 + below(127));
        const FlatOptions options = {minor, below(2) == 1, "en_US", 0, 'Y'};
        const ImageBuilder images[] = {BuildFlat(entries, options), BuildLengthTable(entries),
                                       BuildEntries(entries)};
        for (const ImageBuilder& image : images)
        {
            SCOPED_TRACE(&image - images);
            Loaded dictionary(image.Image(), kWays[below(2)]);
            EXPECT_EQ(TextsOf(dictionary), texts);
            const hollin::ImageReport report = Check(image.Image());
            EXPECT_FALSE(report.mDamaged) << report.mSentence;
            EXPECT_EQ(report.mLive, texts.size());
            EXPECT_EQ(report.mAstray, 0u);

            Loaded again(Saved(dictionary, Dictionary::kBinary, below(2))); // our own writer's
            EXPECT_EQ(TextsOf(again), texts);
        }
    }
}
