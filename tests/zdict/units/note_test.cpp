// Notes of texts.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <hollin/Dictionary.h>

#include "exchange/note.h"
#include "images/text_output.h"

namespace
{
hollin::ZString Text(const std::string& utf8)
{
    return hollin::ZString(utf8.data(), static_cast<std::uint32_t>(utf8.size()),
                           &hollin::kEncodingUTF8);
}

TEST(Note, EachPartIsReadFromItsLines)
{
    const Note note =
        ParseNote("#: src/a.cpp:12  b.cpp\n#. Title\n#.\n#. of it\n#, fuzzy,c-format\n"
                  "#| old\n#|\n#| English\nmine\n#: \u2068my file\u2069:7\n\ntoo");
    EXPECT_EQ(note.mReferences, (std::vector<std::string>{"src/a.cpp:12", "b.cpp", "my file:7"}));
    EXPECT_EQ(note.mExtracted, "Title\n\nof it");
    EXPECT_EQ(note.mFlags, (std::vector<std::string>{"fuzzy", "c-format"}));
    EXPECT_TRUE(note.IsFuzzy());
    EXPECT_EQ(note.mOldEnglish, "old\n\nEnglish");
    EXPECT_EQ(note.mTranslator, "mine\n\ntoo");
    EXPECT_TRUE(ParseNote("").IsEmpty());
}

TEST(Note, AFormattedNoteParsesToItself)
{
    const std::string lines[] = {"x",  " ",    "\n",      "a\n",    "\nb",      "#",
                                 "#:", "#: a", "#:a",     "# a",    "# # a",    "#.\n#, fuzzy",
                                 "#|", "#~ x", "{{*",     "{{\\*",  "{{{*a*}}", "{{*MSWindows*}}",
                                 "{{", "{{\\", "\u2068a", "a\r\tb", "{{\\{{*",  "{{\\\\*"};
    std::vector<Note> notes;
    for (const std::string& line : lines)
    {
        notes.push_back({{}, line, {}, {}, ""});
        notes.push_back({{}, "", {}, line, ""});
        notes.push_back({{}, "", {}, {}, line});
        notes.push_back({{"a b.cpp", "a b:c", "x y:12", ":3"}, line, {"a", "b"}, line, line});
    }
    notes.push_back({{}, "", {}, "", ""}); // an English text that was empty
    for (const Note& note : notes)
    {
        const std::string written = FormatNote(note);
        EXPECT_TRUE(ParseNote(written) == note) << written;
        EXPECT_EQ(written.find("{{*"), std::string::npos);
    }
}

TEST(Note, ATextIsSplitWhereALookUpDropsTheNote)
{
    struct Row
    {
        const char* mText;
        const char* mSplit;
        const char* mTranslator;
    };
    const Row kRows[] = {
        {"a", "a", ""},
        {"a{{*COMMENT*}}b", "a", "b"},
        {"a{{*COMMENT*}}b{{*COMMENT*}}c", "a", "b{{*COMMENT*}}c"},
        {"{{*COMMENT*}}", "", ""},
        {"{{{*COMMENT*}}x", "{", "x"},
        {"a{{*MSWindows*}}b{{*COMMENT*}}c", "a{{*MSWindows*}}b", "c"},
        {"a{{*COMMENT*}}b{{*MSWindows*}}c", "a{{*COMMENT*}}b{{*MSWindows*}}c", ""},
        {"a{{*COMMENT*}}b{{*MSWindows*}}c{{*COMMENT*}}d", "a{{*COMMENT*}}b{{*MSWindows*}}c", "d"},
        {"", "", ""},
    };
    for (const Row& row : kRows)
    {
        const NotedText split = SplitNote(Text(row.mText));
        EXPECT_EQ(ToUTF8(split.mText), row.mSplit) << row.mText;
        EXPECT_EQ(split.mNote.mTranslator, row.mTranslator) << row.mText;
        const NotedText again = SplitNote(JoinNote(split.mText, split.mNote));
        EXPECT_EQ(ToUTF8(again.mText), row.mSplit) << row.mText;
        EXPECT_TRUE(again.mNote == split.mNote) << row.mText;
    }
}
} // namespace
