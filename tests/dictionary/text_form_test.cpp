// The text form: lines, their notations and encodings.

#include <tuple>

#include <gtest/gtest.h>

#include <platform/control.h>

#include "tests/dictionary/Loading.h"
#include "tests/support/DictionaryImage.h"

using hollin::Dictionary;

namespace
{
KeyedTexts LoadedTexts(const std::string& image, Way way = Way::kMemory)
{
    Loaded dictionary(image, way);
    return TextsOf(dictionary);
}

class TextForm : public testing::Test
{
protected:
    void TearDown() override { platform::ResetAll(); }
};
} // namespace

TEST_F(TextForm, LineHoldsAKeyAndAValue)
{
    const std::tuple<std::u16string, std::string, std::u16string> rows[] = {
        {uR"(key=value)", "key", u"value"},
        {uR"($$$/a/b=value)", "/a/b", u"value"},
        {uR"("$$$/U/Demo=first\nsecond ^1 #{mdash}")", "/U/Demo", u"first\nsecond ^1 \x2014"},
        {uR"(key)", "key", u""},
        {uR"(=value)", "", u"value"},
        {uR"( key = value )", " key ", u" value "},
        {uR"("key=value" trailing words)", "key", u"value"},
        {uR"(words in front "key=value")", "key", u"value"},
        {uR"("key=value)", "key", u"value"},
        {uR"(key="value)", "value", u""}, // the text before the quote is ignored
        {uR"("key=a \"quoted\" word" end)", "key", u"a \"quoted\" word"},
        {uR"(key=say \"so\")", "key", u"say \"so\""},
        {uR"("")", "", u""},
        {uR"(\"key=value)", "\\\"key", u"value"},
        {uR"(key=100^ ^^1 ^C)", "key", u"100^ ^1 \xA9"},
        {uR"($$$$=x)", "$", u"x"},
        {uR"(" $$=x")", " $$", u"x"}, // only a first dollar sign makes a prefix
        {u"k\x141y=v", "kAy", u"v"},  // the low bytes
    };
    for (const auto& [line, key, value] : rows)
    {
        for (const Way way : kWays)
            EXPECT_EQ(LoadedTexts(TextBytes(line), way), (KeyedTexts{{key, value}})) << key;
    }
}

TEST_F(TextForm, EveryLineEndEndsALine)
{
    using namespace std::string_literals;
    const KeyedTexts both = {{"a", u"1"}, {"b", u"2"}};
    for (const std::u16string& end :
         {u"\n"s, u"\r"s, u"\r\n"s, u"\n\n\r\r"s, u"\x2028"s, u"\x2029"s, u"\0"s})
    {
        const std::u16string text =
            u"a=1" + end + u"b=2\n\0c=3"s; // a NUL at the start of a line ends the text
        for (const bool bigEndian : {false, true})
            EXPECT_EQ(LoadedTexts(TextBytes(text, bigEndian)), both);
        if (end < u"\x2028")
        {
            EXPECT_EQ(LoadedTexts(std::string(text.begin(), text.end())), both);
        }
    }
}

TEST_F(TextForm, EncodingsGiveTheSameTexts)
{
    for (const Way way : kWays)
        EXPECT_EQ(LoadedTexts("\"/e=\xE9t\xE9\"\r\n", way), (KeyedTexts{{"/e", u"\xE9t\xE9"}}));
    platform::SetActiveCodePage(932);
    EXPECT_EQ(LoadedTexts("/j=\x83\x5C\x8E\x9F"), (KeyedTexts{{"/j", u"\x30BD\x6B21"}}));
    platform::SetActiveCodePage(65001);
    EXPECT_EQ(LoadedTexts("/u=\xE2\x80\xA8."), (KeyedTexts{{"/u", u"\x2028."}})); // no line end
}

TEST_F(TextForm, LineOfOnlyAMarkIsSkippedInAStream)
{
    const std::string image = TextBytes(u"\xFEFF\r\na=1\n\xFEFF\n");
    EXPECT_EQ(LoadedTexts(image, Way::kStream), (KeyedTexts{{"a", u"1"}}));
    EXPECT_EQ(LoadedTexts(image, Way::kMemory), (KeyedTexts{{"a", u"1"}, {"\xFF", u""}}));
}

TEST_F(TextForm, LineWithADamagedPrefixIsSkipped)
{
    for (const char* line : {"$", "$$", "$/a=x", "$$/a=x", "\"$$/a=x\""})
    {
        SCOPED_TRACE(line);
        const std::string image = "a=1\r\n" + std::string(line) + "\r\nb=2\n";
        for (const Way way : kWays)
        {
            Dictionary dictionary;
            Load(dictionary, image, way);
            EXPECT_FALSE(dictionary.IsGood());
            EXPECT_EQ(TextsOf(dictionary), (KeyedTexts{{"a", u"1"}, {"b", u"2"}}));
        }
        const hollin::ImageReport report = Check(image);
        EXPECT_EQ(report.mLine, 2u);
        EXPECT_EQ(report.mSentence, "Line 2, prefix: it isn't \"$$$\".");
    }
}

TEST_F(TextForm, LaterLineReplacesAnEarlierOne)
{
    Dictionary flat(true);
    Load(flat, "=1\na=1\nb=2\na=three\n=3");
    EXPECT_EQ(KeysOf(flat), (std::vector<std::string>{"", "a", "b"}));
    EXPECT_EQ(TextOf(flat, "a"), u"three");

    // The chain has both entries of the old image. Each line replaces the first of them.
    Dictionary hash;
    Load(hash, BuildEntries({{"a", u"1"}, {"b", u"2"}, {"a", u"3"}}).Image());
    Load(hash, "a=4\na=5\nc=6\nb=7\na=8\n");
    EXPECT_EQ(KeysOf(hash), (std::vector<std::string>{"a", "a", "b", "c"}));
    EXPECT_EQ(TextsOf(hash), (KeyedTexts{{"a", u"8"}, {"b", u"7"}, {"c", u"6"}}));
}

TEST_F(TextForm, WalkEndsThoughTextsAreLoaded)
{
    for (const bool flat : {false, true})
    {
        Dictionary dictionary(flat);
        Load(dictionary, "a=1\nb=2\nc=3\n");
        std::uint32_t id = 0;
        int steps = 0;
        while (dictionary.NextId(&id) && ++steps < 10)
            Load(dictionary, "a=4\nb=5\nc=6\n");
        EXPECT_LE(steps, 3);
        EXPECT_EQ(TextsOf(dictionary), (KeyedTexts{{"a", u"4"}, {"b", u"5"}, {"c", u"6"}}));
    }
}

// All keys are in one bucket.
TEST_F(TextForm, CollidingKeysTakeLinearTime)
{
    const int keys = 60000;
    std::string text;
    for (int i = 0; i < keys; ++i)
    {
        std::string key = "................................";
        for (int bit = 0; bit < 16; ++bit)
            key[static_cast<std::size_t>(bit + bit / 5 + 1)] = i >> bit & 1 ? '1' : '0';
        text += key + "=x\n";
    }
    for (const bool flat : {false, true})
    {
        Dictionary dictionary(flat);
        for (int load = 0; load < 3; ++load)
            Load(dictionary, text + text);
        std::uint32_t id = 0;
        int walked = 0;
        while (dictionary.NextId(&id))
            ++walked;
        EXPECT_EQ(walked, keys);
    }
}

TEST_F(TextForm, FlatStoreSkipsRunsAboveTheLimit)
{
    const std::string longKey(hollin::kLongestRun + 1, 'k');
    const std::string text = "a=1\n" + longKey + "=1\nc=" + std::string(32768, 'v') + "\nb=2";
    Dictionary flat(true);
    Load(flat, text);
    EXPECT_FALSE(flat.IsGood());
    EXPECT_EQ(TextsOf(flat), (KeyedTexts{{"a", u"1"}, {"b", u"2"}}));
    EXPECT_EQ(LoadedTexts(text).size(), 4u);
}

TEST_F(TextForm, LongLinesTakeLinearTime)
{
    const std::size_t units = 1000000;
    for (const std::u16string piece : {u"x", u"^", u"#{", u"#{alpha", u"#{lt}", u"\"", u"\n"})
    {
        std::u16string text = u"a=";
        while (text.size() < units)
            text += piece;
        EXPECT_TRUE(Loaded(TextBytes(text + u"\nb=1")).HasString("b"));
        EXPECT_TRUE(Loaded(std::string(text.begin(), text.end()) + "\nb=1").HasString("b"));
    }
}

TEST_F(TextForm, UnconvertibleLineEndsTheLoad)
{
    const ScRefusedConversion refused;
    const std::string image = "a=1\nb=z\nc=3\n";
    Dictionary dictionary;
    EXPECT_EQ(CodeThrownBy([&] { Load(dictionary, image); }), ScRefusedConversion::kCode);
    EXPECT_EQ(TextsOf(dictionary), (KeyedTexts{{"a", u"1"}}));
    const hollin::ImageReport report = Check(image);
    EXPECT_EQ(report.mLine, 2u);
    EXPECT_EQ(report.mSlots, 3u);
    EXPECT_EQ(report.mLive, 2u);
}
