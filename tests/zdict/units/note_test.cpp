// Notes of texts.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "exchange/note.h"

namespace
{
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
} // namespace
