#include "examples/filecache/language.h"
#include "examples/filecache/message.h"

#include <string>
#include <tuple>
#include <vector>

#include <gmock/gmock.h>

namespace
{
using testing::Eq;

TEST(HostTexts, ValuesAreFilledInOnePass)
{
    const std::tuple<const char*, std::vector<std::string>, const char*> kRows[] = {
        {"^1 and ^2", {"one", "two"}, "one and two"},
        {"^2 before ^1", {"one", "two"}, "two before one"},
        {"^1^1", {"x"}, "xx"},
        {"^1, ^2", {"^2^1^", "two"}, "^2^1^, two"},
        {"^1 and ^2", {"one"}, "one and ^2"},
        {"^0 ^a ^^1 ^", {"one"}, "^0 ^a ^one ^"},
        {"", {"one"}, ""},
        {"^9", {"1", "2", "3", "4", "5", "6", "7", "8", "9"}, "9"},
    };
    for (const auto& [text, values, expected] : kRows)
    {
        SCOPED_TRACE(text);
        EXPECT_THAT(Fill(text, values), Eq(expected));
    }
}

TEST(HostTexts, WithoutTheProgramsFolderNoDictionaryIsTakenFromTheCurrentOne)
{
    const std::error_code reason = std::make_error_code(std::errc::permission_denied);
    for (const char* program : {"", "bin/filecache"})
    {
        std::string path = "before";
        const Message wrong = ShippedDictionary(*FindLanguage("de"), program, reason, &path);
        EXPECT_THAT(Text(wrong), testing::EndsWith(": " + reason.message()));
        EXPECT_EQ(path, "");
        EXPECT_FALSE(ShippedDictionary(*FindLanguage("en"), program, reason, &path));
    }
}

TEST(HostTexts, WidthsAndCutsFollowTheColumnsOfATerminal)
{
    const std::tuple<const char*, size_t, size_t, const char*> kRows[] = {
        {"", 0, 5, ""},
        {"files", 5, 5, "files"},
        {"files", 5, 4, "file"},
        {"files", 5, 0, ""},
        {"höchster", 8, 2, "hö"},
        {"読み込み", 8, 8, "読み込み"},
        {"読み込み", 8, 5, "読み"},
        {"ｱﾌﾟﾘ", 4, 3, "ｱﾌﾟ"},         // half-width kana
        {"（２）", 6, 4, "（２"},      // full-width forms
        {"e\u0301a", 2, 1, "e\u0301"}, // a combining accent stays with its letter
        {"𠮷a", 3, 2, "𠮷"},           // a pair of units
        {"a𠮷", 3, 2, "a"},
        {"한글", 4, 3, "한"},
    };
    for (const auto& [text, width, columns, cut] : kRows)
    {
        SCOPED_TRACE(text);
        EXPECT_THAT(DisplayWidth(text), Eq(width));
        EXPECT_THAT(CutToWidth(text, columns), Eq(cut));
    }
}
} // namespace
