// Texts: their facts, their changes, and the parameters in them.

#include <limits>
#include <string>

#include <gtest/gtest.h>

#include <hollin/VoErrException.h>

#include "tests/dictionary/Texts.h"

using hollin::VoErrException;
using hollin::ZString;

namespace
{
struct Change
{
    std::u16string before;
    std::u16string after;
};

// Each change is made to a copy, and must leave the original as it was.
template <std::size_t Count>
void CheckChange(void (ZString::*operation)(), const Change (&rows)[Count])
{
    for (const Change& row : rows)
    {
        const ZString original = ToZString(row.before);
        ZString text = original;
        (text.*operation)();
        EXPECT_EQ(ToText(text), row.after);
        EXPECT_EQ(ToText(original), row.before);
    }
}
} // namespace

TEST(ZString, IsMadeOfManyThings)
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
    EXPECT_EQ(ToText(ZString::FromStored(stored, 5)).size(), 2u);
    EXPECT_EQ(ToText(ZString::FromStored(units, 3)), u" ");
    EXPECT_EQ(ToText(ZString::FromStored(units, 1)), u"");
    EXPECT_EQ(ToText(ZString::FromStored(nullptr, 0)), u"");
}

TEST(ZString, CopiesIntoABuffer)
{
    struct Copy
    {
        std::u16string text;
        std::u16string copied;
        std::uint32_t size;
        bool fits;
    };
    const Copy copies[] = {
        {u"text", u"text", 5, true},      {u"text", u"tex", 4, false},
        {u"text", u"", 1, false},         {u"", u"", 1, true},
        {u"a\U0001F600", u"a", 3, false}, {u"a\U0001F600", u"a\U0001F600", 4, true},
    };
    for (const Copy& copy : copies)
    {
        const ZString text = ToZString(copy.text);
        std::u16string buffer(8, u'#');
        auto* units = reinterpret_cast<std::uint16_t*>(&buffer[0]);
        text.CopyTo(units, copy.size, false);
        EXPECT_EQ(std::u16string(buffer.c_str()), copy.copied);
        EXPECT_EQ(buffer[copy.size], u'#') << "beyond the buffer";
        if (copy.fits)
            EXPECT_NO_THROW(text.CopyTo(units, copy.size, true));
        else
            EXPECT_THROW(text.CopyTo(units, copy.size, true), VoErrException);
    }
    EXPECT_NO_THROW(ToZString(u"a").CopyTo(nullptr, 0, false));
    EXPECT_THROW(ToZString(u"a").CopyTo(nullptr, 0, true), VoErrException);
}

TEST(ZString, IsOrderedByItsUnits)
{
    struct Pair
    {
        std::u16string left;
        std::u16string right;
        int sign;
    };
    const Pair pairs[] = {
        {u"", u"", 0},    {u"", u"a", -1},  {u"a", u"a", 0},      {u"a", u"b", -1},
        {u"ab", u"a", 1}, {u"B", u"a", -1}, {u"\uFFFF", u"a", 1}, {u"abc", u"abd", -1},
    };
    for (const Pair& pair : pairs)
    {
        const ZString left = ToZString(pair.left);
        const ZString right = ToZString(pair.right);
        EXPECT_EQ(left == right, pair.sign == 0);
        EXPECT_EQ(left != right, pair.sign != 0);
        EXPECT_EQ(left < right, pair.sign < 0);
        EXPECT_EQ(left > right, pair.sign > 0);
        EXPECT_EQ(left <= right, pair.sign <= 0);
        EXPECT_EQ(left >= right, pair.sign >= 0);
        EXPECT_EQ(right<left, pair.sign> 0);
    }
    EXPECT_EQ(ToZString(u"a").Compare(ToZString(u"d")), -3);
    EXPECT_EQ(ToZString(u"abcd").Compare(ToZString(u"a")), 3);
}

TEST(ZString, FillsInCaretParameters)
{
    struct Filling
    {
        std::u16string text;
        std::u16string filled;
        int n;
        unsigned int count;
    };
    const Filling fillings[] = {
        {u"^1 of ^2", u"<x> of ^2", 1, 1},
        {u"^1 of ^2", u"^1 of <x>", 2, 1},
        {u"^1 of ^2", u"^1 of ^2", 3, 0},
        {u"^0^9^0", u"<x>^9<x>", 0, 2},
        {u"^0^9^0", u"^0<x>^0", 9, 1},
        {u"^^1", u"^<x>", 1, 1},
        {u"^^^", u"^^^", 1, 0},
        {u"a^", u"a^", 1, 0},
        {u"^1^", u"<x>^", 1, 1},
        {u"1^", u"1^", 1, 0},
        {u"^11", u"<x>1", 1, 1},
        {u"", u"", 1, 0},
        {u"^:", u"^:", 10, 0},
        {u"^/", u"^/", -1, 0},
    };
    for (const Filling& filling : fillings)
    {
        ZString text = ToZString(filling.text);
        EXPECT_EQ(text.HasParameter(filling.n), filling.count);
        text.ReplaceParameter(filling.n, ToZString(u"<x>"));
        EXPECT_EQ(ToText(text), filling.filled);
    }
    ZString text = ToZString(u"a^1b");
    text.ReplaceParameter(1, text);
    EXPECT_EQ(ToText(text), u"aa^1bb");
    text.ReplaceParameter(1, ZString());
    EXPECT_EQ(ToText(text), u"aabb");
}

TEST(ZString, FillsInXMLPlaceholders)
{
    struct Filling
    {
        std::u16string text;
        int occurrence;
        std::u16string filled; // empty for none
    };
    const std::u16string placeholder = u"<param name=\"N\"/>";
    const Filling fillings[] = {
        {u"a" + placeholder + u"b", 1, u"axb"},
        {placeholder + placeholder, 1, u"x" + placeholder},
        {placeholder + placeholder, 2, placeholder + u"x"},
        {placeholder, 2, u""},
        {placeholder, 0, u""},
        {placeholder, -1, u""},
        {u"<param name=\"M\"/>" + placeholder, 1, u"<param name=\"M\"/>x"},
        {u"< param  name = \"N\" />", 1, u"x"},
        {u"<paramname=\"N\"/>", 1, u"x"},
        {u"<param\tname\u3000=\"N\"/>", 1, u"x"},
        {u"<param name=\" N\"/>", 1, u""},
        {u"<param name=\"N\">", 1, u""},
        {u"<param name=\"N\"/ >", 1, u""},
        {u"<Param name=\"N\"/>", 1, u""},
        {u"<param name=\"NN\"/>", 1, u""},
        {u"<param name=\"N\"/", 1, u""},
        {u"<param name=\"N", 1, u""},
        {u"<param ", 1, u""},
        {u"<", 1, u""},
        {u"", 1, u""},
        {u"<par" + placeholder, 1, u"<parx"},
        {u"<param name" + placeholder, 1, u""}, // the "<" was taken for the "="
        {u"<" + placeholder, 1, u""},
        {u"<x" + placeholder, 1, u"<xx"},
    };
    for (const Filling& filling : fillings)
    {
        ZString text = ToZString(filling.text);
        const bool isReplaced = !filling.filled.empty();
        EXPECT_EQ(text.ReplaceXMLParameter("N", ToZString(u"x"), filling.occurrence), isReplaced);
        EXPECT_EQ(ToText(text), isReplaced ? filling.filled : filling.text);
    }
    ZString text = ToZString(u"<param name=\"\"/>");
    EXPECT_FALSE(text.ReplaceXMLParameter(nullptr, ZString(), 1));
    EXPECT_TRUE(text.ReplaceXMLParameter("", ZString(), 1));
    EXPECT_EQ(ToText(text), u"");
}

TEST(ZString, ReadsIntegersOfAnyScript)
{
    struct Number
    {
        std::u16string text;
        std::int32_t number;
        bool isNumber;
    };
    const Number numbers[] = {
        {u"0", 0, true},
        {u"-12", -12, true},
        {u"+12", 12, true},
        {u"\u221212", 12, false},
        {u"\uFF0B\uFF11\uFF12", 12, false},
        {u"\u0661\u06F2\u0966", 120, true},
        {u"\u00B2\u00B3\u00B9", 231, true},
        {u"\u2074\u2082", 42, true},
        {u"\u2071", 0, false},
        {u"\u0BE6\u0BE7", 1, false},
        {u"1,234", 1234, false},
        {u" 5", 5, false},
        {u"5-", 5, false},
        {u"--5", -5, false},
        {u"1a2", 12, false},
        {u"2147483648", std::numeric_limits<std::int32_t>::min(), true},
        {u"4294967297", 1, true},
        {u"", 0, true},
        {u"-", 0, true},
    };
    for (const Number& number : numbers)
    {
        std::int32_t read = 77;
        EXPECT_EQ(ToZString(number.text).ToInteger(&read), number.isNumber);
        EXPECT_EQ(read, number.number);
    }
}

TEST(ZString, KnowsTheDigitsOfEachScript)
{
    const std::u16string zeros = u"\u0030\uFF10\u2070\u2080\u0660\u06F0\u0966\u09E6\u0A66\u0AE6"
                                 u"\u0B66\u0BE6\u0C66\u0CE6\u0D66\u0E50\u0ED0\u0F20";
    const std::u16string noDigits = u"\u0BE6\u2071\u2072\u2073";
    int digits = 0;
    for (char16_t zero : zeros)
    {
        for (char16_t i = 0; i < 10; ++i)
        {
            const auto unit = static_cast<char16_t>(zero + i);
            const bool isDigit = noDigits.find(unit) == std::u16string::npos;
            EXPECT_EQ(hollin::DigitValue(unit), isDigit ? i : 255) << static_cast<int>(unit);
        }
    }
    for (int unit = 0; unit < 0x10000; ++unit)
        digits += hollin::DigitValue(static_cast<std::uint16_t>(unit)) != 255;
    EXPECT_EQ(digits, 18 * 10 - 4 + 3);
}

TEST(ZString, KnowsSpacesAndSigns)
{
    const std::u16string spaces =
        u"\u0020\u3000\u00A0\t\n\v\f\r\u2000\u200A\u200B\u2028\u2029\uFEFF";
    for (char16_t unit : spaces)
        EXPECT_TRUE(hollin::IsSpace(unit)) << static_cast<int>(unit);
    for (char16_t unit : std::u16string(u"\u0008\u000E\u1FFF\u200C\u202A"))
        EXPECT_FALSE(hollin::IsSpace(unit)) << static_cast<int>(unit);
    for (char16_t unit : std::u16string(u"\u002D\u207B\u208B\u2212\uFF0D\uFE63"))
        EXPECT_TRUE(hollin::IsMinus(unit) && !hollin::IsPlus(unit)) << static_cast<int>(unit);
    for (char16_t unit : std::u16string(u"\u002B\u207A\u208A\uFF0B\uFE62"))
        EXPECT_TRUE(hollin::IsPlus(unit) && !hollin::IsMinus(unit)) << static_cast<int>(unit);
    EXPECT_TRUE(ToZString(spaces).IsBlank());
    EXPECT_TRUE(ZString().IsBlank());
    EXPECT_FALSE(ToZString(spaces + u"x").IsBlank());
}

TEST(ZString, IsTrimmed)
{
    const Change rows[] = {
        {u"  a b ", u"a b"}, {u"a", u"a"}, {u"   ", u""}, {u"", u""}, {u"\ta ", u"\ta"}};
    CheckChange(&ZString::TrimSpaces, rows);
}

TEST(ZString, EllipsesComeAndGo)
{
    const Change toDots[] = {{u"Open\u2026", u"Open..."},
                             {u"\u2026a", u"\u2026a"},
                             {u"", u""},
                             {u"\u2026\u2026", u"\u2026..."},
                             {u"a...", u"a..."}};
    CheckChange(&ZString::EllipsisToDots, toDots);
    const Change removed[] = {{u"Open\u2026", u"Open"},  {u"Open...", u"Open"}, {u"....", u"."},
                              {u"Open..", u"Open.."},    {u"...", u""},         {u"", u""},
                              {u"\u2026...", u"\u2026"}, {u"...a", u"...a"}};
    CheckChange(&ZString::RemoveEllipsis, removed);
}

TEST(ZString, ExtensionsAreCut)
{
    const Change rows[] = {{u"a.b.c", u"a.b"}, {u".c", u""}, {u"a.", u"a"}};
    for (const Change& row : rows)
    {
        ZString text = ToZString(row.before);
        EXPECT_TRUE(text.RemoveExtension());
        EXPECT_EQ(ToText(text), row.after);
    }
    ZString text = ToZString(u"name");
    EXPECT_FALSE(text.RemoveExtension());
    EXPECT_EQ(ToText(text), u"name");
    EXPECT_FALSE(ZString().RemoveExtension());
}

TEST(ZString, ColonsBecomeHyphens)
{
    const Change rows[] = {{u"a:b::", u"a-b--"}, {u"ab", u"ab"}, {u"", u""}};
    CheckChange(&ZString::ColonsToHyphens, rows);
}

TEST(ZString, MnemonicsAreStripped)
{
    const Change rows[] = {
        {u"&Open", u"Open"},
        {u"Save && Close", u"Save & Close"},
        {u"Cut & Paste", u"Cut & Paste"},
        {u"a&", u"a"},
        {u"&&&", u"&"},
        {u"&& a", u"& a"},
        {u"&&&a", u"&a"},
        {u"Open \bCtrl+O", u"Open"},
        {u"\bOpen", u"\bOpen"},
        {u"&Op \b&en \b", u"Op"},
        {u" \b", u""},
        {u"a& \bb", u"a"},
        {u"", u""},
    };
    CheckChange(&ZString::StripMnemonics, rows);
}
