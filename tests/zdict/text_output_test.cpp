// The lines of dump are read as the entries they were made of.

#include <gtest/gtest.h>

#include "tests/dictionary/Loading.h"
#include "tests/support/DictionaryImage.h"
#include "tools/zdict/text_output.h"

namespace
{
std::u16string LineOf(const std::string& key, const std::u16string& text)
{
    Units line;
    AppendLine(key, ToZString(text), &line);
    return std::u16string(line.begin(), line.end());
}

// Calls visit with every string of up to `longest` characters of an alphabet.
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

} // namespace

TEST(TextLine, EveryTextIsReadAsItWasWritten)
{
    std::vector<std::u16string> texts;
    for (unsigned int unit = 0; unit <= 0xFFFF; ++unit)
        texts.emplace_back(1, static_cast<char16_t>(unit));
    ForEachString(std::u16string(u"\\\"^#{}41nC\n\xD83D\xDE00"), 4,
                  [&](const std::u16string& text) { texts.push_back(text); });

    // All in one file, each under its number.
    std::u16string file;
    for (std::size_t i = 0; i < texts.size(); ++i)
        file += LineOf(std::to_string(i), texts[i]);
    const Loaded dictionary(TextBytes(file));
    for (std::size_t i = 0; i < texts.size(); ++i)
        ASSERT_EQ(TextOf(dictionary, std::to_string(i)), texts[i]) << "line " << i + 1;
}

TEST(TextLine, KeyWithoutAProblemIsReadAsItWasWritten)
{
    std::size_t carried = 0;
    ForEachString(std::string("a\"\\=\n\r\0$ #{^\xE9", 13), 3, [&](const std::string& key) {
        if (KeyProblem(key))
            return;
        ++carried;
        Loaded dictionary(TextBytes(LineOf(key, u"text")));
        EXPECT_EQ(TextsOf(dictionary), (KeyedTexts{{key, u"text"}}));
    });
    EXPECT_GT(carried, 7u + 7 * 7 + 7 * 7 * 7); // at least all of ordinary characters
}
