// Zero-terminated multibyte text: copies, case, long searches, and cleaning.

#include "U_String.h"

#include <cstring>
#include <iterator>
#include <tuple>
#include <utility>

#include "tests/support/Text.h"

namespace
{
const char kBefore[] = "############";

// Returns kBefore overwritten by a text and its terminator.
std::string Written(const char* head)
{
    std::string whole = kBefore;
    whole.replace(0, std::strlen(head) + 1, head, std::strlen(head) + 1);
    return whole;
}

// Returns the offset of a match, -1 for none.
std::ptrdiff_t Offset(const std::string& text, const char* match)
{
    return match ? match - text.c_str() : -1;
}
} // namespace

TEST(String, CopiesWriteNothingBeyondTheirSize)
{
    const ScActiveCodePage active(932);
    const char* const texts[] = {kBefore, "", "a", "a", "a\x83\x5C", "a\x83\x5C"}; // by size
    for (std::size_t size = 0; size < std::size(texts); ++size)
    {
        SCOPED_TRACE(size);
        const std::string written = size ? Written(texts[size]) : texts[size];
        std::string whole = kBefore;
        std::string counted = kBefore;
        EXPECT_EQ(U_CopyString("a\x83\x5C", size, &whole[0]), 0);
        EXPECT_EQ(U_CopyStringLen("a\x83\x5Cmore", 3, size, &counted[0]), 0);
        EXPECT_EQ(whole, written);
        EXPECT_EQ(counted, written);
        std::string joined = Written("");
        EXPECT_EQ(U_ConcatString("a\x83\x5C", size, &joined[0]), 0);
        EXPECT_EQ(joined, size ? written : Written(""));
        std::string full = Written("abcd"); // has no room
        EXPECT_EQ(U_ConcatString("e", size, &full[0]), 0);
        EXPECT_EQ(full, Written("abcd"));
    }
}

TEST(String, CopiesMayOverlap)
{
    char text[] = "0123456789";
    U_CopyString(text, 8, text + 2);
    EXPECT_STREQ(text, "010123456");
    U_u16 units[] = {'a', 'b', 'c', 'd', 0};
    U_CopyStringW(units, 4, units + 1);
    EXPECT_EQ(U_UTF16String(units), Units(u"aabc"));
}

TEST(String, WideCopiesKeepPairsWhole)
{
    const U_UTF16String src = Units(u"a\U0001F600b");
    const std::pair<size_t, std::u16string> rows[] = {
        {6, std::u16string(u"a\U0001F600b\0#", 6)}, {5, std::u16string(u"a\U0001F600b\0#", 6)},
        {4, std::u16string(u"a\U0001F600\0##", 6)}, {3, std::u16string(u"a\0####", 6)},
        {1, std::u16string(u"\0#####", 6)},         {0, u"######"},
    };
    for (const auto& [size, expected] : rows)
    {
        SCOPED_TRACE(size);
        U_UTF16String out = Units(u"######");
        EXPECT_EQ(U_CopyStringW(src.c_str(), size, &out[0]), 0);
        EXPECT_EQ(out, Units(expected));
    }
}

TEST(String, CaseChangesInAsciiOnly)
{
    const std::tuple<unsigned int, std::string, std::string, std::string> rows[] = {
        {1252, "aZ\xC9\xE9@[`{", "az\xC9\xE9@[`{", "AZ\xC9\xE9@[`{"},
        {65001, "A\377zz", "a\357\277\275", "A\357\277\275"}, // cut at the old length
        {65001, "AB\377z", "ab\377z", "AB\377z"}, // U+FFFD does not fit, so old bytes remain
    };
    for (const auto& [codePage, given, lower, upper] : rows)
    {
        SCOPED_TRACE(given);
        const ScActiveCodePage active(codePage);
        std::string text = given;
        EXPECT_EQ(U_StringToLower(&text[0]), 0);
        EXPECT_EQ(text, lower);
        text = given;
        EXPECT_EQ(U_StringToUpper(&text[0]), 0);
        EXPECT_EQ(text, upper);
    }
}

// A search that determines each byte type from the start of the text would take hours.
TEST(String, SearchesAndComparisonsAreLinearInRunsOfLeadBytes)
{
    const ScActiveCodePage active(932);
    const std::string text = std::string(2 << 20, '\x83') + "a";
    EXPECT_EQ(Offset(text, U_strrchr(text.c_str(), '\x83')), (2 << 20) - 2);
    EXPECT_EQ(U_stricmp(text.c_str(), text.c_str()), 0);
}

TEST(String, TheLastOccurrenceStartsAtACharacter)
{
    const ScActiveCodePage active(932);
    const std::string text = "\x83\x83\x83\x83z"; // two characters of two bytes
    EXPECT_EQ(Offset(text, U_strrstr(text.c_str(), "\x83")), 2);
}

TEST(String, CleaningSpellsOrReplacesCharactersBeyondAscii)
{
    // A null result means that nothing is written.
    const std::tuple<unsigned int, const char*, char, unsigned int, const char*, bool> rows[] = {
        {1252, "ab\251d", '?', 5, "ab(C", true}, // cut at the limit
        {1252, "ab\xA9", '?', 3, "ab", false},   // the spelling does not fit
        {1252, "\xA9", '?', 0, nullptr, false},
        {932, "a\x83\x99z", 0, 9, "a\x83TMz", true}, // each byte alone
        {932, "a\x83\x5C", 0, 3, "a", false},        // no lead byte at the end
    };
    for (const auto& [codePage, text, replacement, size, expected, isChanged] : rows)
    {
        SCOPED_TRACE(testing::Message() << text << " " << size);
        const ScActiveCodePage active(codePage);
        std::string out = kBefore;
        bool changed = !isChanged;
        EXPECT_EQ(U_CleanTo7BitOnly(text, replacement, size, &out[0], &changed), 0);
        EXPECT_EQ(out, expected ? Written(expected) : kBefore);
        EXPECT_EQ(changed, isChanged);
        if (replacement)
            continue;
        out = kBefore;
        EXPECT_EQ(U_MakeDBCSSafeStr(text, size, &out[0], &changed), 0);
        EXPECT_EQ(out, Written(expected));
        EXPECT_EQ(changed, isChanged);
    }
}
