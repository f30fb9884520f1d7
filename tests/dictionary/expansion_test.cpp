// Escapes, and named and numbered characters.

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <hollin_private/Expansion.h>

namespace
{
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
                u"#{4g}", u"#{uU+41}", u"#{U+u41}", u"#{+41}", u"#{-1}", u"#{\u0661}", u"#{}1"});
}
