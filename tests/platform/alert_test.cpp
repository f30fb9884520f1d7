#include <stdexcept>
#include <utility>

#include <gmock/gmock.h>

#include <kroview/messagebox.h>
#include <platform/alert/layout.h>
#include <win32/message_box.h>

#include "tests/support/BornLibrary.h"
#include "tests/support/NoMemory.h"
#include "tests/support/System.h"
#include "tests/support/Text.h"

namespace
{
namespace messagebox = kroview::dialogs::messagebox;
using platform::Alert;

class Node : public kroview::ui::UI_Node
{
public:
    explicit Node(bool& gone) : mGone(gone) {}
    ~Node() override { mGone = true; }

private:
    bool& mGone;
};

typedef boost::intrusive_ptr<kroview::ui::UI_Node> NodePtr;

class Alerts : public testing::Test
{
protected:
    void TearDown() override { platform::ResetAll(); }

    int ShowHostBox(Supplier* supplier, int kind = messagebox::kKindAlert)
    {
        return messagebox::Messagebox(supplier, Units(u"Title"), Units(u"Text"), kind,
                                      messagebox::kButtonOK, messagebox::kIconWarning, mNode,
                                      messagebox::MessageHandler(), 600.0f, 0.0f);
    }

    static int ShowPlainBox(const char16_t* text, const char16_t* title,
                            unsigned int flags = 0x42010)
    {
        return win32::MessageBoxW(nullptr, reinterpret_cast<const unsigned short*>(text),
                                  reinterpret_cast<const unsigned short*>(title), flags);
    }

    Supplier mSupplier;
    bool mNodeGone = false;
    NodePtr mNode = new Node(mNodeGone);
};

TEST_F(Alerts, AHostBoxHoldsItsNodeWhileItIsUp)
{
    platform::SetAlertPresenter([&](const Alert&) {
        mNode.reset();
        EXPECT_FALSE(mNodeGone);
    });
    ShowHostBox(&mSupplier);
    EXPECT_TRUE(mNodeGone);
}

TEST_F(Alerts, AHostBoxNeedsASupplierAndTheKindOfAnAlert)
{
    EXPECT_THROW(ShowHostBox(nullptr), std::invalid_argument);
    EXPECT_THROW(ShowHostBox(&mSupplier, messagebox::kKindAlert + 1), std::invalid_argument);
    mNode.reset();
    EXPECT_THROW(ShowHostBox(&mSupplier), std::invalid_argument);
}

TEST_F(Alerts, AnAlertWithoutAPresenterIsFramedOnStderr)
{
    const ScNoDesktop noDesktop;
    platform::SetAlertPresenter(
        [](const Alert&) { ADD_FAILURE() << "the presenter has been removed"; });
    platform::ResetAll();
    testing::internal::CaptureStderr();
    ShowPlainBox(
        u"Die Datei ist zu groß.\r\n\r\n"
        u"日本語のテキストは空白がなくても折り返されます。長い文章でも枠を超えません。\x1B\n"
        u"e\u0301\uFF21\U0001F600\n\U00010300\n\n",
        u"Größe");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "+--------------------------------------------------------------------------+\n"
              "| [error] Größe                                                            |\n"
              "+--------------------------------------------------------------------------+\n"
              "| Die Datei ist zu groß.                                                   |\n"
              "|                                                                          |\n"
              "| 日本語のテキストは空白がなくても折り返されます。長い文章でも枠を超えませ |\n"
              "| ん。                                                                     |\n"
              "| e\u0301\uFF21\U0001F600                                                           "
              "         |\n"
              "| \U00010300                                                               "
              "         |\n"
              "+--------------------------------------------------------------------------+\n");
}

TEST_F(Alerts, OnStderrAWordStandsForTheIcon)
{
    const ScNoDesktop noDesktop;
    const std::pair<unsigned int, const char*> rows[] = {{0, "| T"},
                                                         {0x10, "| [error] T"},
                                                         {0x20, "| [question] T"},
                                                         {0x30, "| [warning] T"},
                                                         {0x40, "| [note] T"}};
    for (const auto& [flags, heading] : rows)
    {
        testing::internal::CaptureStderr();
        ShowPlainBox(u"x", u"T", flags);
        EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr(heading));
    }
}

TEST_F(Alerts, AnAlertWithoutMemoryIsBareTextOnStderr)
{
    SKIP_UNLESS_MEMORY_CAN_BE_LIMITED();
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            const ScNoMemory noMemory;
            // So short that the strings allocate nothing.
            ShowPlainBox(u"\n\u009B\U0001F600\xD800!", u"Größe");
            std::_Exit(0);
        },
        testing::ExitedWithCode(0), testing::StrEq("[error] Größe\n\n\\xC2\\x9B😀\uFFFD!\n"));
}

TEST(AlertLayout, TextIsBrokenWhereItsScriptAllows)
{
    typedef std::pair<std::u16string, std::vector<std::u16string>> Row; // lines of 10 units
    const Row kRows[] = {
        {u"\n\r\n", {}},
        {u"0123456789 a", {u"0123456789", u"a"}},
        {u"0123456789     a", {u"0123456789", u"a"}},
        {u"one two three four", {u"one two", u"three four"}},
        {u"  two in\n\n  a", {u"  two in", u"", u"  a"}},
        {u"a\rb\r\nc\n\rd", {u"a", u"b", u"c", u"", u"d"}},
        {u"a\r", {u"a"}},
        {u"tab\there\x85\x7Fx", {u"tab here", u"x"}},
        {u"a\u2028b\u2029\u2028c", {u"a", u"b", u"", u"c"}},
        {u"0123456789abcdefghijklm no", {u"0123456789", u"abcdefghij", u"klm no"}},
        {u"to 0123456789abc", {u"to", u"0123456789", u"abc"}},
        // A line does not begin with a punctuation mark, also in a script without spaces.
        {u"今日はいい天気ですよ。はい", {u"今日はいい天気です", u"よ。はい"}},
        // A surrogate pair, and a letter with its accents, is not split.
        {u"012345678\U0001F600", {u"012345678", u"\U0001F600"}},
        {u"012345678e\u0301\u0302", {u"012345678", u"e\u0301\u0302"}},
        {u"e\u0301\u0301\u0301\u0301\u0301\u0301\u0301\u0301\u0301\u0301 a",
         {u"e\u0301\u0301\u0301\u0301\u0301\u0301\u0301\u0301\u0301\u0301", u"a"}},
    };
    for (const auto& [text, lines] : kRows)
    {
        SCOPED_TRACE(testing::PrintToString(text));
        std::vector<U_UTF16String> expected;
        for (const std::u16string& line : lines)
            expected.push_back(Units(line));
        EXPECT_EQ(platform::WrapText(Units(text),
                                     [](const U_UTF16String& line) { return line.size() <= 10; }),
                  expected);
    }
}

TEST(AlertLayout, AParagraphWithoutEndKeepsAllItsText)
{
    U_UTF16String text(3 << 20, 'x');
    text[(1 << 20) - 1] = 0xD83D; // a surrogate pair across the position of the split
    text[1 << 20] = 0xDE00;
    const auto lines =
        platform::WrapText(text, [](const U_UTF16String& line) { return line.size() <= 100; });
    U_UTF16String joined;
    for (const U_UTF16String& line : lines)
    {
        EXPECT_NE(line.front(), 0xDE00);
        joined += line;
    }
    EXPECT_TRUE(joined == text);
    EXPECT_LE(lines.size(), text.size() / 100 + 5); // the lines are full
}
} // namespace
