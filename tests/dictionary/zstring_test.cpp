// Texts: properties, changes and parameters.

#include <limits>
#include <tuple>
#include <utility>

#include "tests/dictionary/Loading.h"

using hollin::VoErrException;
using hollin::ZString;

namespace
{
typedef std::vector<std::pair<std::u16string, std::u16string>> Changes; // before and after

// Changes a copy of each text, and expects the original unchanged.
void ExpectChanges(void (ZString::*operation)(), const Changes& changes)
{
    for (const auto& [before, after] : changes)
    {
        const ZString original = ToZString(before);
        ZString text = original;
        (text.*operation)();
        EXPECT_EQ(ToText(text), after);
        EXPECT_EQ(ToText(original), before);
    }
}

// Expects a property of every unit of a text.
void ExpectAll(bool (*isOne)(std::uint16_t), const std::u16string& units, bool expected = true)
{
    for (const char16_t unit : units)
        EXPECT_EQ(isOne(unit), expected) << static_cast<int>(unit);
}
} // namespace

TEST(ZString, IsMadeOfEachSource)
{
    EXPECT_EQ(ToText(ZString()), u"");
    EXPECT_EQ(ZString().Data(), nullptr);
    EXPECT_EQ(ZString().LengthWithTerminator(), 1u);
    EXPECT_EQ(ToText(ZString("text")), u"text");
    EXPECT_EQ(ToText(ZString(static_cast<const char*>(nullptr))), u"");
    EXPECT_EQ(ToText(ZString("a\0b", 3, nullptr)), std::u16string(u"a\0b", 3));
    EXPECT_EQ(ToText(ZString::FromPascal(reinterpret_cast<const unsigned char*>("\3text"))),
              u"tex");
    EXPECT_EQ(ToText(ZString::FromPascal(nullptr)), u"");
    EXPECT_EQ(ToText(ZString::FromNumber(0)), u"0");
    EXPECT_EQ(ToText(ZString::FromNumber(std::numeric_limits<std::int32_t>::min())),
              u"-2147483648");

    const char16_t units[] = u" ab";
    const char* stored = reinterpret_cast<const char*>(units) + 1;
    EXPECT_EQ(ToText(ZString::FromUTF16Bytes(stored, 5)).size(), 2u);
    EXPECT_EQ(ToText(ZString::FromUTF16Bytes(units, 3)), u" ");
    EXPECT_EQ(ToText(ZString::FromUTF16Bytes(units, 1)), u"");
    EXPECT_EQ(ToText(ZString::FromUTF16Bytes(nullptr, 0)), u"");
}

TEST(ZString, CopiesIntoABuffer)
{
    const std::tuple<std::u16string, std::u16string, std::uint32_t> copies[] = {
        {u"text", u"text", 5},      {u"text", u"tex", 4},
        {u"text", u"", 1},          {u"", u"", 1},
        {u"a\U0001F600", u"a", 3},  {u"a\U0001F600", u"a\U0001F600", 4},
        {u"\xD83Dx", u"\xD83D", 2}, {u"a\xD83D", u"a\xD83D", 4}};
    for (const auto& [whole, copied, size] : copies)
    {
        const ZString text = ToZString(whole);
        std::u16string buffer(8, u'#');
        auto* units = reinterpret_cast<std::uint16_t*>(&buffer[0]);
        text.CopyTo(units, size, false);
        EXPECT_EQ(std::u16string(buffer.c_str()), copied);
        EXPECT_EQ(buffer[size], u'#') << "beyond the buffer";
        EXPECT_EQ(CodeThrownBy([&, room = size] { text.CopyTo(units, room, true); }),
                  copied == whole ? 0 : VoErrException::kBufferTooSmall);
    }
    EXPECT_NO_THROW(ToZString(u"a").CopyTo(nullptr, 0, false));
    EXPECT_THROW(ToZString(u"a").CopyTo(nullptr, 0, true), VoErrException);
    std::uint16_t unit = 0;
    EXPECT_THROW(ToZString(u"a").CopyTo(&unit, 0, true), VoErrException);
}

TEST(ZString, IsOrderedByItsUnits)
{
    const std::tuple<std::u16string, std::u16string, int> pairs[] = {
        {u"", u"", 0}, {u"", u"a", -1}, {u"ab", u"a", 1}, {u"B", u"a", -1}, {u"\uFFFF", u"a", 1}};
    for (const auto& [leftText, rightText, sign] : pairs)
    {
        const ZString left = ToZString(leftText);
        const ZString right = ToZString(rightText);
        EXPECT_EQ(left == right, sign == 0);
        EXPECT_EQ(left != right, sign != 0);
        EXPECT_EQ(left < right, sign < 0);
        EXPECT_EQ(left > right, sign > 0);
        EXPECT_EQ(left <= right, sign <= 0);
        EXPECT_EQ(left >= right, sign >= 0);
    }
    EXPECT_EQ(ToZString(u"a").Compare(ToZString(u"d")), -3);
    EXPECT_EQ(ToZString(u"abcd").Compare(ToZString(u"a")), 3);
}

TEST(ZString, FillsInCaretParameters)
{
    const std::tuple<std::u16string, std::u16string, int, unsigned int> fillings[] = {
        {u"^1 of ^2", u"<x> of ^2", 1, 1},
        {u"^1 of ^2", u"^1 of <x>", 2, 1},
        {u"^0^9^0", u"<x>^9<x>", 0, 2},
        {u"^0^9^0", u"^0<x>^0", 9, 1},
        {u"^^1", u"^<x>", 1, 1},
        {u"^11", u"<x>1", 1, 1},
        {u"^1^", u"<x>^", 1, 1},
        {u"^:", u"^:", 10, 0},
        {u"^/", u"^/", -1, 0}};
    for (const auto& [unfilled, filled, number, count] : fillings)
    {
        ZString text = ToZString(unfilled);
        EXPECT_EQ(text.HasParameter(number), count);
        text.ReplaceParameter(number, ToZString(u"<x>"));
        EXPECT_EQ(ToText(text), filled);
    }
    ZString text = ToZString(u"a^1b");
    text.ReplaceParameter(1, text);
    EXPECT_EQ(ToText(text), u"aa^1bb");
    text.ReplaceParameter(1, ZString());
    EXPECT_EQ(ToText(text), u"aabb");
}

TEST(ZString, FillsInXMLPlaceholders)
{
    const std::u16string placeholder = u"<param name=\"N\"/>";
    const std::u16string other = u"<param name=\"M\"/>";
    const std::tuple<std::u16string, int, std::u16string> fillings[] = {
        {u"a" + placeholder + u"b", 1, u"axb"},
        {placeholder + placeholder, 1, u"x" + placeholder},
        {placeholder + placeholder, 2, placeholder + u"x"},
        {other + placeholder, 1, other + u"x"},
        {u"< param  name = \"N\" />", 1, u"x"},
        {u"<param\tname\u3000=\"N\"/>", 1, u"x"},
        {u"<par" + placeholder, 1, u"<parx"},
        {u"<x" + placeholder, 1, u"<xx"}};
    for (const auto& [unfilled, occurrence, filled] : fillings)
    {
        ZString text = ToZString(unfilled);
        EXPECT_TRUE(text.ReplaceXMLParameter("N", ToZString(u"x"), occurrence));
        EXPECT_EQ(ToText(text), filled);
    }
    const std::pair<std::u16string, int> kept[] = {
        {placeholder, 2},
        {placeholder, 0},
        {u"<param name=\" N\"/>", 1},
        {u"<param name=\"N\">", 1},
        {u"<param name=\"N\"/ >", 1},
        {u"<param name=\"NN\"/>", 1},
        {u"<param name=\"N", 1},
        {u"<", 1},
        {u"<param name" + placeholder, 1}}; // a "<" for the "="
    for (const auto& [unfilled, occurrence] : kept)
    {
        ZString text = ToZString(unfilled);
        EXPECT_FALSE(text.ReplaceXMLParameter("N", ToZString(u"x"), occurrence));
        EXPECT_EQ(ToText(text), unfilled);
    }
    ZString text = ToZString(u"<param name=\"\"/>");
    EXPECT_FALSE(text.ReplaceXMLParameter(nullptr, ZString(), 1));
    EXPECT_TRUE(text.ReplaceXMLParameter("", ZString(), 1));
}

TEST(ZString, ReadsIntegersOfAnyScript)
{
    const std::tuple<std::u16string, std::int32_t, bool> numbers[] = {
        {u"-12", -12, true},
        {u"+12", 12, true},
        {u"\u0661\u06F2\u0966", 120, true},
        {u"\u00B2\u00B3\u00B9", 231, true},
        // The zero, or the one, and the nine of each script.
        {u"0\uFF10\u2070\u2080\u0660\u06F0\u0966\u09E6\u0A66\u0AE6\u0B66\u0C66\u0CE6\u0D66\u0E50"
         u"\u0ED0\u0F20",
         0, true},
        {u"\u0BE7\uFF19\u2079\u2089\u0669\u06F9\u096F\u09EF\u0A6F", 199999999, true},
        {u"\u0AEF\u0B6F\u0BEF\u0C6F\u0CEF\u0D6F\u0E59\u0ED9\u0F29", 999999999, true},
        {u"2147483648", std::numeric_limits<std::int32_t>::min(), true},
        {u"4294967297", 1, true},
        {u"-", 0, true},
        {u"", 0, true},
        {u"\u221212", 12, false},
        {u"\uFF0B\uFF11\uFF12", 12, false},
        {u"\u0BE6\u2071\u2072\u2073/:\u0F2A\u065F1", 1, false},
        {u"1,234", 1234, false},
        {u"--5", -5, false},
        {u"1a2", 12, false}};
    for (const auto& [text, number, isOne] : numbers)
    {
        std::int32_t read = 77;
        EXPECT_EQ(ToZString(text).ToInteger(&read), isOne);
        EXPECT_EQ(read, number);
    }
}

TEST(ZString, SpacesAndSigns)
{
    const std::u16string spaces =
        u"\u0020\u3000\u00A0\t\n\v\f\r\u2000\u200A\u200B\u2028\u2029\uFEFF";
    const std::u16string pluses = u"\u002B\u207A\u208A\uFF0B\uFE62";
    const std::u16string minuses = u"\u002D\u207B\u208B\u2212\uFF0D\uFE63";
    ExpectAll(&hollin::IsSpace, spaces);
    ExpectAll(&hollin::IsSpace, u"\u0008\u000E\u1FFF\u200C\u202A", false);
    ExpectAll(&hollin::IsPlus, pluses);
    ExpectAll(&hollin::IsPlus, minuses, false);
    ExpectAll(&hollin::IsMinus, minuses);
    ExpectAll(&hollin::IsMinus, pluses, false);
    EXPECT_TRUE(ToZString(spaces).IsBlank());
    EXPECT_TRUE(ZString().IsBlank());
    EXPECT_FALSE(ToZString(spaces + u"x").IsBlank());
}

TEST(ZString, ChangesLeaveCopiesUnchanged)
{
    ExpectChanges(&ZString::TrimSpaces,
                  {{u"  a b  ", u"a b"}, {u"   ", u""}, {u"", u""}, {u"\ta ", u"\ta"}});
    ExpectChanges(&ZString::EllipsisToDots, {{u"Open\u2026", u"Open..."},
                                             {u"Open", u"Open"},
                                             {u"", u""},
                                             {u"\u2026\u2026", u"\u2026..."}});
    ExpectChanges(&ZString::RemoveEllipsis, {{u"Open\u2026", u"Open"},
                                             {u"Open...", u"Open"},
                                             {u"....", u"."},
                                             {u"Open..", u"Open.."},
                                             {u"", u""},
                                             {u"...a", u"...a"}});
    ExpectChanges(&ZString::ColonsToHyphens, {{u"a:b::", u"a-b--"}, {u"ab", u"ab"}, {u"", u""}});
    ExpectChanges(&ZString::StripMnemonics, {{u"&Open", u"Open"},
                                             {u"Save && Close", u"Save & Close"},
                                             {u"Cut & Paste", u"Cut & Paste"},
                                             {u"&& a", u"& a"},
                                             {u"&&&a", u"&a"},
                                             {u"Save &", u"Save "},
                                             {u"Open \bCtrl+O", u"Open"},
                                             {u"\bOpen", u"\bOpen"},
                                             {u"&Op \b&en \b", u"Op"},
                                             {u"", u""}});
}

TEST(ZString, ExtensionsAreCut)
{
    for (const auto& [before, after] :
         Changes{{u"a.b.c", u"a.b"}, {u".c", u""}, {u"name", u"name"}})
    {
        ZString text = ToZString(before);
        EXPECT_EQ(text.RemoveExtension(), before != after);
        EXPECT_EQ(ToText(text), after);
    }
}
