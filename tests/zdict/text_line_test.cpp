// The lines that dump writes bring back what they were made of.

#include <algorithm>
#include <utility>

#include <gtest/gtest.h>

#include "tests/dictionary/Texts.h"
#include "tests/dictionary/support/ImageBuilder.h"
#include "tests/dictionary/support/Loading.h"
#include "tools/zdict/text_line.h"

namespace
{
std::u16string LineOf(const std::string& key, const std::u16string& text)
{
    Units line;
    AppendLine(key, ToZString(text), &line);
    return std::u16string(line.begin(), line.end());
}

// Of a text, without the key and the quotes round it.
std::u16string Written(const std::u16string& text)
{
    const std::u16string line = LineOf("k", text);
    const std::u16string front = u"\"$$$k=";
    EXPECT_EQ(line.substr(0, front.size()), front);
    EXPECT_EQ(line.substr(line.size() - 2), u"\"\n");
    return line.substr(front.size(), line.size() - front.size() - 2);
}

// Calls with every string of up to so many characters of an alphabet.
template <class String, class Visitor>
void ForEachString(const String& alphabet, std::size_t longest, const Visitor& visit)
{
    std::vector<String> strings = {String()};
    for (std::size_t next = 0; next < strings.size(); ++next)
    {
        const String string = strings[next];
        visit(string);
        for (std::size_t i = 0; string.size() < longest && i < alphabet.size(); ++i)
            strings.push_back(string + alphabet[i]);
    }
}

// All texts in one file, each under its number.
void ExpectBroughtBack(const std::vector<std::u16string>& texts)
{
    std::u16string file;
    for (std::size_t i = 0; i < texts.size(); ++i)
        file += LineOf(std::to_string(i), texts[i]);
    hollin::Dictionary dictionary;
    Load(dictionary, TextImage(file));
    EXPECT_TRUE(dictionary.IsGood());
    for (std::size_t i = 0; i < texts.size(); ++i)
        ASSERT_EQ(TextOf(dictionary, std::to_string(i)), texts[i]) << "line " << i + 1;
}
} // namespace

TEST(TextLine, ProtectsWhatReadersChangeAndNothingElse)
{
    const std::pair<std::u16string, std::u16string> cases[] = {
        {u"Seite ^1 von ^2: #3 {4} (5 % @0)", u"Seite ^1 von ^2: #3 {4} (5 % @0)"},
        {u"50^", u"50#{5E}"},
        {u"^C ^^1", u"#{5E}C #{5E}^1"},
        {u"C:\\", u"C:#{5C}"},
        {u"\\n \\\"", u"#{5C}n #{5C}\\\""},
        {u"#{41} ##{", u"#{23}{41} ##{23}{"},
        {u"a\nb\r\nc\td \"e\"", u"a\\nb\\r\\nc\\td \\\"e\\\""},
        {std::u16string(u"\0\x1\x7F", 3) + u"\u0085", u"#{0}#{1}#{7F}#{85}"},
        {u"\u2028\u2029\uFEFF\uFFFF", u"#{2028}#{2029}#{FEFF}#{FFFF}"},
        {u"\U0001F600 \u65E5\u672C\u00A0\u00E9", u"\U0001F600 \u65E5\u672C\u00A0\u00E9"},
        {u"", u""},
    };
    for (const auto& [text, written] : cases)
        EXPECT_EQ(Written(text), written);

    std::u16string halves = u"\U0001F600";
    std::swap(halves[0], halves[1]);
    EXPECT_EQ(Written(halves), u"#{DE00}#{D83D}");
}

TEST(TextLine, BringsEveryCharacterBack)
{
    std::vector<std::u16string> texts;
    for (unsigned int unit = 0; unit <= 0xFFFF; ++unit)
        texts.emplace_back(1, static_cast<char16_t>(unit));
    ExpectBroughtBack(texts);
}

TEST(TextLine, BringsEveryMixOfNotationsBack)
{
    std::vector<std::u16string> texts;
    ForEachString(std::u16string(u"\\\"^#{}41nC\n\xD83D\xDE00"), 4,
                  [&](const std::u16string& text) { texts.push_back(text); });
    ExpectBroughtBack(texts);
}

TEST(TextLine, KeysWithoutAProblemAreBroughtBack)
{
    std::size_t carried = 0;
    ForEachString(std::string("a\"\\=\n\r\0$ #{^\xE9", 13), 3, [&](const std::string& key) {
        if (KeyProblem(key))
            return;
        ++carried;
        hollin::Dictionary dictionary;
        Load(dictionary, TextImage(LineOf(key, u"text")));
        EXPECT_TRUE(dictionary.IsGood());
        EXPECT_EQ(TextsOf(dictionary), (std::map<std::string, std::u16string>{{key, u"text"}}));
    });
    EXPECT_GT(carried, 7u + 7 * 7 + 7 * 7 * 7); // those of harmless characters, and more
}

TEST(TextLine, KeysThatNoLineCanHoldAreRefused)
{
    for (const std::string& key : {std::string(), std::string("a=b"), std::string("a\"b"),
                                   std::string("\"a\\"), std::string("a\nb"), std::string("a\rb"),
                                   std::string("a\0b", 3), std::string("\xC3\xA9")})
        EXPECT_TRUE(KeyProblem(key)) << key;
}
