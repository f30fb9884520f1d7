#include <string>
#include <utility>

#include <gmock/gmock.h>

#include <platform/base/printable.h>

namespace
{
TEST(PrintableText, NothingInItSteersATerminalOrEndsALine)
{
    const std::pair<std::string, const char*> kRows[] = {
        {"", ""},
        {"größer ^1 \\n 日本語 😀 \u00A0\uFFFD", "größer ^1 \\n 日本語 😀 \u00A0\uFFFD"},
        {"a\nb\rc\td", "a\\nb\\rc\\td"},
        {"\x1B[31m\a\x7F", "\\x1B[31m\\x07\\x7F"},
        {std::string("\0x", 2), "\\x00x"},
        // The second half of the controls: as characters, and as bytes of a code page.
        {"\u009B2J\u0085\u0080x\u009F", "\\xC2\\x9B2J\\xC2\\x85\\xC2\\x80x\\xC2\\x9F"},
        {"\x9B"
         "2J\x80",
         "\\x9B2J\\x80"},
        {"a\u2028b\u2029\u2030", "a\\xE2\\x80\\xA8b\\xE2\\x80\\xA9\u2030"},
        {"gr\xF6\xDF"
         "er",
         "gr\\xF6\\xDFer"},
        {"\xC3\xC3\xB6\xC3", "\\xC3ö\\xC3"},
        {"\xE2\x82\xE2\x82\xAC\xF0\x9F\x98", "\\xE2\\x82€\\xF0\\x9F\\x98"},
        {"\xC0\x8A\xE0\x80\x8A\xED\xA0\x80\xF4\x90\x80\x80",
         "\\xC0\\x8A\\xE0\\x80\\x8A\\xED\\xA0\\x80\\xF4\\x90\\x80\\x80"},
        {"\xC2\x1B[m", "\\xC2\\x1B[m"},
    };
    for (const auto& [text, expected] : kRows)
        EXPECT_EQ(platform::Printable(text), expected);
    EXPECT_EQ(platform::Printable("a\n\tb\r\n\u0085", "\t\n"), "a\n\tb\\r\n\\xC2\\x85");
}
} // namespace
