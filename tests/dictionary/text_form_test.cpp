// The text form: lines, encodings, and notations: escapes, and named and numbered characters.

#include <sstream>
#include <tuple>

#include <hollin/TextFormReader.h>
#include <hollin_private/Expansion.h>
#include <platform/control.h>

#include "tests/dictionary/Loading.h"

using hollin::Dictionary;

namespace
{
KeyedTexts LoadedTexts(const std::string& image, Way way = Way::kMemory)
{
    Loaded dictionary(image, way);
    return TextsOf(dictionary);
}

std::u16string Expand(std::u16string text)
{
    text.resize(
        hollin_private::ExpandText(reinterpret_cast<std::uint16_t*>(&text[0]), text.size()));
    return text;
}

// Expands each text alone and inside another text.
void ExpectExpanded(const std::vector<std::pair<std::u16string, std::u16string>>& rows)
{
    for (const auto& [written, expanded] : rows)
    {
        EXPECT_EQ(Expand(written), expanded);
        EXPECT_EQ(Expand(u"<" + written + u"> "), u"<" + expanded + u"> ");
    }
}

void ExpectKept(const std::vector<std::u16string>& texts)
{
    for (const std::u16string& text : texts)
        ExpectExpanded({{text, text}});
}
} // namespace

TEST(TextForm, LineHoldsAKeyAndAValue)
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
        const std::string bytes = TextBytes(line);
        hollin::TextFormReader reader(reinterpret_cast<const unsigned char*>(bytes.data()),
                                      bytes.size());
        hollin::TextLine read;
        ASSERT_TRUE(reader.Next(&read));
        EXPECT_EQ(read.mHasEquals, !value.empty()) << key;
    }
}

TEST(TextForm, EncodingsGiveTheSameTexts)
{
    for (const Way way : kWays)
        EXPECT_EQ(LoadedTexts("\"/e=\xE9t\xE9\"\r\n", way), (KeyedTexts{{"/e", u"\xE9t\xE9"}}));
    platform::SetActiveCodePage(932);
    EXPECT_EQ(LoadedTexts("/j=\x83\x5C\x8E\x9F"), (KeyedTexts{{"/j", u"\x30BD\x6B21"}}));
    platform::SetActiveCodePage(65001);
    EXPECT_EQ(LoadedTexts("/u=\xE2\x80\xA8."), (KeyedTexts{{"/u", u"\x2028."}})); // no line end
    platform::ResetAll();
}

TEST(TextForm, LineOfOnlyAMarkIsSkippedInAStream)
{
    const std::string image = TextBytes(u"\xFEFF\r\na=1\n\xFEFF\n");
    EXPECT_EQ(LoadedTexts(image, Way::kStream), (KeyedTexts{{"a", u"1"}}));
    EXPECT_EQ(LoadedTexts(image, Way::kMemory), (KeyedTexts{{"a", u"1"}, {"\xFF", u""}}));
}

TEST(TextForm, LineWithADamagedPrefixIsSkipped)
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

TEST(TextForm, LaterLineReplacesAnEarlierOne)
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

TEST(TextForm, WalkEndsThoughTextsAreLoaded)
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
TEST(TextForm, CollidingKeysTakeLinearTime)
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

TEST(TextForm, FlatStoreSkipsRunsAboveTheLimit)
{
    const std::string longKey(hollin::kLongestRun + 1, 'k');
    const std::string text = "a=1\n" + longKey + "=1\nc=" + std::string(32768, 'v') + "\nb=2";
    Dictionary flat(true);
    Load(flat, text);
    EXPECT_FALSE(flat.IsGood());
    EXPECT_EQ(TextsOf(flat), (KeyedTexts{{"a", u"1"}, {"b", u"2"}}));
    EXPECT_EQ(LoadedTexts(text).size(), 4u);
}

TEST(TextForm, LongLinesTakeLinearTime)
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

TEST(TextForm, UnconvertibleLineEndsTheLoad)
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

TEST(Expansion, EscapesStandForCharacters)
{
    ExpectExpanded({{u"\\\"\\n\\r\\t\\b\\\\", u"\"\n\r\t\b\\"},
                    {u"^Q^[^]^{^}", u"\"\u201C\u201D\u2018\u2019"},
                    {u"^C^R^T^D^B", u"\u00A9\u00AE\u2122\u00B0\u2022"},
                    {u"^#^!^I^S^n^r^^", u"\u2318\u00AC\u2206\u2211\n\r^"},
                    {u"^^1 and ^1", u"^1 and ^1"},
                    {u"^^^C", u"^\u00A9"},
                    {u"\\\\n", u"\\n"},
                    {u"^^^^1", u"^^1"}});
    // Characters that are not in the introducer's table are kept.
    ExpectKept({u"^1", u"\\1", u"^t", u"^b", u"\\C", u"^\"", u"^c", u"\\#", u"^\\n", u"\\^C"});
    EXPECT_EQ(Expand(u""), u"");
    EXPECT_EQ(Expand(u"100^"), u"100^");
    EXPECT_EQ(Expand(u"100\\"), u"100\\");
    EXPECT_EQ(Expand(u"^^^"), u"^^");
}

TEST(Expansion, NamesStandForCharacters)
{
    ExpectExpanded({{u"#{endl}#{tab}#{cr}#{lf}", u"\r\n\t\r\n"},
                    {u"#{endl}}", u"\r\n}"},
                    {u"##{lt}", u"#<"},
                    {u"#{#{lt}", u"#{<"},
                    // The escapes come first.
                    {u"#{^}", u"#{\u2019"},
                    {u"^#{lt}", u"\u2318{lt}"},
                    {u"^^#{lt}", u"^<"}});
    ExpectKept({u"#{hellip}", u"#{alpha}", u"#{bogus}", u"#{LT}", u"#{Nbsp}", u"#{sup}",
                u"#{sup22}", u"#{nbs}", u"#{lt }", u"#{ lt}", u"# {lt}", u"#lt}", u"#\\{lt}",
                u"#{}", std::u16string(u"#{lt\0}", 6)});
    for (const std::u16string end : {u"#{lt", u"#", u"#{", u"#{41"})
        EXPECT_EQ(Expand(end), end);
}

// All names in the order of their code points.
TEST(Expansion, Latin1SetIsComplete)
{
    std::istringstream names(
        "nbsp iexcl cent pound curren yen brvbar sect uml copy ordf laquo not shy reg macr deg "
        "plusmn sup2 sup3 acute micro para middot cedil sup1 ordm raquo frac14 frac12 frac34 "
        "iquest Agrave Aacute Acirc Atilde Auml Aring AElig Ccedil Egrave Eacute Ecirc Euml "
        "Igrave Iacute Icirc Iuml ETH Ntilde Ograve Oacute Ocirc Otilde Ouml times Oslash Ugrave "
        "Uacute Ucirc Uuml Yacute THORN szlig agrave aacute acirc atilde auml aring aelig ccedil "
        "egrave eacute ecirc euml igrave iacute icirc iuml eth ntilde ograve oacute ocirc otilde "
        "ouml divide oslash ugrave uacute ucirc uuml yacute thorn yuml");
    char16_t expected = 0x00A0;
    for (std::string name; names >> name; ++expected)
    {
        const std::u16string written(name.begin(), name.end());
        EXPECT_EQ(Expand(u"#{" + written + u"}"), std::u16string(1, expected)) << name;
    }
    EXPECT_EQ(expected, 0x0100);
}

TEST(Expansion, SpecialSetIsComplete)
{
    ExpectExpanded(
        {{u"#{quot}#{amp}#{lt}#{gt}", u"\"&<>"},
         {u"#{OElig}#{oelig}#{Scaron}#{scaron}#{Yuml}", u"\u0152\u0153\u0160\u0161\u0178"},
         {u"#{circ}#{tilde}", u"\u02C6\u02DC"},
         {u"#{ensp}#{emsp}#{thinsp}", u"\u2002\u2003\u2009"},
         {u"#{zwnj}#{zwj}#{lrm}#{rlm}", u"\u200C\u200D\u200E\u200F"},
         {u"#{ndash}#{mdash}", u"\u2013\u2014"},
         {u"#{lsquo}#{rsquo}#{sbquo}", u"\u2018\u2019\u201A"},
         {u"#{ldquo}#{rdquo}#{bdquo}", u"\u201C\u201D\u201E"},
         {u"#{dagger}#{Dagger}#{permil}", u"\u2020\u2021\u2030"},
         {u"#{lsaquo}#{rsaquo}#{euro}", u"\u2039\u203A\u20AC"}});
}

TEST(Expansion, NumbersStandForCharacters)
{
    ExpectExpanded({{u"#{e9}#{E9}#{U+E9}#{uE9}", u"\u00E9\u00E9\u00E9\u00E9"},
                    {u"#{u00A8}#{U+20ac}#{9}#{FFFF}", u"\u00A8\u20AC\t\uFFFF"},
                    {u"#{0}", std::u16string(1, 0)}});
    ExpectKept({u"#{U+12345}", u"#{00041}", u"#{U+}", u"#{u}", u"#{U41}", u"#{u+41}", u"#{g}",
                u"#{4g}", u"#{@}", u"#{`}", u"#{uU+41}", u"#{U+u41}", u"#{+41}", u"#{-1}",
                u"#{\u0661}", u"#{}1"});
}
