// Numbers as text, their marks, sizes for people, and messages filled with values.

#include <cstring>
#include <limits>
#include <tuple>

#include "U_Format.h"
#include "U_Lifecycle.h"
#include "fuzz/code_thrown.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/System.h"
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

typedef BornLibrary SubString;

// Fills a message by all three functions, which must agree.
template <class... Arguments> std::string Filled(const char* format, const Arguments&... arguments)
{
    const U_UTF16String wide = U_MBToUTF16String(format);
    char narrow[1024];
    EXPECT_EQ(U_SubString(narrow, sizeof(narrow), format, arguments...), 0);
    U_UTF16String out = Units(u"before");
    EXPECT_EQ(U_SubString(out, wide, arguments...), 0);
    EXPECT_EQ(out, U_MBToUTF16String(narrow));
    EXPECT_EQ(U_SubString16(wide, arguments...), out);
    return narrow;
}

// Returns the code of a message that all three functions refuse.
template <class... Arguments> int Refused(const char* format, const Arguments&... arguments)
{
    const U_UTF16String wide = U_MBToUTF16String(format);
    U_UTF16String out = Units(u"before");
    const int code = U_SubString(out, wide, arguments...);
    EXPECT_EQ(out, Units(u"before"));
    for (unsigned int size : {0u, 1u, 100u})
    {
        char narrow[] = "before";
        EXPECT_EQ(U_SubString(narrow, size, format, arguments...), code);
        EXPECT_STREQ(narrow, "");
    }
    EXPECT_EQ(CodeThrown([&] { U_SubString16(wide, arguments...); }), code);
    return code;
}
} // namespace

TEST_F(Numbers, OptionsSetTheFormOfANumber)
{
    ExpectTexts({
        {FormatNum(5, 2 | 8, 6, 0), "   ,  5"}, // the pad is grouped too
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
}

TEST_F(Numbers, MarksAreThoseOfTheUser)
{
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
    const std::string kTooLong(200, 'x');
    const std::tuple<const char*, unsigned int, char, char> lives[] = {
        {"de_DE", 1252, ',', '.'},
        {"fr_FR", 65001, ',', ','}, // a thousands mark of two bytes
        {"fr_FR", 1252, ',', '\xA0'},
        {"de_CH", 1252, '.', '\x92'},
        {"fa_IR", 65001, '.', ','}, // the digits are those of ASCII
        // The user's own marks in place of those of a locale that the system does not know.
        {"xx_YY", 1252, '.', ','},
        {"\xE9_DE", 1252, '.', ','},
        {kTooLong.c_str(), 1252, '.', ','},
        {nullptr, 1252, '.', ','},
    };
    for (const auto& [locale, codePage, decimal, thousands] : lives)
    {
        SCOPED_TRACE(locale ? locale : "none");
        const bool isOfTheUser = codePage == 1252 && thousands == ',';
        if (isOfTheUser && IsWindows() && !IsWine())
            continue; // the user of Wine has the marks of English
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
}

TEST_F(Numbers, ScanningReadsAPlainNumberOrOneWithTheUsersMarks)
{
    const std::tuple<const char*, char, std::string, double> scans[] = {
        {"en_US", 0, " 12.5 GB", 12.5},
        {"en_US", 0, "1,234.5", 1}, // a thousands mark ends the number
        {"en_US", 1, "+.5", .5},
        {"de_DE", 1, "1,5", 1},
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
    EXPECT_EQ(U_LongFormatBytes(~U_u64(0)), Units(u"17179869183 GB"));
    platform::SetUserLocale("de_DE");
    EXPECT_EQ(U_LongFormatBytes(1, nullptr), nullptr);

    const std::u16string kLong(300, u'x');
    DictionaryImage image = BinaryImage(
        {{"/QX/U/ByteSizeFormat/Bytes", u"octets"}, {"/QX/U/ByteSizeFormat/MegaBytes", kLong}});
    ASSERT_EQ(LoadDictionary(image), 0);
    EXPECT_EQ(U_LongFormatBytes(12), Units(u"12 octets"));
    EXPECT_EQ(U_LongFormatBytes(kMiB), Units(u"1,0 " + kLong.substr(0, 251)));
}

TEST_F(SubString, ArgumentsFillPlaceholders)
{
    const char* const kNone = nullptr;
    ExpectTexts({
        {Filled("^0 ^a ^l1 ^LL1", "a"), "^0 ^a ^l1 ^LL1"},
        {Filled("^12", "a"), "a2"},
        {Filled("^9^8^7^6^5^4^3^2^1", "1", "2", "3", "4", "5", "6", "7", "8", "9"), "987654321"},
        {Filled("nothing", kNone, 5), "nothing"}, // arguments without a placeholder
        // Values that look like placeholders.
        {Filled("^L^12 ^L2", "", 7), "7 ^L2"}, // the value completes a placeholder
        {Filled("^L3 ^2^1^F4@1.1@ ^1^5", "", "ab", 7, 0.5, "c"), "7 ab0.5 ^1c"},
        {Filled("text too long for ^L1-byte buffer ('^2').", 512u, "abc"),
         "text too long for 512-byte buffer ('abc')."},
    });
}

TEST_F(SubString, IntegersOfEitherWidthFillPlaceholders)
{
    ExpectTexts({
        {Filled("^L1", 0xFFFFFFFFu), "-1"}, // as "%i" prints it
        {Filled("^B1", 0xFFFFFFFFu), "4294967295"},
        {Filled("^B1", ~U_u64(0)), "-1"},
        {Filled("^B1", std::numeric_limits<U_i64>::min()), "-9223372036854775808"},
    });
}

TEST_F(SubString, SpecificationsSetTheFormOfANumber)
{
    ExpectTexts({
        {Filled("^F1@3.1@", 2.5), "002.5"},
        {Filled("^F1@1.3zs@", 1234.5), "1,234.5"},
        {Filled("^F1@3@!", 2.5), "002.50!"},
        {Filled("^F1@5.1 @", 2.5), "    2.5"},
        {Filled("^F1@1.0+@ ^F2@1.0p@ ^F3@1.0n@", 5, 6, 7), "+5  6 7"},
        {Filled("^F1@1.1qxz@", 2.0), "2"}, // letters that mean nothing
        {Filled("^F1@1.\t\n\v\f\r3@", 2.5), "2.500"},
        {Filled("^F1@1.-3@", 2.4), "2"},
        {Filled("^F1@1.+3@", 2.5), "+2.500"},
        {Filled("^F1@1. 3@", 2.5), "2.500"},
        {Filled("^F1@1.@", 2.5), "2.50"},
        {Filled("^F1@1.z@", 2.5), "2.5"},
        {Filled("^F1@3z@", 2.5), "002.5"},
        {Filled("^F1@1.\1@", 2.5), "2.50"},
        {Filled("^F1@@", 2.5), "2.50"},
        {Filled("^F1@bad", 0.5), "0.50bad"}, // no second "@"
        {Filled("^F1@1.0@@1.0@", 2.5), "2@1.0@"},
        {Filled("^F1@1.0^F2", 2.5, 3.5), "2.501.03.5"},
        {Filled("^F2^1", "@3.0@", 2.5), "002"}, // a value is the form of the number
        {Filled("^F1@^2@ ^2", 2.5, "x"), "2.50 x"},
        {Filled("^F1@99999999999999999999.1@", 1.5), std::string(28, '0') + "1.5"},
    });
}

TEST_F(SubString, FaultsOfASpecificationAreWarnings)
{
    char out[100];
    const std::string letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefgh"; // two more than are reported
    for (const std::string& format :
         {std::string("^F1@1.1nz+@"), std::string("^F1@bad"), std::string("^F1@1.\t3qq\tq@"),
          std::string("^F1@\xE9@"), "^F1@" + letters + "@"})
        EXPECT_EQ(U_SubString(out, sizeof(out), format.c_str(), 2.5), 0);
    Texts expected;
    for (const std::string warning :
         {"missing 2nd '@' in format string", "unknown format char '\t'", "unknown format char 'q'",
          "unknown format char '\xC3\xA9'"})
        expected.push_back("Test Host warning: " + warning + "\n\n( 23 :: 27 )");
    for (const char letter : letters.substr(0, 32))
        expected.push_back(std::string("Test Host warning: unknown format char '") + letter +
                           "'\n\n( 23 :: 27 )");
    EXPECT_EQ(mAlerts.Texts(), expected);
}

TEST_F(SubString, AWarningThatChangesTheLocaleCutsNoMark)
{
    const ScActiveCodePage active(65001);
    platform::SetUserLocale("en_US");
    mAlerts.mWhileUp = [](const platform::Alert&) { platform::SetUserLocale("fr_FR"); };
    char out[100];
    EXPECT_EQ(U_SubString(out, sizeof(out), "^F1@1.1sq@", 1234.5), 0);
    EXPECT_STREQ(out, "1,234.5"); // the thousands mark of fr_FR has two bytes
    platform::SetUserLocale("en_US");
}

// "^1" and "^L1" are different placeholders, although the digit is the same.
TEST_F(SubString, ATranslationThatTakesOtherValuesIsReplacedByTheEnglishText)
{
    const char* const kMessage = "$$$/m=^^1 in ^^L2 of ^^F3";
    const char* const kTemplate = "$$$/m=@0 is now @1";
    const std::tuple<const char*, std::u16string, bool> rows[] = {
        {kMessage, u"^^L2: ^^1, ^^F3@1.3s@ %n", true},
        {kMessage, u"^^1 ^^L2 ^^F3 ^^1", true},
        {kMessage, u"^^1 ^^L2 ^^F3 ^^0", true}, // no placeholder
        {kMessage, u"^^1 ^^L2 ^^F3 ^^4", false},
        {kMessage, u"^^1 ^^L2", false},
        {kMessage, u"^^L1 ^^L2 ^^F3", false},
        {kMessage, u"^^1 ^^L2 ^^F3 ^^L1", false},
        {kMessage, u"^^1 ^^B2 ^^F3", false},
        {kMessage, u"", false},
        {kTemplate, u"@1, @0, @0", true},
        {kTemplate, u"@0", false},
        {kTemplate, u"@0 @1 @9", false},
        {kTemplate, u"@ 0 @1", false},
    };
    for (const auto& [zstring, translation, isUsed] : rows)
    {
        DictionaryImage image = TextImage(u"\"$$$/m=" + translation + u"\"\r\n");
        ASSERT_EQ(LoadDictionary(image), 0);
        const U_UTF16String expected =
            isUsed ? U_ZStringToUTF16String(zstring) : U_ZStringToEnglishUTF16String(zstring);
        EXPECT_EQ(U_ZStringToFormat(zstring), expected) << Narrow(Units(translation));
    }
    EXPECT_EQ(U_ZStringToFormat("$$$/none=100%"), Units(u"100%"));
    EXPECT_EQ(U_ZStringToFormat("$$$/m"), U_ZStringToUTF16String("$$$/m")) << "no English text";
}

TEST_F(SubString, AnArgumentOfAnotherKindIsRefused)
{
    const char* const kNone = nullptr;
    const U_u16* const kNoUnits = nullptr;
    EXPECT_EQ(Refused("^B1", 0.5), 3);
    EXPECT_EQ(Refused("^F1", "a"), 3);
    EXPECT_EQ(Refused("^1 ^2", "a", kNone), 3);
    EXPECT_EQ(Refused("^1 ^2", "a", kNoUnits), 3);
    char out[] = "before";
    EXPECT_EQ(U_SubString(out, 7, nullptr, "a"), 3);
    EXPECT_STREQ(out, "");
    EXPECT_EQ(U_SubString(static_cast<char*>(nullptr), 7, "a"), 3);
}

TEST_F(SubString, FillsTextThatTheCodePageLacks)
{
    const U_UTF16String value = Units(u"\u4E00\u2206");
    U_UTF16String out = Units(u"^1 \U0001F600 ^2");
    // The result may be the format or an argument.
    EXPECT_EQ(U_SubString(out, out, value.c_str(), out.c_str()), 0);
    EXPECT_EQ(out, Units(u"\u4E00\u2206 \U0001F600 ^1 \U0001F600 ^2"));
    EXPECT_EQ(U_SubString16(Units(u"^1\u4E00"), "\xE9\xBC"), Units(u"\u00E9\u2206\u4E00"));
    char narrow[] = "x^1";
    EXPECT_EQ(U_SubString(narrow, sizeof(narrow), narrow, value.c_str()), 0);
    EXPECT_STREQ(narrow, "x?\xBC");
}

TEST_F(SubString, BuffersHoldWholeCharacters)
{
    const std::string kKana = "\x83\x5C";
    const std::string kManyBytes(1021, 'a');
    const std::tuple<unsigned int, unsigned int, std::string, std::size_t> cuts[] = {
        {1252, 0, kManyBytes + "bcdef", 1023},
        {1252, 2000, kManyBytes + "bcdef", 1023},
        {1252, 3, "abc", 2},
        {932, 0, kManyBytes + "b" + kKana, 1022},
        {932, 4, "a" + kKana + kKana, 3},
        {65001, 5, "a\xE3\x82\xBD\xE3\x82\xBD", 4},
        {65001, 4, "a\xE3\x82\xBD\xE3\x82\xBD", 1},
    };
    for (const auto& [codePage, size, value, length] : cuts)
    {
        SCOPED_TRACE(testing::Message() << codePage << " at " << size);
        const ScActiveCodePage active(codePage);
        char out[2048];
        std::memset(out, 'Z', sizeof(out));
        EXPECT_EQ(U_SubString(out, size, "^1", value.c_str()), 0);
        EXPECT_EQ(out, value.substr(0, length));
        EXPECT_EQ(out[size ? size : 1024], 'Z');
    }
}
