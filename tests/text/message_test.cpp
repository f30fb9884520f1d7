// Messages: placeholders filled with values.

#include <cstring>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include <platform/control.h>

#include "U_Encoding.h"
#include "U_Format.h"
#include "U_ZString.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/CodeThrown.h"
#include "tests/support/DictionaryImage.h"
#include "tests/support/Text.h"

namespace
{
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

TEST_F(SubString, ArgumentsFillPlaceholders)
{
    const char* const kNone = nullptr;
    ExpectTexts({
        {Filled("^2 before ^1", "a", "b"), "b before a"},
        {Filled("^1 ^1", "a", "b"), "a ^1"}, // a digit is filled once
        {Filled("^1, ^2, ^3", "a", "b"), "a, b, ^3"},
        {Filled("^1"), "^1"},
        {Filled("^0 ^a ^l1 ^LL1", "a"), "^0 ^a ^l1 ^LL1"},
        {Filled("^^1 100^", "a"), "^a 100^"},
        {Filled("^12", "a"), "a2"},
        {Filled("^9^8^7^6^5^4^3^2^1", "1", "2", "3", "4", "5", "6", "7", "8", "9"), "987654321"},
        {Filled("nothing", kNone, 5), "nothing"}, // arguments without a placeholder
        // Types of one digit, in their order.
        {Filled("^B1 ^F1 ^L1", 5), "^B1 ^F1 5"},
        // Values that look like placeholders.
        {Filled("^1 ^2", "x^2y", "z"), "xzy ^2"},
        {Filled("^1 ^L2", "^2", 7), "^2 7"},
        {Filled("^1 ^L2", "^L2", 7), "7 ^L2"},
        {Filled("text too long for ^L1-byte buffer ('^2').", 512u, "abc"),
         "text too long for 512-byte buffer ('abc')."},
    });
}

TEST_F(SubString, IntegersOfEitherWidthFillPlaceholders)
{
    ExpectTexts({
        {Filled("^L1", std::numeric_limits<int>::min()), "-2147483648"},
        {Filled("^L1", 0xFFFFFFFFu), "-1"},               // as "%i" prints it
        {Filled("^L1", U_i64(1) << 40), "1099511627776"}, // not cut to 32 bits
        {Filled("^B1", 0xFFFFFFFFu), "4294967295"},
        {Filled("^B1", U_i64(1) << 40), "1099511627776"},
        {Filled("^B1", ~U_u64(0)), "-1"},
        {Filled("^B1", std::numeric_limits<U_i64>::min()), "-9223372036854775808"},
        {Filled("^F1", 0.5), "0.5"},
        {Filled("^F1", 2), "2"},
        {Filled("^F1", U_i64(1) << 40), "1099511627776"},
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
        {Filled("^F1@bad", 0.5), "0.50bad"}, // no second "@"
        {Filled("^F1@1.0@@1.0@", 2.5), "2@1.0@"},
        {Filled("^F1@1.0^F2", 2.5, 3.5), "2.501.03.5"},
        {Filled("^F1@99999999999999999999.1@", 1.5), std::string(28, '0') + "1.5"},
    });
    platform::SetUserLocale("de_DE");
    EXPECT_EQ(Filled("^F1@1.1s@ ^F2@1.1n@", 1234.5, 0.5), "1.234,5 0.5");
}

TEST_F(SubString, FaultsOfASpecificationAreWarnings)
{
    char out[100];
    const std::string letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefgh"; // two more than are reported
    for (const std::string& format :
         {std::string("^F1@1.1nz+@"), std::string("^F1@bad"), std::string("^F1@1.\t3qq\tq@"),
          std::string("^F1@\xE9@"), "^F1@" + letters + "@"})
        EXPECT_EQ(U_SubString(out, sizeof(out), format.c_str(), 2.5), 0);
    std::vector<std::string> expected;
    for (const std::string warning :
         {"missing 2nd '@' in format string", "unknown format char '\t'", "unknown format char 'q'",
          "unknown format char '\xC3\xA9'"})
        expected.push_back("Test Host warning: " + warning + "\n\n( 23 :: 27 )");
    for (const char letter : letters.substr(0, 32))
        expected.push_back(std::string("Test Host warning: unknown format char '") + letter +
                           "'\n\n( 23 :: 27 )");
    EXPECT_EQ(mAlerts.Texts(), expected);
}

// "^1" and "^L1" are different placeholders, although the digit is the same.
TEST_F(SubString, ATranslationThatTakesOtherValuesIsReplacedByTheEnglishText)
{
    const char* const kMessage = "$$$/m=^^1 in ^^L2 of ^^F3";
    const char* const kTemplate = "$$$/m=@0 is now @1";
    const std::tuple<const char*, std::u16string, bool> rows[] = {
        {kMessage, u"^^L2: ^^1, ^^F3@1.3s@ %n", true},
        {kMessage, u"^^1 ^^L2 ^^F3 ^^1", true},
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
    EXPECT_EQ(Refused("^1", 5), 3);
    EXPECT_EQ(Refused("^L1", "a"), 3);
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
