#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <control.h>
#include <krobase/text.h>
#include <tolv/text.h>

namespace
{
using krobase::utility::UTF16String;
using krobase::utility::UTF8String;

struct ByteTypes : testing::Test
{
    ~ByteTypes() override { platform::ResetAll(); }
};

// A letter per byte: s single, f first, m middle, l last. Each offset is asked
// in a block that ends right behind its byte.
template <class Ask> std::string TypesOf(const std::string& text, Ask ask)
{
    std::string types;
    for (std::size_t offset = 0; offset < text.size(); ++offset)
    {
        const std::vector<char> head(text.data(), text.data() + offset + 1);
        const short type = ask(head.data(), static_cast<int>(offset));
        types += type >= kFirstByte && type <= kMiddleByte ? "fslm"[type + 1] : '?';
    }
    return types;
}

TEST_F(ByteTypes, FollowTheActiveCodePage)
{
    const std::tuple<unsigned int, std::string, const char*> kRows[] = {
        {1252, "a\x81\xE0\xFFz", "sssss"},
        {932, "a\x95\\b", "sfls"},
        {932, "\x95\x95\x95\x95\x95\\", "flflfl"},
        {932, "\xB1\x95\x95\x95\x41\x95",
         "sflfl"
         "f"},
        {932, std::string("\x95\0\x95\x95", 4), "fsfl"},
        {932, std::string("\x95\x95\x95\0", 4), "flfs"},
        {10001, "\x80\x82\xA0", "sfl"},
        {936, "\x80\x81\x80\xC4\xE3", "sflfl"},
        {65001, "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x8E\xACz", "sflfmlfmmls"},
        {65001, "\x80\xC0\x80\xF5\x80\xFF", "ssssss"},
        {65001, "\xC3\xA9\xA9\xE2\x82\xAC\x80", "flsfmls"},
        {65001, "\xF0\x9F\x8E\xAC\x80\x80\x80", "fmmlsss"},
        {65001, "\xE0\x80\x80\xED\xA0\x80\xF0\x8F\x80\xF4\x90\x80", "fssfssfssfss"},
        {65001, "\342a\x82\x82", "fsss"},
        {65001, std::string("\xE2\0\x82", 3), "fss"},
    };
    for (const auto& [codePage, text, types] : kRows)
    {
        SCOPED_TRACE(testing::PrintToString(text));
        platform::SetActiveCodePage(codePage);
        EXPECT_EQ(TypesOf(text, CharByte), types);
    }
    EXPECT_EQ(CharByte("a", -1), kSingleByte);
}

TEST_F(ByteTypes, FollowTheScript)
{
    const std::pair<short, const char*> kRows[] = {{0, "ssss"},  {1, "flss"}, {2, "flfl"},
                                                   {3, "flfl"},  {7, "ssss"}, {25, "flfl"},
                                                   {99, "ssss"}, {-1, "ssss"}};
    const std::string text = "\x81\x80\xA0\x80";
    for (const auto& [script, types] : kRows)
    {
        SCOPED_TRACE(script);
        EXPECT_EQ(
            TypesOf(text, [&](const char* bytes,
                              int offset) { return CharacterByteType(bytes, offset, script); }),
            types);
    }
    platform::SetActiveCodePage(932);
    EXPECT_EQ(CharacterByteType("\x81", 0, 99), kFirstByte);
    EXPECT_EQ(CharacterByteType("\x81", 0, 0), kSingleByte);
}

TEST_F(ByteTypes, TheDoubleByteScriptIsASwitch)
{
    EXPECT_EQ(GetScriptManagerVariable(36), 0);
    platform::SetDoubleByteScript(true);
    EXPECT_NE(GetScriptManagerVariable(36), 0);
    EXPECT_EQ(GetScriptManagerVariable(35), 0);
    platform::ResetAll();
    EXPECT_EQ(GetScriptManagerVariable(36), 0);
}

UTF16String Wide(const std::u16string& text)
{
    return UTF16String(text.begin(), text.end());
}

TEST(UTF16Text, IsCutBetweenCharacters)
{
    struct Row
    {
        std::u16string text;
        unsigned int count;
        bool countCharacters;
        std::u16string cut;
    };
    const Row kRows[] = {
        {u"", 3, false, u""},
        {u"abc", 3, false, u"abc"},
        {u"abc", 2, false, u"ab"},
        {u"abc", 0, false, u""},
        {u"a\U0001F3ACz", 1, false, u"a"},
        {u"a\U0001F3ACz", 2, false, u"a"},
        {u"a\U0001F3ACz", 3, false, u"a\U0001F3AC"},
        {u"a\U0001F3ACz", 0xFFFFFFFFu, false, u"a\U0001F3ACz"},
        {u"a\U0001F3ACz", 2, true, u"a\U0001F3AC"},
        {u"a\U0001F3ACz", 3, true, u"a\U0001F3ACz"},
        {u"\U0001F3AC\U0001F3AC", 1, true, u"\U0001F3AC"},
        {u"a\xD83Cz", 2, false, u"a\xD83C"}, // a half on its own counts as one
        {u"a\xD83Cz", 2, true, u"a\xD83C"},
        {u"\xD83C\U0001F3ACz", 2, false, u"\xD83C"},
        {u"\xD83C\U0001F3ACz", 2, true, u"\xD83C\U0001F3AC"},
        {u"\xDFAC\xDFACz", 1, false, u"\xDFAC"},
    };
    for (const Row& row : kRows)
    {
        SCOPED_TRACE(testing::Message() << &row - kRows);
        EXPECT_EQ(krobase::utility::TruncateStringToNumChars(Wide(row.text), row.count,
                                                             row.countCharacters),
                  Wide(row.cut));
    }
}

TEST(UTF16Text, BecomesUTF8)
{
    const std::u16string text = std::u16string(u"a\0\u00E9\u65E5\U0001F3AC\xD83C", 7);
    const std::string expected("a\0\xC3\xA9\xE6\x97\xA5\xF0\x9F\x8E\xAC\xEF\xBF\xBD", 14);
    EXPECT_EQ(krobase::utility::UTF16to8(Wide(text)), UTF8String(expected.begin(), expected.end()));
    EXPECT_TRUE(krobase::utility::UTF16to8(UTF16String()).empty());
}
} // namespace
