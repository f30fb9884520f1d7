// Numbers as text, their marks, and sizes for people.

#include <cstring>
#include <limits>
#include <string>
#include <tuple>
#include <utility>

#include <platform/control.h>

#include "U_Encoding.h"
#include "U_Format.h"
#include "U_Lifecycle.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/DictionaryImage.h"
#include "tests/support/Text.h"

namespace
{
typedef BornLibrary Numbers;
typedef BornLibrary ByteSizes;

// Checks that U_FormatNum writes a terminated text of at most 32 bytes.
std::string FormatNum(double value, unsigned int flags, int integerDigits, unsigned int decimals)
{
    char buffer[32 + 8];
    std::memset(buffer, 'Z', sizeof(buffer));
    EXPECT_EQ(U_FormatNum(value, flags, integerDigits, decimals, buffer), 0);
    EXPECT_EQ(std::string(buffer + 32, 8), "ZZZZZZZZ");
    EXPECT_NE(std::memchr(buffer, 0, 32), nullptr);
    return buffer;
}
} // namespace

TEST_F(Numbers, OptionsSetTheFormOfANumber)
{
    ExpectTexts({
        {FormatNum(1234.5, 0, 1, 2), "1234.50"},
        {FormatNum(5, 2, 3, 1), "  5.0"},
        {FormatNum(-5, 2, 3, 0), "-  5"},
        {FormatNum(5, 2 | 8, 6, 0), "   ,  5"}, // the pad is grouped too
        {FormatNum(5, 8, 7, 0), "0,000,005"},
        {FormatNum(1200, 4, 1, 0), "1200"}, // zeros of no fraction
        {FormatNum(7, 16 | 32, 1, 0), "+7"},
        {FormatNum(-0.0, 0, 1, 2), "0.00"},
        {FormatNum(-0.001, 0, 1, 2), "-0.00"},
        {FormatNum(5, 0, -3, 1), "5.0"},
        // From 23 characters on.
        {FormatNum(1e30, 4 | 8, 40, 2), "1.000000e+30"},
        {FormatNum(1.5, 0, 1, 20), "1.50000000000000000000"},
        {FormatNum(1.5, 0, 1, 21), "1.500000e+00"},
        // Too long for 32 bytes.
        {FormatNum(-1e21, 8, 1, 0), "-1,000,000,000,000,000,000,000"},
        {FormatNum(5, 0, 400, 2), std::string(27, '0') + "5.00"},
        {FormatNum(-5, 8, 400, 0), "-00,000,000,000,000,000,000,005"},
        {FormatNum(1.5, 0, std::numeric_limits<int>::max(), ~0u), "1.500000e+00"},
        {FormatNum(std::numeric_limits<double>::infinity(), 2, 9, 2), "inf"},
        {FormatNum(std::numeric_limits<double>::quiet_NaN(), 2, 9, 2), "nan"},
    });
    EXPECT_EQ(U_FormatNum(1, 0, 1, 1, nullptr), 3);
}

TEST_F(Numbers, MarksAreThoseOfTheUser)
{
    platform::SetUserLocale("de_DE");
    ExpectTexts({
        {FormatNum(1234567.25, 8, 1, 2), "1.234.567,25"},
        {FormatNum(1234567.25, 1 | 8, 1, 2), "1,234,567.25"},
    });

    platform::SetUserLocale("fr_FR"); // its mark is octal here, since digits follow it
    ExpectTexts({
        {FormatNum(1234567.25, 8, 1, 2), "1\240234\240567,25"},
        {FormatNum(-1e21, 8, 1, 0), "-1\240000\240000\240000\240000\240000\240000\240000"},
    });

    const ScActiveCodePage active(65001);
    ExpectTexts({
        {FormatNum(1234.5, 8, 1, 1), "1\302\240234,5"},
        {FormatNum(1e21, 8, 1, 0), "1,000000e+21"}, // 36 bytes otherwise
        {FormatNum(5, 8, 20, 0),
         "0\302\240000\302\240000\302\240000\302\240000\302\240000\302\240005"}, // the pad is cut
    });
}

TEST_F(Numbers, BirthReadsMarksOfOneByte)
{
    const std::tuple<const char*, unsigned int, char, char> lives[] = {
        {"de_DE", 1252, ',', '.'},
        {"fr_FR", 65001, ',', ','}, // a thousands mark of two bytes
        {"fr_FR", 1252, ',', '\xA0'}};
    for (const auto& [locale, codePage, decimal, thousands] : lives)
    {
        SCOPED_TRACE(locale);
        ASSERT_EQ(U_Death(), 0);
        const ScActiveCodePage active(codePage);
        platform::SetUserLocale(locale);
        ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
        platform::SetUserLocale(nullptr);
        EXPECT_EQ(U_DecimalChar(), decimal);
        EXPECT_EQ(U_ThousandsChar(), thousands);
    }
}

TEST_F(Numbers, MarksAreExchangedInPlace)
{
    const std::string kLong(254, '1');
    const std::tuple<unsigned int, std::string, std::string> exchanges[] = {
        {1252, "", ""},
        {1252, "1,234.5 GB \xE9", "1\240234,5 GB \xE9"},
        {932, "1.5 \x83\x5C", "1,5 \x83\x5C"},
        {65001, "1,234.5", "1\302\240234,5"},
        // Cut at a character.
        {1252, kLong + "23", kLong + "2"},
        {932, kLong + "\x83\x5C", kLong},
        {65001, kLong + ",", kLong}, // the mark has two bytes
    };
    platform::SetUserLocale("fr_FR");
    for (const auto& [codePage, plain, marked] : exchanges)
    {
        const ScActiveCodePage active(codePage);
        std::string text = plain;
        text.resize(256 + 1);
        EXPECT_EQ(U_InternationalizeNum(&text[0]), 0);
        EXPECT_EQ(text.c_str(), marked);
        EXPECT_EQ(U_DeInternationalizeNum(&text[0]), 0);
        EXPECT_EQ(text.c_str(), plain.substr(0, marked.size()));
    }
    EXPECT_EQ(U_InternationalizeNum(nullptr), 3);
    EXPECT_EQ(U_DeInternationalizeNum(nullptr), 3);
}

TEST_F(Numbers, ScanningReadsAPlainNumberOrOneWithTheUsersMarks)
{
    const std::tuple<const char*, char, std::string, double> scans[] = {
        {"en_US", 0, " 12.5 GB", 12.5},
        {"en_US", 0, "1,234.5", 1}, // a thousands mark ends the number
        {"en_US", 1, "+.5", .5},
        {"de_DE", 0, "1,5", 1.5},
        {"de_DE", 1, "1,5", 1},
        {"de_DE", 1, "1.5", 1.5},
        {"en_US", 0, std::string(30, ' ') + "12", 1}, // 31 bytes are read
        {"en_US", 1, std::string(30, ' ') + "12", 12},
    };
    for (const auto& [locale, flags, whole, scanned] : scans)
    {
        SCOPED_TRACE(whole);
        platform::SetUserLocale(locale);
        std::string text = whole;
        double number = -1;
        EXPECT_EQ(U_ScanNum(&text[0], flags, &number), 0);
        EXPECT_EQ(number, scanned);
        EXPECT_EQ(text, whole);
    }
    char text[] = "1";
    double number = -1;
    EXPECT_EQ(U_ScanNum(nullptr, 0, &number), 3);
    EXPECT_EQ(U_ScanNum(text, 0, nullptr), 3);
}

TEST_F(Numbers, HexadecimalDigitsHaveValues)
{
    const std::string kDigits = "0123456789abcdefABCDEF";
    for (int c = -128; c < 128; ++c)
    {
        const std::size_t index = kDigits.find(static_cast<char>(c));
        const bool isDigit = index != std::string::npos;
        unsigned char value = 99;
        unsigned char valid = 99;
        EXPECT_EQ(U_HexChar2Nibble(static_cast<char>(c), &value, &valid), 0);
        EXPECT_EQ(valid, isDigit ? 1 : 0) << c;
        EXPECT_EQ(value, !isDigit ? 0 : index < 16 ? index : index - 6) << c;
    }
    EXPECT_EQ(U_HexChar2Nibble('a', nullptr, nullptr), 0);
}

TEST_F(ByteSizes, AreWrittenInTheLargestUnitThatTheyFill)
{
    const std::pair<U_u64, const char*> sizes[] = {{0, "0 KB"},
                                                   {12, "12 bytes"},
                                                   {1023, "1023 bytes"},
                                                   {1024, "1 KB"},
                                                   {1048576, "1.0 MB"},
                                                   {kMiB * 3 / 2, "1.5 MB"},
                                                   {100 * kMiB, "100 MB"},
                                                   {1073741823, "1023 MB"},
                                                   {1073741824, "1.0 GB"},
                                                   {~U_u64(0), "17179869183 GB"}};
    for (const auto& [size, text] : sizes)
    {
        char out[256];
        EXPECT_EQ(U_LongFormatBytes(size, out), out);
        EXPECT_STREQ(out, text);
        EXPECT_EQ(U_LongFormatBytes(size), U_AsciiToUTF16String(text));
    }
    platform::SetUserLocale("de_DE");
    EXPECT_EQ(U_LongFormatBytes(kMiB * 3 / 2), Units(u"1,5 MB"));
    EXPECT_EQ(U_LongFormatBytes(1, nullptr), nullptr);

    const std::u16string kLong(300, u'x');
    DictionaryImage image = BinaryImage(
        {{"/QX/U/ByteSizeFormat/Bytes", u"octets"}, {"/QX/U/ByteSizeFormat/MegaBytes", kLong}});
    ASSERT_EQ(LoadDictionary(image), 0);
    EXPECT_EQ(U_LongFormatBytes(12), Units(u"12 octets"));
    EXPECT_EQ(U_LongFormatBytes(kMiB), Units(u"1,0 " + kLong.substr(0, 251)));
}
