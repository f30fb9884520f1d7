#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <platform/control.h>
#include <tolv/text.h>

namespace
{
// Returns a letter for each byte: s single, f first, m middle, l last. Each call has a block that
// ends directly after its byte, so that a read beyond the byte is an error of the sanitizer.
template <class TypeOf> std::string TypesOf(const std::string& text, TypeOf typeOf)
{
    std::string types;
    for (std::size_t offset = 0; offset < text.size(); ++offset)
    {
        const std::vector<char> head(text.data(), text.data() + offset + 1);
        const short type = typeOf(head.data(), static_cast<int>(offset));
        types += type >= kFirstByte && type <= kMiddleByte ? "fslm"[type + 1] : '?';
    }
    return types;
}

TEST(ByteTypes, FollowTheActiveCodePage)
{
    const std::tuple<unsigned int, std::string, const char*> kRows[] = {
        {1252, "a\x81\xE0\xFFz", "sssss"},
        // The first and the last byte of each range of leads, and their neighbours.
        {932, "\x80\x81\x41\x9F\x41\xA0\xDF\xE0\x41\xFC\x41\xFD\xFF", "sflflssflflss"},
        {10001, "\x80\x81\x41\x9F\x41\xA0\xDF\xE0\x41\xFC\x41\xFD\xFF", "sflflssflflss"},
        {936, "\x80\x81\x41\xA0\x41\xFE\x41\xFF", "sflflfls"},
        {949, "\x80\x81\x41\xA0\x41\xFE\x41\xFF", "sflflfls"},
        {950, "\x80\x81\x41\xA0\x41\xFE\x41\xFF", "sflflfls"},
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
    platform::ResetAll();
}

TEST(ByteTypes, FollowTheScript)
{
    const std::pair<short, const char*> kRows[] = {{0, "ssss"},  {1, "flss"}, {2, "flfl"},
                                                   {3, "flfl"},  {7, "ssss"}, {25, "flfl"},
                                                   {99, "ssss"}, {-1, "ssss"}};
    const std::string text = "\x81\x80\xA0\x80";
    for (const auto& [script, types] : kRows)
    {
        SCOPED_TRACE(script);
        const auto typeOf = [script = script](const char* bytes, int offset) {
            return CharacterByteType(bytes, offset, script);
        };
        EXPECT_EQ(TypesOf(text, typeOf), types);
    }
    platform::SetActiveCodePage(932);
    EXPECT_EQ(CharacterByteType("\x81", 0, 99), kFirstByte);
    EXPECT_EQ(CharacterByteType("\x81", 0, 0), kSingleByte);
    platform::ResetAll();
}
} // namespace
