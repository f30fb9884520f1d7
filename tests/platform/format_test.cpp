// Numbers and messages as text, and the user's locale.

#include <cstring>
#include <limits>
#include <string>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

#include <krobase/format.h>
#include <platform/control.h>
#include <win32/locale.h>
#include <win32/text.h>

#include "tests/support/Text.h"

using namespace krobase::utility;

namespace
{
const double kInfinity = std::numeric_limits<double>::infinity();
const double kNaN = std::numeric_limits<double>::quiet_NaN();

class Format : public testing::Test
{
protected:
    void TearDown() override { platform::ResetAll(); }
};

// Returns the text that GetLocaleInfoA stores.
std::string LocaleText(unsigned int item)
{
    char buffer[16];
    const int count =
        win32::GetLocaleInfoA(win32::kLocaleUserDefault, item, buffer, sizeof(buffer));
    EXPECT_EQ(win32::GetLocaleInfoA(win32::kLocaleUserDefault, item, nullptr, 0), count);
    EXPECT_EQ(std::strlen(buffer) + 1, static_cast<std::size_t>(count));
    return buffer;
}

UTF16String Wide(const std::string& text)
{
    return UTF16String(text.begin(), text.end());
}
} // namespace

TEST_F(Format, StringsReplaceTheirMarks)
{
    const std::pair<std::u16string, std::u16string> rows[] = {
        {u"@0", u"@1"}, // an inserted string is not searched
        {u"@1@0@1", u"one@1one"},
        {u"a@b @@2 @", u"a@b @ @"},
        {u"x@9y @10", u"xnine @0y one0"},
    };
    for (const auto& [text, filled] : rows)
    {
        EXPECT_EQ(ReplaceInString(Units(text), Units(u"@1"), Units(u"one"), Units(u""), {}, {}, {},
                                  {}, {}, {}, Units(u"nine @0")),
                  Units(filled));
    }
}

TEST_F(Format, NumbersAreWritten)
{
    const std::tuple<double, std::size_t, std::size_t, unsigned int, int, std::u16string> rows[] = {
        // The forms that the library uses.
        {2.04, 1, 1, 0, 31, u"2.0"},
        {1023.9996, 1, 3, 0, 31, u"1024.000"},
        {12, 8, 0, 1, 31, u"00000012"},
        {3, 1, 9, 5, 31, u"3"},
        {0.1 + 0.2, 1, 9, 5, 31, u"0.3"},
        {1e22, 1, 9, 5, 31, u"10000000000000000000000"},
        // Too long for plain notation.
        {-1.23456789012345678e300, 1, 0, 1, 31, u"-1.2345678901234568e+300"},
        {kInfinity, 5, 2, 63, 31, u"+inf"},
        {-kNaN, 5, 2, 0, 31, u"nan"},
        {-0.0, 1, 1, 16, 31, u"+0.0"},
    };
    for (const auto& [value, integerDigits, decimals, flags, most, text] : rows)
        EXPECT_EQ(NumberToString(value, integerDigits, decimals, flags, most), Units(text))
            << value << " in " << most;
    EXPECT_EQ(NumberToString(1e308, 1, 0, 9, 1000).size(), 309u + 102u);

    platform::SetUserLocale("de_DE");
    EXPECT_EQ(NumberToString(1234567.25, 1, 1, 8, 31), Units(u"1.234.567,2"));
    EXPECT_EQ(NumberToString(1234567.25, 1, 1, 9, 31), Units(u"1,234,567.2"));
}

TEST_F(Format, NumbersAreRead)
{
    const long long kMost = std::numeric_limits<long long>::max();
    const long long kLeast = std::numeric_limits<long long>::min();
    const std::tuple<std::string, long long, double> rows[] = {
        {" \t\r\n-7", -7, -7},
        {"-2.7", -2, -2.7},
        {"-.5", 0, -.5},
        {"1e5", 100000, 1e5}, // a number may have an exponent and no mark
        {"-1.5E+3x", -1500, -1500},
        {"25e-1", 2, 2.5},
        {"1,234", 1, 1}, // there is no thousands mark
        {"007", 7, 7},
        {"9007199254740993.9", 9007199254740993, 9007199254740993.9},
        {"9223372036854775807", kMost, 9223372036854775807.},
        {"9223372036854775808", kMost, 9223372036854775808.},
        {"-99999999999999999999", kLeast, -1e20},
        {"1e999", kMost, kInfinity},
        {"1e-99999999999999999999", 0, 0},
        {"0." + std::string(400, '0') + "1e10", 0, 0},
        {std::string(400, '9') + "e-10", kMost, kInfinity},
        {std::string(400, '9') + "e-395", 100000, 1e5},
    };
    const auto expectRead = [](const std::string& text, long long expected, double number) {
        long long whole = -1;
        double read = -1;
        StringToNumber(whole, Wide(text), kReadNoLocaleMarks);
        StringToNumber(read, Wide(text), kReadNoLocaleMarks);
        EXPECT_EQ(read, number) << text;
        EXPECT_EQ(whole, expected) << text;
    };
    for (const auto& [text, whole, number] : rows)
        expectRead(text, whole, number);
    for (const char* none : {"", " ", "nonsense", "nan", "inf", "-", "+-5", ".", "e5", ",5", "- 5"})
        expectRead(none, -1, -1);
}

TEST_F(Format, MarksAreThoseOfTheUsersLocale)
{
    typedef std::tuple<const char*, unsigned int, const char*, const char*, std::u16string> Marks;
    const Marks rows[] = {
        {nullptr, 1252, ".", ",", u"1,234.5"},
        {"de_DE", 1252, ",", ".", u"1.234,5"},
        {"en_US", 1252, ".", ",", u"1,234.5"},
        {"fr_FR", 65001, ",", "\xC2\xA0", u"1\u00A0234,5"},
        {"de_CH", 1252, ".", "\x92", u"1\u2019234.5"},
        {"fa_IR", 65001, ".", ",", u"1,234.5"}, // the digits are those of ASCII
        {"xx_YY", 1252, ".", ",", u"1,234.5"},
    };
    for (const auto& [locale, codePage, decimal, thousands, marked] : rows)
    {
        SCOPED_TRACE(locale ? locale : "none");
        const ScActiveCodePage active(codePage);
        platform::SetUserLocale(locale);
        EXPECT_EQ(LocaleText(win32::kLocaleDecimalMark), decimal);
        EXPECT_EQ(LocaleText(win32::kLocaleThousandsMark), thousands);
        UTF16String number = Units(u"1,234.5");
        InternationalizeNum(number);
        EXPECT_EQ(number, Units(marked));
        DeInternationalizeNum(number);
        EXPECT_EQ(number, Units(u"1,234.5"));
    }
}
