// Escapes, and named and numbered characters.

#include <chrono>
#include <string>

#include <gtest/gtest.h>

#include <hollin_private/Expansion.h>

namespace
{
struct Row
{
    std::u16string written;
    std::u16string expanded;
};

std::u16string Expand(std::u16string text)
{
    text.resize(
        hollin_private::ExpandText(reinterpret_cast<std::uint16_t*>(&text[0]), text.size()));
    return text;
}

void Check(const Row& row)
{
    EXPECT_EQ(Expand(row.written), row.expanded);
    EXPECT_EQ(Expand(u"<" + row.written + u"> "), u"<" + row.expanded + u"> ");
}
} // namespace

TEST(Expansion, EscapesStandForCharacters)
{
    const Row rows[] = {
        {u"\\\"", u"\""},
        {u"\\n", u"\n"},
        {u"\\r", u"\r"},
        {u"\\t", u"\t"},
        {u"\\b", u"\b"},
        {u"\\\\", u"\\"},
        {u"^Q", u"\""},
        {u"^[", u"\u201C"},
        {u"^]", u"\u201D"},
        {u"^{", u"\u2018"},
        {u"^}", u"\u2019"},
        {u"^C", u"\u00A9"},
        {u"^R", u"\u00AE"},
        {u"^T", u"\u2122"},
        {u"^D", u"\u00B0"},
        {u"^B", u"\u2022"},
        {u"^#", u"\u2318"},
        {u"^!", u"\u00AC"},
        {u"^I", u"\u2206"},
        {u"^S", u"\u2211"},
        {u"^n", u"\n"},
        {u"^r", u"\r"},
        {u"^^", u"^"},
        // Not in the introducer's table: both stay.
        {u"^1", u"^1"},
        {u"\\1", u"\\1"},
        {u"^t", u"^t"},
        {u"^b", u"^b"},
        {u"\\C", u"\\C"},
        {u"^\"", u"^\""},
        {u"^c", u"^c"},
        {u"\\#", u"\\#"},
        // The character behind an introducer is none itself.
        {u"^\\n", u"^\\n"},
        {u"\\^C", u"\\^C"},
        {u"^^1 and ^1", u"^1 and ^1"},
        {u"^^^C", u"^\u00A9"},
        {u"\\\\n", u"\\n"},
        {u"^^^^1", u"^^1"},
    };
    for (const Row& row : rows)
        Check(row);
    EXPECT_EQ(Expand(u""), u"");
    EXPECT_EQ(Expand(u"100^"), u"100^");
    EXPECT_EQ(Expand(u"100\\"), u"100\\");
    EXPECT_EQ(Expand(u"^^^"), u"^^");
}

TEST(Expansion, NamesStandForCharacters)
{
    const Row rows[] = {
        {u"#{endl}", u"\r\n"},
        {u"#{tab}", u"\t"},
        {u"#{cr}", u"\r"},
        {u"#{lf}", u"\n"},
        {u"#{nbsp}", u"\u00A0"},
        {u"#{yuml}", u"\u00FF"},
        {u"#{AElig}", u"\u00C6"},
        {u"#{aelig}", u"\u00E6"},
        {u"#{ETH}", u"\u00D0"},
        {u"#{eth}", u"\u00F0"},
        {u"#{sup2}", u"\u00B2"},
        {u"#{frac34}", u"\u00BE"},
        {u"#{uml}", u"\u00A8"},
        {u"#{quot}", u"\""},
        {u"#{lt}", u"<"},
        {u"#{Yuml}", u"\u0178"},
        {u"#{zwnj}", u"\u200C"},
        {u"#{dagger}", u"\u2020"},
        {u"#{Dagger}", u"\u2021"},
        {u"#{thinsp}", u"\u2009"},
        {u"#{euro}", u"\u20AC"},
        {u"#{circ}", u"\u02C6"},
        {u"#{mdash}", u"\u2014"},
        {u"#{lt}#{gt}", u"<>"},
        {u"#{endl}}", u"\r\n}"},
        {u"##{lt}", u"#<"},
        {u"#{#{lt}", u"#{<"},
        {u"#{hellip}", u"#{hellip}"},
        {u"#{alpha}", u"#{alpha}"},
        {u"#{bogus}", u"#{bogus}"},
        {u"#{LT}", u"#{LT}"},
        {u"#{Nbsp}", u"#{Nbsp}"},
        {u"#{sup}", u"#{sup}"},
        {u"#{sup22}", u"#{sup22}"},
        {u"#{nbs}", u"#{nbs}"},
        {u"#{lt }", u"#{lt }"},
        {u"#{ lt}", u"#{ lt}"},
        {u"# {lt}", u"# {lt}"},
        {u"#lt}", u"#lt}"},
        // The escapes come first.
        {u"#{^}", u"#{\u2019"},
        {u"^#{lt}", u"\u2318{lt}"},
        {u"^^#{lt}", u"^<"},
        {u"#\\{lt}", u"#\\{lt}"},
    };
    for (const Row& row : rows)
        Check(row);
    EXPECT_EQ(Expand(u"#{lt"), u"#{lt");
    EXPECT_EQ(Expand(u"#"), u"#");
    EXPECT_EQ(Expand(u"#{"), u"#{");
    EXPECT_EQ(Expand(u"#{}"), u"#{}");
    EXPECT_EQ(Expand(std::u16string(u"#{lt\0}", 6)), std::u16string(u"#{lt\0}", 6));
}

// Every name of a set has its code point, so that no row is missing or slips.
TEST(Expansion, TheLatin1SetIsWhole)
{
    const char* const names[] = {
        "nbsp",   "iexcl",  "cent",   "pound",  "curren", "yen",    "brvbar", "sect",   "uml",
        "copy",   "ordf",   "laquo",  "not",    "shy",    "reg",    "macr",   "deg",    "plusmn",
        "sup2",   "sup3",   "acute",  "micro",  "para",   "middot", "cedil",  "sup1",   "ordm",
        "raquo",  "frac14", "frac12", "frac34", "iquest", "Agrave", "Aacute", "Acirc",  "Atilde",
        "Auml",   "Aring",  "AElig",  "Ccedil", "Egrave", "Eacute", "Ecirc",  "Euml",   "Igrave",
        "Iacute", "Icirc",  "Iuml",   "ETH",    "Ntilde", "Ograve", "Oacute", "Ocirc",  "Otilde",
        "Ouml",   "times",  "Oslash", "Ugrave", "Uacute", "Ucirc",  "Uuml",   "Yacute", "THORN",
        "szlig",  "agrave", "aacute", "acirc",  "atilde", "auml",   "aring",  "aelig",  "ccedil",
        "egrave", "eacute", "ecirc",  "euml",   "igrave", "iacute", "icirc",  "iuml",   "eth",
        "ntilde", "ograve", "oacute", "ocirc",  "otilde", "ouml",   "divide", "oslash", "ugrave",
        "uacute", "ucirc",  "uuml",   "yacute", "thorn",  "yuml",
    };
    char16_t expected = 0x00A0;
    for (const std::string name : names)
    {
        const std::u16string written(name.begin(), name.end());
        EXPECT_EQ(Expand(u"#{" + written + u"}"), std::u16string(1, expected)) << name;
        ++expected;
    }
    EXPECT_EQ(expected, 0x0100);
}

TEST(Expansion, TheSpecialSetIsWhole)
{
    const struct
    {
        const char16_t* written;
        const char16_t* expanded;
    } rows[] = {
        {u"#{quot}#{amp}#{lt}#{gt}", u"\"&<>"},
        {u"#{OElig}#{oelig}#{Scaron}#{scaron}#{Yuml}", u"\u0152\u0153\u0160\u0161\u0178"},
        {u"#{circ}#{tilde}", u"\u02C6\u02DC"},
        {u"#{ensp}#{emsp}#{thinsp}", u"\u2002\u2003\u2009"},
        {u"#{zwnj}#{zwj}#{lrm}#{rlm}", u"\u200C\u200D\u200E\u200F"},
        {u"#{ndash}#{mdash}", u"\u2013\u2014"},
        {u"#{lsquo}#{rsquo}#{sbquo}", u"\u2018\u2019\u201A"},
        {u"#{ldquo}#{rdquo}#{bdquo}", u"\u201C\u201D\u201E"},
        {u"#{dagger}#{Dagger}#{permil}", u"\u2020\u2021\u2030"},
        {u"#{lsaquo}#{rsaquo}#{euro}", u"\u2039\u203A\u20AC"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Expand(row.written), row.expanded);
}

TEST(Expansion, NumbersStandForCharacters)
{
    const Row rows[] = {
        {u"#{e9}", u"\u00E9"},
        {u"#{E9}", u"\u00E9"},
        {u"#{U+E9}", u"\u00E9"},
        {u"#{uE9}", u"\u00E9"},
        {u"#{u00A8}", u"\u00A8"},
        {u"#{U+20ac}", u"\u20AC"},
        {u"#{9}", u"\t"},
        {u"#{FFFF}", u"\uFFFF"},
        {u"#{0}", std::u16string(1, 0)},
        {u"#{U+12345}", u"#{U+12345}"},
        {u"#{00041}", u"#{00041}"},
        {u"#{U+}", u"#{U+}"},
        {u"#{u}", u"#{u}"},
        {u"#{U41}", u"#{U41}"},
        {u"#{u+41}", u"#{u+41}"},
        {u"#{g}", u"#{g}"},
        {u"#{4g}", u"#{4g}"},
        {u"#{uU+41}", u"#{uU+41}"},
        {u"#{U+u41}", u"#{U+u41}"},
        {u"#{+41}", u"#{+41}"},
        {u"#{-1}", u"#{-1}"},
        {u"#{\u0661}", u"#{\u0661}"},
    };
    for (const Row& row : rows)
        Check(row);
    EXPECT_EQ(Expand(u"#{41"), u"#{41");
    EXPECT_EQ(Expand(u"#{}1"), u"#{}1");
}

TEST(Expansion, LongTextsTakeLinearTime)
{
    for (const std::u16string piece : {u"#{", u"^", u"#{alpha", u"#{lt}"})
    {
        std::u16string text;
        while (text.size() < 5000000)
            text += piece;
        const auto start = std::chrono::steady_clock::now();
        Expand(text);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    }
}
