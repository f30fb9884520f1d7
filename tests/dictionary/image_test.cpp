// Images of version 2: reading them, and laying one over another.

#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "tests/dictionary/support/ImageBuilder.h"
#include "tests/dictionary/support/Loading.h"

using hollin::Dictionary;

namespace
{
const std::vector<TestEntry> kEntries = {
    {"/app/title", u"Titel", u"menu bar"},
    {"", u"", u""}, // removed
    {"/app/empty", u"", u""},
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
    ASSERT_EQ(BuildFlat({{"/a", u"b", u""}}).Image(), image);

    Dictionary dictionary;
    Load(dictionary, image);
    EXPECT_TRUE(dictionary.IsGood());
    EXPECT_EQ(TextOf(dictionary, "/a=default"), u"b");
    EXPECT_EQ(LocaleOf(dictionary), "en_US");
    EXPECT_EQ(Saved(dictionary), image);
}

TEST(FlatImage, EveryMinorVersionAndByteOrderGivesTheSameTexts)
{
    for (const int minor : {0, 1, 5, 7, 127})
    {
        for (const bool bigEndian : {false, true})
        {
            if (minor == 0 && bigEndian)
                continue; // nothing tells of the order
            for (const Way way : kWays)
            {
                SCOPED_TRACE(testing::Message() << "2." << minor << " big-endian " << bigEndian
                                                << " way " << int(way));
                FlatOptions options;
                options.minor = static_cast<std::uint8_t>(minor);
                options.bigEndian = bigEndian;
                options.locale = "el_GR";
                Dictionary dictionary;
                Load(dictionary, BuildFlat(kEntries, options).Image(), way);
                EXPECT_TRUE(dictionary.IsGood());
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
}

TEST(FlatImage, WithoutKeysIsReadByIdentifier)
{
    FlatOptions options;
    options.marker = 'N';
    Dictionary dictionary;
    LoadEntries(dictionary, kEntries, options);
    EXPECT_TRUE(dictionary.IsGood());
    EXPECT_EQ(TextById(dictionary, 0), u"Titel");
    EXPECT_EQ(TextById(dictionary, 1), u""); // nothing marks it as removed
    EXPECT_EQ(TextById(dictionary, 4), u"(none)");
    EXPECT_FALSE(dictionary.HasString("/app/title"));
}

TEST(FlatImage, AnyOtherMarkerCountsAsKeyed)
{
    FlatOptions options;
    options.marker = 'n';
    Dictionary dictionary;
    LoadEntries(dictionary, kEntries, options);
    EXPECT_EQ(TextOf(dictionary, "/app/title"), u"Titel");
}

TEST(FlatImage, LocaleIsReplacedAndMayBeEmpty)
{
    Dictionary dictionary;
    FlatOptions options;
    LoadEntries(dictionary, {{"/a", u"1", u""}}, options);
    options.locale = "";
    LoadEntries(dictionary, {{"/b", u"2", u""}}, options);
    EXPECT_TRUE(dictionary.IsGood());
    EXPECT_EQ(LocaleOf(dictionary), "");
}

TEST(FlatImage, WithoutEntriesAddsNothing)
{
    Dictionary dictionary;
    LoadEntries(dictionary, {});
    EXPECT_TRUE(dictionary.IsGood());
    LoadEntries(dictionary, {{"", u"", u""}}); // removed ones alone
    LoadEntries(dictionary, {{"/a", u"1", u""}});
    EXPECT_EQ(TextById(dictionary, 0), u"1");
}

TEST(FlatLayers, SecondImageReplacesSharedTextsAndAddsTheRest)
{
    Dictionary dictionary;
    LoadEntries(dictionary, {{"/shared", u"old", u"kept"}, {"/first", u"1", u""}});
    LoadEntries(dictionary, {{"/shared", u"a longer text", u""}, {"/second", u"2", u""}});
    EXPECT_TRUE(dictionary.IsGood());
    EXPECT_EQ(TextOf(dictionary, "/shared"), u"a longer text");
    EXPECT_EQ(TextOf(dictionary, "/first"), u"1");
    EXPECT_EQ(TextOf(dictionary, "/second"), u"2");
    EXPECT_EQ(TextById(dictionary, 0), u"a longer text"); // in its old place
    EXPECT_EQ(TextById(dictionary, 2), u"(none)");        // the slot it came in
    EXPECT_EQ(TextById(dictionary, 3), u"2");
    EXPECT_EQ(CommentOf(dictionary, "/shared"), u"kept");

    // The identifiers grew by the whole second image.
    LoadEntries(dictionary, {{"/third", u"3", u""}});
    EXPECT_EQ(TextById(dictionary, 4), u"3");
}

TEST(FlatLayers, SameImageTwiceKeepsOneBlock)
{
    Dictionary dictionary;
    LoadEntries(dictionary, kEntries);
    LoadEntries(dictionary, kEntries);
    EXPECT_TRUE(dictionary.IsGood());
    EXPECT_EQ(TextOf(dictionary, "/app/title"), u"Titel");
    LoadEntries(dictionary, {{"/new", u"n", u""}});
    EXPECT_EQ(TextById(dictionary, 4), u"n"); // directly behind the first block
}

TEST(FlatLayers, KeysOfOneBucketAreToldApart)
{
    const std::string one = "a0bbbbbbbb"; // only every second byte is hashed
    const std::string two = "a1bbbbbbbb";
    ASSERT_EQ(BucketOf(one), BucketOf(two));
    Dictionary dictionary;
    LoadEntries(dictionary, {{one, u"1", u""}});
    LoadEntries(dictionary, {{two, u"2", u""}, {one, u"1 again", u""}});
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
        Dictionary dictionary;
        Load(dictionary, image);
        Load(dictionary, BuildFlat({{"/a", text, u""}}).Image());
        const std::u16string comment = u"memo";
        const auto* units = reinterpret_cast<const std::uint16_t*>(comment.data());
        const std::uint16_t kX = 'x';
        EXPECT_EQ(TextOf(dictionary, "/a"), text);
        EXPECT_EQ(TextOf(dictionary, "/b"), u"text");
        dictionary.SetString("/a", &kX, 2, units, 8);
        EXPECT_EQ(TextOf(dictionary, "/a") + TextOf(dictionary, "/b"), u"xtext");
        EXPECT_EQ(CommentOf(dictionary, "/a") + CommentOf(dictionary, "/b"), u"memonote");
    }
}

TEST(FlatLayers, LongKeysAreNotMerged)
{
    const std::string merged(1023, 'k');
    const std::string apart(1024, 'k');
    const std::vector<TestEntry> first = {{merged, u"old", u""}, {apart, u"old", u""}};
    const std::vector<TestEntry> second = {{merged, u"new", u""}, {apart, u"new", u""}};
    Dictionary dictionary;
    LoadEntries(dictionary, first);
    LoadEntries(dictionary, second);
    EXPECT_EQ(TextOf(dictionary, merged), u"new");
    EXPECT_EQ(TextOf(dictionary, apart), u"old"); // found first
    EXPECT_EQ(TextById(dictionary, 3), u"new");
}

TEST(FlatLayers, ContinuationFollowsWithoutMerging)
{
    FlatOptions continued;
    continued.base = 2;
    Dictionary dictionary;
    LoadEntries(dictionary, {{"/a", u"1", u""}, {"/b", u"2", u""}});
    LoadEntries(dictionary, {{"/c", u"3", u"third"}, {"/a", u"4", u""}}, continued);
    EXPECT_TRUE(dictionary.IsGood());
    EXPECT_EQ(TextById(dictionary, 2), u"3");
    EXPECT_EQ(TextOf(dictionary, "/c"), u"3");
    EXPECT_EQ(TextOf(dictionary, "/a"), u"1"); // the earlier identifier is found first
    EXPECT_EQ(TextById(dictionary, 3), u"4");
    EXPECT_EQ(CommentOf(dictionary, "/c"), u"third");
}

TEST(FlatLayers, ContinuationOfAnotherDictionaryIsRefused)
{
    FlatOptions continued;
    continued.base = 3;
    continued.locale = "de_DE";
    Dictionary dictionary;
    LoadEntries(dictionary, {{"/a", u"1", u""}, {"/b", u"2", u""}});
    LoadEntries(dictionary, {{"/c", u"3", u""}}, continued);
    EXPECT_FALSE(dictionary.IsGood());
    EXPECT_FALSE(dictionary.HasString("/c"));
    EXPECT_EQ(LocaleOf(dictionary), "en_US");

    Dictionary empty; // which any file may start
    LoadEntries(empty, {{"/c", u"3", u""}}, continued);
    EXPECT_TRUE(empty.IsGood());
    EXPECT_EQ(TextById(empty, 0), u"3");
}

TEST(UnknownVersion, ChangesNothingButTheFlag)
{
    const ImageBuilder known = BuildFlat({{"/a", u"new", u""}});
    for (const unsigned version : {0x0280u, 0x0300u, 0x0101u, 0x0000u})
    {
        SCOPED_TRACE(version);
        std::string image = known.Image();
        image[21] = static_cast<char>(version >> 8);
        image[22] = static_cast<char>(version);
        for (const Way way : kWays)
        {
            Dictionary dictionary;
            LoadEntries(dictionary, {{"/a", u"old", u""}});
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
        std::map<std::string, std::u16string> texts;
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

        FlatOptions options;
        options.minor = static_cast<std::uint8_t>(1 + below(127));
        options.bigEndian = below(2);
        const ImageBuilder images[] = {BuildFlat(entries, options), BuildLengthTable(entries),
                                       BuildEntries(entries)};
        for (const ImageBuilder& image : images)
        {
            SCOPED_TRACE(&image - images);
            Dictionary dictionary;
            Load(dictionary, image.Image(), kWays[below(2)]);
            EXPECT_TRUE(dictionary.IsGood());
            EXPECT_EQ(TextsOf(dictionary), texts);
            const hollin::ImageReport report = Check(image.Image());
            EXPECT_FALSE(report.mDamaged) << report.mSentence;
            EXPECT_EQ(report.mLive, texts.size());
            EXPECT_EQ(report.mAstray, 0u);

            Dictionary again; // through our own writer
            Load(again, Saved(dictionary, Dictionary::kBinary, below(2)));
            EXPECT_TRUE(again.IsGood());
            EXPECT_EQ(TextsOf(again), texts);
        }
    }
}
