// Numbers, messages and dates as text, in the user's locale.

#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <random>
#include <tuple>
#include <utility>

#include <krobase/format.h>
#include <win32/locale.h>

#include "tests/support/FailingNew.h"
#include "tests/support/System.h"
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
typedef Format SystemDates;

const win32::SYSTEMTIME kTime = {2005, 3, 0, 1, 15, 4, 5, 6}; // Tuesday, 1 March
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

    for (const char* id : {"de_DE.UTF-8", "de_DE@euro", "de_DE"})
    {
        platform::SetUserLocale(id);
        EXPECT_EQ(NumberToString(1234567.25, 1, 1, 8, 31), Units(u"1.234.567,2")) << id;
    }
    EXPECT_EQ(NumberToString(1234567.25, 1, 1, 9, 31), Units(u"1,234,567.2"));
}

TEST_F(Format, DecimalsAreThoseOfTheCLibrary)
{
    std::mt19937_64 random(1);
    for (int i = 0; i < 200000; ++i)
    {
        // Of all sizes, with few decimals and with all, and at or beside a half of the last one.
        double value =
            std::ldexp(static_cast<double>(random() >> 11), static_cast<int>(i % 80) - 80);
        const int most = static_cast<int>(random() % 12);
        if (i % 4 == 1)
            value = std::round(value * 1000) / 1000;
        if (i % 4 == 3)
        {
            value = (std::floor(value) + 0.5) * std::pow(10.0, -most);
            value = std::nextafter(value, random() % 2 ? value : random() % 2 ? 0 : kInfinity);
        }
        char expected[64];
        std::snprintf(expected, sizeof(expected), "%.*f", most, value);
        ASSERT_EQ(Narrow(NumberToString(value, 1, static_cast<std::size_t>(most), 1, 400)),
                  expected)
            << value;
    }
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
        {"1E+999", kMost, kInfinity},
        {"1e-99999999999999999999", 0, 0},
        {"0." + std::string(400, '0') + "1e10", 0, 0},
        {std::string(400, '9') + "e-10", kMost, kInfinity},
        {std::string(400, '9') + "e-395", 100000, 1e5},
    };
    const auto expectRead = [](const std::string& text, long long expected, double number) {
        long long whole = -1;
        double read = -1;
        StringToNumber(whole, U_AsciiToUTF16String(text.c_str()), kReadNoLocaleMarks);
        StringToNumber(read, U_AsciiToUTF16String(text.c_str()), kReadNoLocaleMarks);
        EXPECT_EQ(read, number) << text;
        EXPECT_EQ(whole, expected) << text;
    };
    for (const auto& [text, whole, number] : rows)
        expectRead(text, whole, number);
    for (const char* none : {"", " ", "nonsense", "nan", "inf", "-", "+-5", ".", "e5", ",5", "- 5"})
        expectRead(none, -1, -1);
}

TEST_F(Format, NumbersAreReadWithTheUsersMarks)
{
    const std::tuple<const char*, const char*, double> rows[] = {
        {"en_US", "1,234,567.25", 1234567.25},
        {"de_DE", "1.234.567,25", 1234567.25},
        {"de_DE", "1,234.5", 1.234},
        {"en_US", "1e1,5", 10},
        {"en_US", "-1,5.5e1", -155},
        {"de_DE", ".5", -1},
        {"en_US", "1E1,5", 10},
        {"en_US", "-,5", -1}};
    for (const auto& [locale, text, number] : rows)
    {
        platform::SetUserLocale(locale);
        double read = -1;
        StringToNumber(read, U_AsciiToUTF16String(text), 0);
        EXPECT_EQ(read, number) << text;
    }
}

TEST_F(SystemDates, PicturesSelectThePartsOfADate)
{
    const std::string tooLong = "de_DE_" + std::string(200, 'X');
    const std::tuple<const char*, std::u16string, std::string> rows[] = {
        {"en_US", u"d dd ddd dddd ddddd", "1 01 Tue Tuesday Tuesday"},
        {"en_US", u"M MM MMM MMMM yy, yyyy g", "3 03 Mar March 05, 2005 AD"},
        {"en_US", u"'d''y' hEt 'd'd", "d'y hEt d1"},
        {"en_US", u"d''", "1"},
        {"en_US", u"d''''", "1'"},
        {"en_US", u"d'a''", "1a'"},
        {"en_US", u"'a'''d", "a'1"},
        {"en_US", u"", ""},
        {"en_US", u"yy", "05"},
        {"en_US", u"'" + std::u16string(150, u'x') + u"'", std::string(150, 'x')},
        {"ru_RU", u"MMMM yyyy", "март 2005"}, // without a day, a month has another form
        {"ru_RU", u"d MMMM", "1 марта"},
        {IsWindows() ? "en_US" : tooLong.c_str(), u"ddd", "Tue"}, // the default
    };
    for (const auto& [locale, picture, expected] : rows)
    {
        if (IsWine() && picture == u"MMMM yyyy")
            continue; // Wine knows one form of a month
        platform::SetUserLocale(locale);
        unsigned short text[200];
        const int size = win32::GetDateFormatW(win32::kLocaleUserDefault, 0, &kTime,
                                               Units(picture).c_str(), text, 200);
        EXPECT_EQ(size, static_cast<int>(U_UTF16String(text).size()) + 1);
        EXPECT_EQ(Narrow(text), expected);
        EXPECT_EQ(win32::GetDateFormatW(win32::kLocaleUserDefault, 0, &kTime,
                                        Units(picture).c_str(), text, size - 1) == 0,
                  size > 1)
            << "the buffer is too small";
    }
}

TEST_F(SystemDates, WithoutMemoryCallsFailAndTheNextCallFollowsTheLocale)
{
    const unsigned int kUser = win32::kLocaleUserDefault;
    unsigned short text[64];
    const std::pair<const char*, std::function<int()>> calls[] = {
        {"date", [&] { return win32::GetDateFormatW(kUser, 0, &kTime, nullptr, text, 64); }},
        {"time", [&] { return win32::GetTimeFormatW(kUser, 0, &kTime, nullptr, text, 64); }},
        {"pictures",
         [&] {
             return win32::EnumDateFormatsExEx(
                 [](unsigned short*, unsigned int, long long) { return 0; }, nullptr,
                 win32::kDateShortDate, 0);
         }},
    };
    for (const auto& [name, call] : calls)
    {
        const auto& run = call;
        int result = 0;
        const auto body = [&] {
            win32::SetLastError(0);
            result = run();
        };
        const auto check = [&, name = name](long nth) {
            SCOPED_TRACE(testing::Message() << name << " " << nth);
            EXPECT_EQ(win32::GetLastError(), result ? 0 : win32::kErrorNotEnoughMemory);
            platform::SetUserLocale("de_DE");
            ASSERT_NE(win32::GetDateFormatW(kUser, 0, &kTime, nullptr, text, 64), 0);
            EXPECT_EQ(Narrow(text), IsWine() ? "1.3.2005" : "01.03.2005");
            platform::SetUserLocale("en_US");
        };
        // Windows formats dates with memory of its own.
        EXPECT_TRUE(FailEachNew(body, check) > 0 || IsWindows()) << name;
    }
}
