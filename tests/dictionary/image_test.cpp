// Images of version 2, images of all forms with the same entries, and the check of undamaged
// images.

#include <algorithm>
#include <cstdlib>
#include <random>

#include <gtest/gtest.h>

#include "tests/dictionary/Loading.h"
#include "tests/support/DictionaryImage.h"

using hollin::Dictionary;

namespace
{
const std::vector<ImageEntry> kEntries = {
    {"/app/title", u"Titel", u"menu bar"},
    {"", u""}, // removed
    {"/app/empty", u""},
    {"/app/greek", u"\x394\xD83D\xDE00", u"a letter"},
};
const std::vector<ImageEntry> kChecked = {
    {"/a", u"eins", u"note"}, {"", u""}, {"/bc", u"zwei", u"more"}};
} // namespace

TEST(FlatImage, EveryMinorVersionAndByteOrderHasTheSameTexts)
{
    for (const int version : {0, 1, 5, 7, 127, -1, -7, -127}) // the latter big-endian
    {
        for (const char marker : {'Y', 'n'}) // anything but 'N' counts as keyed
        {
            SCOPED_TRACE(testing::Message() << "2." << version << " " << marker);
            const auto minor = static_cast<std::uint8_t>(std::abs(version));
            const FlatOptions options = {minor, version < 0, "el_GR", 0, marker};
            Loaded dictionary(BuildFlat(kEntries, options).Image());
            EXPECT_EQ(LocaleOf(dictionary), "el_GR");
            EXPECT_EQ(TextsOf(dictionary), (KeyedTexts{{"/app/title", u"Titel"},
                                                       {"/app/empty", u""},
                                                       {"/app/greek", u"\x394\xD83D\xDE00"}}));
            EXPECT_EQ(TextById(dictionary, 1), u"(none)");
            EXPECT_EQ(TextById(dictionary, 3), u"\x394\xD83D\xDE00");
            EXPECT_EQ(CommentOf(dictionary, "/app/greek"), u"a letter");
            EXPECT_EQ(CommentOf(dictionary, "/app/empty"), u"");
            LoadFlat(dictionary, {}, {7, false, "", 0, 'Y'});
            EXPECT_EQ(LocaleOf(dictionary), "");
        }
    }
}

TEST(UnknownVersion, ChangesNothingButTheFlag)
{
    for (const unsigned int version : {0x0280u, 0x0300u, 0x0101u, 0x0000u})
    {
        SCOPED_TRACE(version);
        std::string image = BuildFlat({{"/a", u"new"}}).Image();
        image[21] = static_cast<char>(version >> 8);
        image[22] = static_cast<char>(version);
        Loaded dictionary(BuildFlat({{"/a", u"old"}}).Image());
        Load(dictionary, image);
        EXPECT_FALSE(dictionary.IsGood());
        EXPECT_EQ(TextOf(dictionary, "/a"), u"old");
        EXPECT_EQ(Check(image).mField, "version");
    }
}

TEST(AnyImage, HasTheEntriesItWasMadeFrom)
{
    std::mt19937 random(20240601);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    for (int round = 0; round < 60; ++round)
    {
        SCOPED_TRACE(round);
        KeyedTexts texts;
        for (std::size_t i = round ? below(300) : 5000; i > 0; --i)
        {
            std::string key(1 + below(40), '\0');
            std::generate(key.begin(), key.end(), [&] { return char('>' + below(194)); });
            std::u16string text(below(30), u'\0');
            std::generate(text.begin(), text.end(), [&] { return char16_t(0xA0 + below(0x1F00)); });
            texts[key] = text;
        }
        std::vector<ImageEntry> entries;
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
            EXPECT_EQ(report.mUnreachable, 0u);

            Loaded text(Saved(dictionary, Dictionary::kText), kWays[below(2)]);
            EXPECT_EQ(TextsOf(text), texts);
        }
    }
}

TEST(ImageCheck, CountsLiveEntries)
{
    const ImageBuilder keyed = BuildFlat(kChecked);
    const ImageBuilder keyless = BuildFlat(kChecked, kKeyless);
    for (const std::uint32_t stored : {0u, 1u, 2u, 3u, 4u, 0xFFFFFFFFu})
    {
        SCOPED_TRACE(stored);
        const std::string images[] = {keyed.With(keyed.Offset("live"), stored, 4),
                                      keyless.With(keyless.Offset("live"), stored, 4)};
        for (const std::string& image : images)
            EXPECT_FALSE(Check(image).mDamaged) << Check(image).mSentence;
        EXPECT_EQ(Check(images[0]).mLive, 2u);
        EXPECT_EQ(TextOf(Loaded(images[0]), "/bc"), u"zwei");
        EXPECT_EQ(Check(images[1]).mLive, std::min(stored, 3u)); // the only source of the count
        EXPECT_EQ(TextById(Loaded(images[1]), 2), stored ? u"zwei" : u"(none)");
    }
    // The writer counts an entry with an empty key. In the file it is a removed slot.
    hollin::Dictionary flat(true);
    Load(flat, "=1\na=2\n");
    for (const std::string& image : {Saved(Loaded("=1\na=2\n")), Saved(flat)})
    {
        const hollin::ImageReport report = Check(image);
        EXPECT_FALSE(report.mDamaged) << report.mSentence;
        EXPECT_EQ(report.mLive, 1u);
        EXPECT_EQ(image[43], 2); // the count in the file
    }
}

TEST(ImageCheck, CountsLinesAsEditorsDo)
{
    const std::pair<std::u16string, std::uint64_t> rows[] = {
        {u"$=x", 1},         {u"a=1\n$=x", 2},    {u"a=1\r\n\r\nb=2\r\n$=x\r\n", 4},
        {u"\n\n\r\r$=x", 5}, {u"\r\n\n\r$=x", 4},
    };
    for (const auto& [text, line] : rows)
    {
        const hollin::ImageReport reports[] = {Check(std::string(text.begin(), text.end())),
                                               Check(TextBytes(text)),
                                               Check(TextBytes(text, true))};
        EXPECT_EQ(reports[0].mCoding, hollin::ImageReport::kActiveCodePage);
        EXPECT_NE(reports[1].mCoding, reports[2].mCoding);
        for (const hollin::ImageReport& report : reports)
        {
            EXPECT_EQ(report.mForm, hollin::ImageReport::kText);
            EXPECT_EQ(report.mField, "prefix");
            EXPECT_EQ(report.mLine, line);
        }
    }
    EXPECT_EQ(Check(TextBytes(u"a=1\x2028\x2029$=x")).mLine, 3u);
    EXPECT_FALSE(Check("a=1\nb=2\n").mDamaged);
    EXPECT_EQ(Check("a=1\n\nb=2\n").mLive, 2u);
}
