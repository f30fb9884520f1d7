// Zero-terminated multibyte text: copies, cuts, searches, comparisons.

#include "U_String.h"

#include <cstring>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

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

TEST(String, CopiesAreCutAtCharacters)
{
    const std::tuple<unsigned int, const char*, size_t, const char*> rows[] = {
        {1252, "abc", 4, "abc"},
        {1252, "abc", 1, ""},
        {1252, "abc", 0, nullptr},
        {1252, "a\x83\x5C", 3, "a\x83"},
        {932, "a\x83\x5C", 4, "a\x83\x5C"},
        {932, "a\x83\x5C", 3, "a"},
        {65001, "a\xF0\x9F\x98\x80z", 5, "a"},
    };
    for (const auto& [codePage, src, size, out] : rows)
    {
        SCOPED_TRACE(testing::Message() << codePage << " " << src << " " << size);
        const ScActiveCodePage active(codePage);
        const std::string unended = std::string(src) + "more";
        std::string whole = kBefore;
        std::string counted = kBefore;
        EXPECT_EQ(U_CopyString(src, size, &whole[0]), 0);
        EXPECT_EQ(U_CopyStringLen(unended.data(), std::strlen(src), size, &counted[0]), 0);
        EXPECT_EQ(counted, whole);
        EXPECT_EQ(whole.substr(size), kBefore + size) << "written beyond the size";
        if (size)
        {
            EXPECT_STREQ(whole.c_str(), out);
        }
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

TEST(String, ConcatenationIsCutAtTheEndOfTheBuffer)
{
    const std::tuple<const char*, const char*, size_t, const char*> rows[] = {
        {"ab", "cd", 5, "abcd"}, {"ab", "cd", 4, "abc"},      {"ab", "cd", 3, "ab"},
        {"ab", "cd", 2, "ab"},   {"abcd", "e", 2, "abcd"},    {"ab", "cd", 0, "ab"},
        {"", "cd", 2, "c"},      {"ab", "\x83\x5C", 4, "ab"}, {"ab", "\x83\x5C", 5, "ab\x83\x5C"},
    };
    const ScActiveCodePage active(932);
    for (const auto& [dst, src, size, expected] : rows)
    {
        SCOPED_TRACE(testing::Message() << dst << " " << src << " " << size);
        std::string out = Written(dst);
        EXPECT_EQ(U_ConcatString(src, size, &out[0]), 0);
        EXPECT_EQ(out, Written(expected));
    }
}

TEST(String, TruncationAndSteppingKeepCharactersWhole)
{
    const ScActiveCodePage active(932);
    const std::pair<int, const char*> rows[] = {
        {9, "a\x83\x5C\xB1"}, {3, "a\x83\x5C"}, {2, "a"}, {0, ""}, {-1, ""}};
    for (const auto& [length, left] : rows)
    {
        char text[] = "a\x83\x5C\xB1";
        EXPECT_EQ(U_TruncateString(length, text), 0);
        EXPECT_STREQ(text, left) << length;
    }

    std::vector<unsigned int> starts;
    const char text[] = "a\x83\x5C\xB1\x83\x83";
    for (unsigned int offset = 0; text[offset]; U_CharNextByte(text, offset, &offset))
        starts.push_back(offset);
    EXPECT_EQ(starts, (std::vector<unsigned int>{0, 1, 3, 4}));
    unsigned int next = 0;
    EXPECT_EQ(U_CharNextByte(text, 2, &next), 0);
    EXPECT_EQ(next, 3u);
}

TEST(String, CaseChangesInAsciiOnly)
{
    const std::tuple<unsigned int, std::string, std::string, std::string> rows[] = {
        {1252, "aZ\xC9\xE9@[`{", "az\xC9\xE9@[`{", "AZ\xC9\xE9@[`{"},
        {932, "A\x83\x41z", "a\x83\x41z", "A\x83\x41Z"}, // the trail byte is an A
        {65001, "A\303\211z", "a\303\211z", "A\303\211Z"},
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

TEST(String, TextsAndBytesAreFoundOnlyWhereCharactersStart)
{
    const std::tuple<unsigned int, std::string, std::string, std::ptrdiff_t, std::ptrdiff_t>
        rows[] = {
            {1252, "a\\b\\c", "\\", 1, 3},
            {1252, "\x83\\", "\\", 1, 1},
            {932, "\x83\\", "\\", -1, -1},
            {932, "\x83\\x\\\x83\\", "\\", 3, 3},
            {932, "\x83\x83\x83\x83z", "\x83", 0, 2},
            {65001, "\xC3\xA9\xA9", "\xA9", 2, 2},
            {1252, "", "a", -1, -1},
            {1252, "aaa", "aa", 0, 0}, // no overlap
            {1252, "aaaa", "aa", 0, 2},
            {1252, "abc", "", 0, 3},
            {932, "\x83\\n\x83\\n", "\\n", -1, -1},
            {932, "\x83\\\x83\\", "\x83\\", 0, 2},
            {932, "\\\x83\\", "\\\x83", 0, 0}, // ends inside a character
        };
    for (const auto& [codePage, given, wanted, first, last] : rows)
    {
        SCOPED_TRACE(testing::Message() << codePage << " " << given);
        const ScActiveCodePage active(codePage);
        const char* text = given.c_str();
        EXPECT_EQ(Offset(given, U_strstr(text, wanted.c_str())), first);
        EXPECT_EQ(Offset(given, U_strrstr(text, wanted.c_str())), last);
        if (wanted.size() != 1)
            continue;
        EXPECT_EQ(Offset(given, U_strchr(text, wanted[0])), first);
        EXPECT_EQ(Offset(given, U_strrchr(text, wanted[0])), last);
    }
    const std::string text = "abc";
    EXPECT_EQ(Offset(text, U_strchr(text.c_str(), 0)), 3);
    EXPECT_EQ(Offset(text, U_strrchr(text.c_str(), 0)), 3);
}

// A search that determines each byte type from the start of the text would take hours.
TEST(String, SearchesAndComparisonsAreLinearInRunsOfLeadBytes)
{
    const ScActiveCodePage active(932);
    const std::string text = std::string(2 << 20, '\x83') + "a";
    EXPECT_EQ(Offset(text, U_strrchr(text.c_str(), '\x83')), (2 << 20) - 2);
    EXPECT_EQ(U_stricmp(text.c_str(), text.c_str()), 0);
}

TEST(String, ComparisonIsByUnitsOrWithoutCaseByBytes)
{
    const std::tuple<unsigned int, const char*, const char*, int, int> rows[] = {
        {1252, "", "a", -1, -1},
        {1252, "a", "", 1, 1},
        {1252, "a", "c", -2, -1}, // the difference
        {1252, "9x", "2", 7, 1},
        {1252, "a", "B", 1, -1},    // different classes: by units
        {1252, "ab", "az", -1, -1}, // the first bytes are equal
        {1252, "abc", "ab", 1, 1},
        {1252, "aBc", "AbC", 1, 0},
        {1252, "_", "A", 1, -1},               // letters are folded to lower case
        {1252, "\x80", "\xFF", 1, -1},         // U+20AC and U+00FF
        {932, "\xB1", "\x81\x40", 1, -1},      // U+FF71 and U+3000; longer characters come later
        {932, "\x83\x41", "\x83\x61", -1, -1}, // trail bytes are no letters
        {932, "A\x83\x41", "a\x83\x41", -1, 0},
    };
    for (const auto& [codePage, a, b, order, orderWithoutCase] : rows)
    {
        SCOPED_TRACE(testing::Message() << a << " " << b);
        const ScActiveCodePage active(codePage);
        EXPECT_EQ(U_strcmp(a, b), order);
        EXPECT_EQ(U_stricmp(a, b), orderWithoutCase);
        EXPECT_EQ(U_stricmp(b, a), -orderWithoutCase);
    }
}

TEST(String, CleaningSpellsOrReplacesCharactersBeyondAscii)
{
    // A null result means that nothing is written.
    const std::tuple<unsigned int, const char*, char, unsigned int, const char*, bool> rows[] = {
        {1252, "plain", '?', 9, "plain", false},
        {1252, "\xA9\xE9", '?', 9, "(C)?", true},
        {1252, "\x99\xB0\xB7\xBC", '?', 9, "TMdgr*d", true},
        {1252, "\xE9", 0, 9, "\xE9", false},
        {1252, "ab\251d", '?', 5, "ab(C", true}, // cut at the limit
        {1252, "ab\xA9", '?', 3, "ab", false},   // the spelling does not fit
        {1252, "\xA9", '?', 0, nullptr, false},
        {932, "a\x83\x5C\xB1z", '?', 9, "a??z", true},
        {932, "a\x83\x99z", 0, 9, "a\x83TMz", true}, // each byte alone
        {932, "a\x83\x5C", 0, 3, "a", false},        // no lead byte at the end
        {65001, "\xF0\x9F\x98\x80z", '?', 9, "?z", true},
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
