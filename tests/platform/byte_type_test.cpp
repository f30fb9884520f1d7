#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <control.h>
#include <krobase/text.h>
#include <tolv/text.h>

#include "tests/support/Text.h"

namespace
{
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
        {932, "\xB1\x95\x95\x95\x41\x95", "sflflf"},
        {932, std::string("\x95\0\x95\x95", 4), "fsfl"},
        {10001, "\x80\x82\xA0", "sfl"},
        {936, "\x80\x81\x80\xC4\xE3", "sflfl"},
        {65001, "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x8E\xACz", "sflfmlfmmls"},
        {65001, "\x80\xC0\x80\xF5\x80\xFF", "ssssss"},
        {65001, "\xC3\xA9\xA9\xE2\x82\xAC\x80", "flsfmls"},
        {65001, "\xF0\x9F\x8E\xAC\x80\x80\x80", "fmmlsss"},
        {65001, "\xE0\x80\x80\xED\xA0\x80\xF0\x8F\x80\xF4\x90\x80", "fssfssfssfss"},
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

TEST(UTF16Text, IsCutBetweenCharacters)
{
    const std::tuple<std::u16string, unsigned int, bool, std::u16string> kRows[] = {
        {u"abc", 0, false, u""},
        {u"a\U0001F3ACz", 2, false, u"a"},
        {u"a\U0001F3ACz", 3, false, u"a\U0001F3AC"},
        {u"a\U0001F3ACz", 0xFFFFFFFFu, false, u"a\U0001F3ACz"},
        {u"a\U0001F3ACz", 2, true, u"a\U0001F3AC"},
        {u"a\xD83Cz", 2, false, u"a\xD83C"}, // a half on its own counts as one
        {u"\xD83C\U0001F3ACz", 2, true, u"\xD83C\U0001F3AC"},
    };
    for (const auto& [text, count, countCharacters, cut] : kRows)
    {
        SCOPED_TRACE(testing::PrintToString(text));
        EXPECT_EQ(krobase::utility::TruncateStringToNumChars(Units(text), count, countCharacters),
                  Units(cut));
    }
}

TEST(UTF16Text, BecomesUTF8)
{
    const std::u16string text(u"a\0\u00E9\u65E5\U0001F3AC\xD83C", 7);
    EXPECT_EQ(krobase::utility::UTF16to8(Units(text)),
              Bytes({"a\0\xC3\xA9\xE6\x97\xA5\xF0\x9F\x8E\xAC\xEF\xBF\xBD", 14}));
}
} // namespace
