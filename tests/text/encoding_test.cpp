// Conversions between encodings, byte types, cuts and splits.

#include "U_Encoding.h"

#include <cstdlib>
#include <new>
#include <tuple>
#include <utility>

#include <krobase/text.h>

#include "U_Interact.h"
#include "fuzz/code_thrown.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/FailingNew.h"
#include "tests/support/System.h"
#include "tests/support/Text.h"

namespace
{
// Runs a conversion, which makes the tables of a code page, with each allocation failing in
// turn. Returns true if each run returned the right text or failed for lack of memory.
template <class Convert> bool ConvertsAfterEachFailure(Convert convert)
{
    bool isRight = true;
    const auto run = [&] {
        try
        {
            isRight &= convert();
        }
        catch (const std::bad_alloc&)
        {
        }
        catch (int code)
        {
            isRight &= code == 8;
        }
    };
    const long points = FailEachNew(run, [](long) {});
    // Windows has the tables of code pages in memory of its own.
    return (points > 0 || IsWindows()) && isRight && convert();
}

typedef BornLibrary RefusedConversion;
typedef BornLibrary PageDeathTest;
} // namespace

TEST(Encoding, TextInTheActiveCodePageConvertsToUTF16AndBack)
{
    const std::tuple<unsigned int, std::string, std::u16string> rows[] = {
        {1252, std::string("\xBC\0\xBC", 3),
         std::u16string(u"\u2206\0\u2206", 3)}, // the substitute
        {1251, "\xCF\xF0\xBC\x86", u"\u041F\u0440\u0458\u2206"},
    };
    for (const auto& [codePage, bytes, units] : rows)
    {
        SCOPED_TRACE(codePage);
        const ScActiveCodePage active(codePage);
        EXPECT_EQ(U_GetPlatformSpecificCurrentTextEncodingForSerialization(), codePage);
        EXPECT_EQ(U_MBToUTF16String(bytes), Units(units));
        EXPECT_EQ(U_MBToUTF16String(bytes.c_str()), Units(units.c_str()));
        EXPECT_EQ(U_UTF16ToMBString(Units(units), true), bytes);
        EXPECT_EQ(U_UTF16ToMBString(Units(units).c_str(), true), bytes.c_str());
    }
}

// Long texts are converted in pieces. Each row, after heads of all lengths around the length of a
// piece, comes to their boundary with each of its elements.
TEST(Encoding, LongTextsKeepTheirCharactersWhole)
{
    const std::pair<std::string, std::u16string> rows[] = {
        {"\xC3\xA9\xE3\x81\x82\xF0\x9F\x98\x80", u"\u00E9\u3042\U0001F600"},
        {"\xE3\x81\x82\x80\x80\xF0\x9F\x98", u"\u3042\uFFFD\uFFFD\uFFFD"},
        {"\x80\x80\x80\x80\x80\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"},
    };
    for (const auto& [bytes, units] : rows)
    {
        const bool isDamaged = units.find(u'\uFFFD') != std::u16string::npos;
        // Texts are converted in pieces of 4,096 elements.
        for (std::size_t head = 4088; head <= (IsWine() && isDamaged ? 0 : 4098); ++head)
        {
            SCOPED_TRACE(head);
            const std::string text = std::string(head, 'x') + bytes + std::string(5000, 'y');
            const U_UTF8String narrow(text.begin(), text.end());
            const U_UTF16String wide =
                Units(std::u16string(head, u'x') + units + std::u16string(5000, u'y'));
            EXPECT_EQ(U_UTF8To16String(narrow), wide);
            EXPECT_TRUE(isDamaged || U_UTF16To8String(wide) == narrow);
        }
    }
    const U_UTF16String halves = Units(std::u16string(4095, u'x') + u"\xD83D" + u"x\xDE00");
    EXPECT_EQ(U_UTF16ToMBString(halves, false).substr(4095), "?x?");
    const ScActiveCodePage active(65001);
    EXPECT_EQ(U_UTF16ToMBString(halves, false).substr(4095), "\uFFFDx\uFFFD");
    const U_UTF16String late =
        Units(std::u16string(5000, u'x') + u"\u4E00" + std::u16string(5000, u'x'));
    const ScActiveCodePage latin(1252);
    EXPECT_EQ(CodeThrown([&] { U_UTF16ToMBString(late, true); }), 10);
}

// Short ASCII text is copied without a conversion. U+0161 has the low byte of "a".
TEST(Encoding, ShortTextsKeepEachCharacter)
{
    for (std::size_t length = 0; length <= 260; ++length)
    {
        SCOPED_TRACE(length);
        EXPECT_EQ(U_UTF16To8String(Units(std::u16string(length, u'\u007F'))),
                  Bytes(std::string(length, '\x7F')));
        for (const std::size_t tail : {length, length / 2, std::size_t(0)})
        {
            const std::string a(tail, 'a');
            const std::string x(length - tail, 'x');
            const std::u16string wideA(tail, u'a');
            const std::u16string wideX(length - tail, u'x');
            EXPECT_EQ(U_UTF16To8String(Units(wideX + u"\u0161" + wideA)), Bytes(x + "\u0161" + a));
            EXPECT_EQ(U_UTF16To8String(Units(wideX + u"\u0080" + wideA)), Bytes(x + "\u0080" + a));
        }
    }
}

TEST(Encoding, ExactRefusesACharacterThatTheCodePageLacks)
{
    const std::tuple<unsigned int, std::u16string, int, std::string> rows[] = {
        {1252, u"a\u4E00b", 10, "a?b"},       {1252, u"\u0101", 10, "a"}, {932, u"\u00A9", 10, "c"},
        {1252, u"\u00E9", 0, "\xE9"},         {1251, u"\u00BC", 10, "?"}, {932, u"\u2206", 10, "?"},
        {65001, u"\xD800", 0, "\xEF\xBF\xBD"}};
    for (const auto& [codePage, wide, thrown, inexact] : rows)
    {
        SCOPED_TRACE(inexact);
        const ScActiveCodePage active(codePage);
        const U_UTF16String units = Units(wide);
        EXPECT_EQ(CodeThrown([&] { U_UTF16ToMBString(units, true); }), thrown);
        EXPECT_EQ(CodeThrown([&] { U_UTF16ToMBString(units.c_str(), true); }), thrown);
        EXPECT_EQ(U_UTF16ToMBString(units, false), inexact);
    }
}

TEST_F(RefusedConversion, IsReportedAsAProblem)
{
    const auto refuse = [] { U_ConvertEncodedStringToUnicode(1, 12345, "a"); };
    EXPECT_EQ(U_ConvertEncodedStringToUnicode(1, 12345, ""), Units(u""));
    const U_UTF16String inexact = Units(u"\u4E00");
    const auto loseCharacters = [&] { U_UTF16ToMBString(inexact, true); };
    const std::string alert =
        "Test Host error: could not convert Unicode characters.\n\n( 23 :: 46 )";
    EXPECT_EQ(CodeThrown(refuse), 87);
    EXPECT_EQ(CodeThrown(loseCharacters), 10);
    EXPECT_EQ(mAlerts.Texts(), Texts(2, alert));

    // The result of the report does not change the code.
    const U_LoggingCallback answersACode = [](void*, U_u32, U_u16, const char*) { return 5; };
    ASSERT_EQ(U_AddLoggingCallback(answersACode, nullptr), 0);
    EXPECT_EQ(CodeThrown(refuse), 87);
    EXPECT_EQ(CodeThrown(loseCharacters), 10);
    ASSERT_EQ(U_RemoveLoggingCallback(answersACode, nullptr), 0);
}

// In a process that has not used the code pages before. The out-of-memory handler converts text
// too.
TEST_F(PageDeathTest, TablesOfAPageAreMadeAfterAnyFailedAllocation)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            const bool isGreek = ConvertsAfterEachFailure([] {
                return U_ConvertEncodedStringToUnicode(1, 1253, "\xE1") == Units(u"\u03B1");
            });
            const ScActiveCodePage active(932);
            const bool isJapanese = ConvertsAfterEachFailure(
                [] { return U_MBToUTF16String("\x83\x5C") == Units(u"\u30BD"); });
            std::_Exit(isGreek && isJapanese ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Encoding, EncodedTextIsReadByCodePageOrMacintoshEncoding)
{
    const std::tuple<unsigned char, unsigned int, const char*, std::u16string> rows[] = {
        {0, 0, "\x8E", u"\u00E9"},           {0, 1, "\x83\x5C\xFD", u"\u30BD\u00A9"},
        {0, 1056, "\x83\x5C", u"\u30BD"},    {0, 1280, "\xE9\xBC", u"\u00E9\u2206"},
        {0, 1282, "\xCF", u"\u041F"},        {0, 2, "a", u""},
        {1, 1251, "\xCF", u"\u041F"},        {1, 65001, "\xC2\xBC", u"\u00BC"},
        {1, 0, "\xE9\xBC", u"\u00E9\u2206"},
    };
    for (const auto& [isCodePage, encoding, bytes, units] : rows)
    {
        SCOPED_TRACE(encoding);
        EXPECT_EQ(U_ConvertEncodedStringToUnicode(isCodePage, encoding, bytes), Units(units));
    }
}

TEST(Encoding, AsciiIsWidenedAndEnglishTextConvertsToTheActivePage)
{
    EXPECT_EQ(U_AsciiToUTF16String("a\x7F\x80\xFF"), Units(u"a\x7F\xFF80\xFFFF"));
    EXPECT_EQ(U_ConvertEnglishEncodedTextToCurrentEncoding("\xE9\x99\xBC"), "\xE9\x99\xBC");
    const ScActiveCodePage active(1251);
    EXPECT_EQ(U_ConvertEnglishEncodedTextToCurrentEncoding("\xE9\x99\xBC"), "e\x99?");
}

TEST(Encoding, UTF16IsCutAtCharacters)
{
    const U_UTF16String text = Units(u"a\U0001F600b\U0001F600");
    EXPECT_EQ(krobase::utility::TruncateStringToNumChars(text, 2, true), Units(u"a\U0001F600"));
}

TEST(Encoding, DamagedUTF8IsCutAtCharacters)
{
    const std::tuple<std::string, unsigned int, std::string> rows[] = {
        {"a\xFF", 2, "a\xFF"},
        {"a\xFFzz", 3, "a"}, // the damaged byte becomes a character of three
        {"a\xFFzzz", 4, "a\xEF\xBF\xBD"},
    };
    for (const auto& [given, bytes, left] : rows)
    {
        SCOPED_TRACE(testing::Message() << given << " at " << bytes);
        U_UTF8String text = Bytes(given);
        U_TruncateStringToByteSize(&text, bytes);
        EXPECT_EQ(text, Bytes(left));
    }
    const std::string before = "########";
    for (std::size_t size : {0u, 4u})
    {
        std::string out = before;
        U_CopyToUTF8Buf(Units(u"a\u30BDb"), size, reinterpret_cast<unsigned char*>(&out[0]));
        EXPECT_EQ(out.substr(size), before.substr(size)) << "written beyond the size";
    }
}

TEST(Encoding, TextIsSplitAtTheFirstOfOverlappingSeparatorsAndNotAtNothing)
{
    std::vector<U_UTF16String> parts;
    U_SplitUTF16String(Units(u"a---b--"), Units(u"--"), parts);
    U_SplitUTF16String(Units(u"ab"), Units(u""), parts);
    EXPECT_EQ(parts,
              (std::vector<U_UTF16String>{Units(u"a"), Units(u"-b"), Units(u""), Units(u"ab")}));
}

TEST(Encoding, ByteTypesFollowTheScript)
{
    EXPECT_EQ(U_CharByteFromScript("\x83\x5C", 1, 0), 0);
    EXPECT_EQ(U_CharByteFromScript("\x83\x5C", 1, 1), 1);
}
