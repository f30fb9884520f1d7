// Conversions between encodings, byte types, and cuts.

#include "U_Encoding.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "U_Interact.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/FailingNew.h"
#include "tests/support/Text.h"

namespace
{
// The int that body throws, 0 if it throws none.
template <class Body> int Thrown(Body body)
{
    try
    {
        body();
        return 0;
    }
    catch (int code)
    {
        return code;
    }
}

// A text of 2 GiB, and its terminator, out of one megabyte that is there
// again and again.
class VastText
{
public:
    VastText()
    {
        mFile = memfd_create("vast", 0);
        void* piece = nullptr;
        if (ftruncate(mFile, kPiece) == 0)
            piece = mmap(nullptr, kPiece, PROT_WRITE, MAP_SHARED, mFile, 0);
        std::memset(piece, 'a', kPiece);
        munmap(piece, kPiece);
        mText = static_cast<char*>(mmap(nullptr, kSize + kPiece, PROT_READ,
                                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
        for (std::size_t offset = 0; offset < kSize; offset += kPiece)
            mmap(mText + offset, kPiece, PROT_READ, MAP_SHARED | MAP_FIXED | MAP_POPULATE, mFile,
                 0);
    }
    ~VastText()
    {
        munmap(mText, kSize + kPiece);
        close(mFile);
    }

    const char* Text() const { return mText; }

private:
    static const std::size_t kPiece = 1 << 20;
    static const std::size_t kSize = std::size_t(1) << 31;

    int mFile;
    char* mText;
};

// How often the text of a page came out wrong while its tables were made with
// each allocation failing in turn; 100 if none failed.
template <class Convert> int FailuresWhileAPageIsMade(Convert convert)
{
    int failures = 0;
    bool right = false;
    int code = 0;
    const auto run = [&] {
        try
        {
            code = Thrown([&] { right = convert(); });
        }
        catch (const std::bad_alloc&)
        {
            code = 8;
        }
    };
    const long points = FailEachNew(run, [&](long) { failures += code ? code != 8 : !right; });
    return points > 0 ? failures + (code != 0) : 100;
}

typedef BornLibrary RefusedConversion;
typedef BornLibrary PageDeathTest;
} // namespace

TEST(Encoding, TextGoesToUTF16AndBackInTheActiveCodePage)
{
    const std::tuple<unsigned int, std::string, std::u16string> rows[] = {
        {1252, "a\xE9\x80", u"a\u00E9\u20AC"},
        {1252, std::string("a\0b", 3), std::u16string(u"a\0b", 3)},
        {1251, "\xCF\xF0\xBC", u"\u041F\u0440\u0458"},
        {932, "\x83\x5C\\\xB1", u"\u30BD\\\uFF71"},
        {65001, "a\xC3\xA9\xE3\x82\xBD\xF0\x9F\x98\x80", u"a\u00E9\u30BD\U0001F600"},
        {65001, "\xE3\x82\xBD\xE3\x82\xBD\xE3\x82\xBD", u"\u30BD\u30BD\u30BD"},
        {1252, "", u""},
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

TEST(Encoding, TheIncrementTravelsUnderASubstitute)
{
    const std::u16string sign = u"x\u2206y\u2206";
    const std::tuple<unsigned int, std::string, std::u16string> rows[] = {
        {1252, "x\xBCy\xBC", sign},
        {1251, "x\x86y\x86", sign},
        {65001, "x\xE2\x88\x86y\xE2\x88\x86", sign},
        {932, "x?y?", u"x?y?"}, // that page lacks the substitute as well
        {1252, "x\xBCy\xBC", sign},
    };
    for (const auto& [codePage, bytes, back] : rows)
    {
        SCOPED_TRACE(codePage);
        const ScActiveCodePage active(codePage);
        EXPECT_EQ(U_UTF16ToMBString(Units(sign), false), bytes);
        EXPECT_EQ(U_MBToUTF16String(bytes), Units(back));
    }
    EXPECT_EQ(U_UTF16ToMBString(Units(sign), true), "x\xBCy\xBC");
    const ScActiveCodePage active(65001);
    EXPECT_EQ(U_MBToUTF16String("\xC2\xBC"), Units(u"\u00BC"));
}

TEST(Encoding, ExactRefusesWhatThePageLacks)
{
    const std::tuple<unsigned int, std::u16string, int, std::string> rows[] = {
        {1252, u"a\u4E00b", 10, "a?b"},        {1252, u"\u0101", 0, "a"}, // a near one will do
        {1252, u"\u00E9", 0, "\xE9"},          {1251, u"\u00BC", 10, "?"},
        {932, u"\u4E00", 0, "\x88\xEA"},       {65001, u"\u4E00", 0, "\xE4\xB8\x80"},
        {65001, u"\xD800", 0, "\xEF\xBF\xBD"},
    };
    for (const auto& [codePage, wide, thrown, inexact] : rows)
    {
        SCOPED_TRACE(inexact);
        const ScActiveCodePage active(codePage);
        const U_UTF16String units = Units(wide);
        EXPECT_EQ(Thrown([&] { U_UTF16ToMBString(units, true); }), thrown);
        EXPECT_EQ(Thrown([&] { U_UTF16ToMBString(units.c_str(), true); }), thrown);
        EXPECT_EQ(U_UTF16ToMBString(units, false), inexact);
    }
}

TEST(Encoding, RefusedConversionsThrowTheSystemsError)
{
    EXPECT_EQ(Thrown([] { U_ConvertEncodedStringToUnicode(1, 12345, "a"); }), 87);
    EXPECT_EQ(U_ConvertEncodedStringToUnicode(1, 12345, ""), Units(u"")); // nobody is asked
}

TEST_F(RefusedConversion, IsReportedAsAProblem)
{
    const auto refuse = [] { U_ConvertEncodedStringToUnicode(1, 12345, "a"); };
    const U_UTF16String inexact = Units(u"\u4E00");
    const auto loseSigns = [&] { U_UTF16ToMBString(inexact, true); };
    const std::string told =
        "Test Host error: could not convert Unicode characters.\n\n( 23 :: 46 )";
    EXPECT_EQ(Thrown(refuse), 87);
    EXPECT_EQ(mAlerts.Texts(), std::vector<std::string>(1, told));
    EXPECT_EQ(Thrown(loseSigns), 10);
    EXPECT_EQ(mAlerts.Texts(), std::vector<std::string>(2, told));

    // What comes of the report has no say.
    const U_LoggingCallback answersACode = [](void*, U_u32, U_u16, const char*) { return 5; };
    ASSERT_EQ(U_AddLoggingCallback(answersACode, nullptr), 0);
    EXPECT_EQ(Thrown(refuse), 87);
    EXPECT_EQ(Thrown(loseSigns), 10);
    ASSERT_EQ(U_RemoveLoggingCallback(answersACode, nullptr), 0);
}

// In a process in which the pages haven't been made before. Its out-of-memory
// handler converts text, too.
TEST_F(PageDeathTest, IsMadeWhicheverAllocationFails)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            alarm(60);
            int failures = FailuresWhileAPageIsMade([] {
                return U_ConvertEncodedStringToUnicode(1, 1253, "\xE1") == Units(u"\u03B1");
            });
            const ScActiveCodePage active(932);
            failures += FailuresWhileAPageIsMade(
                [] { return U_MBToUTF16String("\x83\x5C") == Units(u"\u30BD"); });
            std::_Exit(failures);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Encoding, ATextTooLongToBeCountedIsRefused)
{
    if (kHugeBlocksAreSlow)
        GTEST_SKIP();
    const VastText vast;
    EXPECT_EQ(Thrown([&] { U_MBToUTF16String(vast.Text()); }), 87);
}

TEST(Encoding, EncodedTextIsReadByCodePageOrMacintoshEncoding)
{
    const std::tuple<unsigned char, unsigned int, const char*, std::u16string> rows[] = {
        {0, 0, "\x8E", u"\u00E9"},
        {0, 1, "\x83\x5C\xFD", u"\u30BD\u00A9"},
        {0, 7, "\x80", u"\u0410"},
        {0, 1056, "\x83\x5C", u"\u30BD"},
        {0, 1280, "\xE9\xBC", u"\u00E9\u2206"},
        {0, 1282, "\xCF", u"\u041F"},
        {0, 2, "a", u""},
        {0, 1252, "a", u""},
        {1, 1251, "\xCF", u"\u041F"},
        {1, 65001, "\xC2\xBC", u"\u00BC"},
        {1, 0, "\xE9\xBC", u"\u00E9\u2206"},
    };
    for (const auto& [isCodePage, encoding, bytes, units] : rows)
    {
        SCOPED_TRACE(encoding);
        EXPECT_EQ(U_ConvertEncodedStringToUnicode(isCodePage, encoding, bytes), Units(units));
    }
}

TEST(Encoding, EnglishTextGoesIntoTheActivePage)
{
    const std::pair<unsigned int, const char*> rows[] = {
        {1252, "\xE9\x99\xBC"},
        {932, "e??"},
        {1251, "e\x99?"},
        {65001, "\xC3\xA9\xE2\x84\xA2\xE2\x88\x86"}};
    for (const auto& [codePage, bytes] : rows)
    {
        const ScActiveCodePage active(codePage);
        EXPECT_EQ(U_ConvertEnglishEncodedTextToCurrentEncoding("\xE9\x99\xBC"), bytes);
    }
}

TEST(Encoding, UTF8IsConvertedWholeAndMended)
{
    const std::tuple<std::string, std::u16string, std::string> rows[] = {
        {"", u"", ""},
        {"\xC2\xBC\xE2\x88\x86", u"\u00BC\u2206", "\xC2\xBC\xE2\x88\x86"},
        {"\xF0\x9F\x98\x80", u"\U0001F600", "\xF0\x9F\x98\x80"},
        {"a\xFFz", u"a\uFFFDz", "a\xEF\xBF\xBDz"},
        {"\xE3\x82", u"\uFFFD", "\xEF\xBF\xBD"},
    };
    for (const auto& [bytes, units, back] : rows)
    {
        SCOPED_TRACE(bytes);
        EXPECT_EQ(U_UTF8To16String(Bytes(bytes)), Units(units));
        EXPECT_EQ(U_UTF16To8String(Units(units)), Bytes(back));
    }
    EXPECT_EQ(U_UTF16To8String(Units(u"a\xDC00z")), Bytes("a\xEF\xBF\xBDz"));
}

TEST(Encoding, AsciiIsWidenedWithItsSign)
{
    EXPECT_EQ(U_AsciiToUTF16String("a\x7F\x80\xFF"), Units(u"a\x7F\xFF80\xFFFF"));
}

TEST(Encoding, ByteTypesTellCharacters)
{
    const std::tuple<unsigned int, std::string, std::vector<int>> rows[] = {
        {1252, "\x83\x5C", {0, 0, 0}},
        {932, "a\x83\x5C\x5C\x83\x83\xB1", {0, -1, 1, 0, -1, 1, 0, 0}},
        {65001, "a\xC3\xA9\xF0\x9F\x98\x80", {0, -1, 1, -1, 2, 2, 1, 0}},
    };
    for (const auto& [codePage, text, expected] : rows)
    {
        SCOPED_TRACE(codePage);
        const ScActiveCodePage active(codePage);
        std::vector<int> types;
        for (int offset = 0; offset <= static_cast<int>(text.size()); ++offset)
            types.push_back(U_CharByte(text.c_str(), offset));
        EXPECT_EQ(types, expected);
    }
    EXPECT_EQ(U_CharByteFromScript("\x83\x5C", 1, 0), 0);
    EXPECT_EQ(U_CharByteFromScript("\x83\x5C", 1, 1), 1);
}

TEST(Encoding, UTF16IsCutAtCharacters)
{
    const std::u16string text = u"a\U0001F600b";
    const std::u16string left[] = {u"", u"a", u"a", u"a\U0001F600", text, text}; // by the count
    for (unsigned int count = 0; count < std::size(left); ++count)
    {
        SCOPED_TRACE(count);
        U_UTF16String cut = Units(text);
        U_TruncateStringToNumChars(&cut, count);
        EXPECT_EQ(cut, Units(left[count]));
        for (unsigned int odd : {0u, 1u})
        {
            cut = Units(text);
            U_TruncateStringToByteSize(&cut, 2 * count + odd);
            EXPECT_EQ(cut, Units(left[count]));
        }
    }
}

TEST(Encoding, UTF8IsCutAtCharacters)
{
    const std::tuple<std::string, unsigned int, std::string> rows[] = {
        {"a\xE3\x82\xBD\xC3\xA9", 7, "a\xE3\x82\xBD\xC3\xA9"},
        {"a\xE3\x82\xBD\xC3\xA9", 6, "a\xE3\x82\xBD\xC3\xA9"},
        {"a\xE3\x82\xBD\xC3\xA9", 5, "a\xE3\x82\xBD"},
        {"a\xE3\x82\xBD\xC3\xA9", 4, "a\xE3\x82\xBD"},
        {"a\xE3\x82\xBD\xC3\xA9", 3, "a"},
        {"a\xE3\x82\xBD\xC3\xA9", 1, "a"},
        {"a\xE3\x82\xBD\xC3\xA9", 0, ""},
        {"\xF0\x9F\x98\x80", 3, ""},
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
}

TEST(Encoding, UTF8GoesIntoABuffer)
{
    const ScActiveCodePage active(932); // has no say
    const std::string before = "########";
    const std::pair<size_t, std::string> rows[] = {
        {0, before},
        {1, std::string("\0#######", 8)},
        {3, std::string("a\0######", 8)},
        {4, std::string("a\0######", 8)},
        {5, std::string("a\xE3\x82\xBD\0###", 8)},
        {8, std::string("a\xE3\x82\275b\0##", 8)},
    };
    for (const auto& [size, expected] : rows)
    {
        SCOPED_TRACE(size);
        std::string out = before;
        U_CopyToUTF8Buf(Units(u"a\u30BDb"), size, reinterpret_cast<unsigned char*>(&out[0]));
        EXPECT_EQ(out, expected);
    }
}

TEST(Encoding, APartMayBeSplit)
{
    std::vector<U_UTF16String> parts(1, Units(u"a text of several long words, and a separator"));
    parts.push_back(Units(u" "));
    parts.shrink_to_fit();
    U_SplitUTF16String(parts[0], parts[1], parts);
    ASSERT_EQ(parts.size(), 11u);
    EXPECT_EQ(parts[2], Units(u"a"));
    EXPECT_EQ(parts[10], Units(u"separator"));
}

TEST(Encoding, TextIsSplitAtWholeSeparators)
{
    struct Row
    {
        std::u16string text;
        std::u16string separator;
        std::vector<std::u16string> parts;
    };
    const Row rows[] = {
        {u"a,,b", u",", {u"a", u"", u"b"}},
        {u"a,", u",", {u"a", u""}},
        {u",a", u",", {u"", u"a"}},
        {u"abc", u",", {u"abc"}},
        {u"", u",", {u""}},
        {u"a---b--", u"--", {u"a", u"-b", u""}},
        {u"ab", u"", {u"ab"}},
    };
    for (const Row& row : rows)
    {
        std::vector<U_UTF16String> parts(1, Units(u"kept"));
        std::vector<U_UTF16String> expected = parts;
        for (const std::u16string& part : row.parts)
            expected.push_back(Units(part));
        U_SplitUTF16String(Units(row.text), Units(row.separator), parts);
        EXPECT_EQ(parts, expected);
    }
}
