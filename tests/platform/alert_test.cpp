#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <alert/layout.h>
#include <control.h>
#include <kroview/messagebox.h>
#include <win32/messages.h>

#include "tests/support/NoMemory.h"
#include "tests/support/Text.h"

namespace
{
namespace messagebox = kroview::dialogs::messagebox;
using platform::Alert;
using testing::ElementsAreArray;

class Supplier : public kroview::pencart::SupplierInterface
{
};

// Tells of its end.
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

    int ShowHostBox(int kind = 1, int button = 1)
    {
        return messagebox::Messagebox(&mSupplier, Units(u"Title"), Units(u"Text"), kind, button,
                                      messagebox::kIconWarning, mNode, messagebox::MessageHandler(),
                                      600.0f, 0.0f);
    }

    static int ShowPlainBox(const char16_t* text, const char16_t* title)
    {
        return win32::MessageBoxW(nullptr, reinterpret_cast<const unsigned short*>(text),
                                  reinterpret_cast<const unsigned short*>(title), 0x42010);
    }

    void Record()
    {
        platform::SetAlertPresenter([this](const Alert& alert) { mSeen.push_back(alert); });
    }

    Supplier mSupplier;
    bool mNodeGone = false;
    NodePtr mNode = new Node(mNodeGone);
    std::vector<Alert> mSeen;
};

TEST_F(Alerts, BothBoxesBringTheirOwnToThePresenter)
{
    Record();
    EXPECT_EQ(ShowHostBox(), 1);
    EXPECT_EQ(ShowPlainBox(u"Plain", u""), 1);
    EXPECT_EQ(ShowPlainBox(nullptr, nullptr), 1);
    ASSERT_EQ(mSeen.size(), 3u);

    EXPECT_TRUE(mSeen[0].throughHost);
    EXPECT_TRUE(mSeen[0].hasTitle);
    EXPECT_EQ(mSeen[0].title, Units(u"Title"));
    EXPECT_EQ(mSeen[0].text, Units(u"Text"));
    EXPECT_EQ(mSeen[0].flags, 0u);
    EXPECT_EQ(mSeen[0].icon, 2);
    EXPECT_EQ(mSeen[0].sizeHint, 600.0f);
    EXPECT_EQ(platform::IconOf(mSeen[0]), messagebox::kIconWarning);

    EXPECT_FALSE(mSeen[1].throughHost);
    EXPECT_TRUE(mSeen[1].hasTitle);
    EXPECT_EQ(mSeen[1].text, Units(u"Plain"));
    EXPECT_EQ(mSeen[1].flags, 0x42010u);
    EXPECT_EQ(platform::IconOf(mSeen[1]), messagebox::kIconError);

    EXPECT_FALSE(mSeen[2].hasTitle);
    EXPECT_EQ(mSeen[2].title, Units(u""));
    EXPECT_EQ(mSeen[2].text, Units(u""));
}

TEST_F(Alerts, WhatAPresenterThrowsReachesTheCallerOfTheBox)
{
    platform::SetAlertPresenter([](const Alert&) { throw 7; });
    EXPECT_THROW(ShowHostBox(), int);
    EXPECT_THROW(ShowPlainBox(u"Text", nullptr), int);
}

TEST_F(Alerts, APresenterMayShowAnotherAlertAndReplaceItself)
{
    platform::SetAlertPresenter([this](const Alert& alert) {
        Record();
        ShowPlainBox(u"inner", nullptr);
        mSeen.push_back(alert);
    });
    ShowPlainBox(u"outer", nullptr);
    ShowPlainBox(u"next", nullptr);
    ASSERT_EQ(mSeen.size(), 3u);
    EXPECT_EQ(mSeen[0].text, Units(u"inner"));
    EXPECT_EQ(mSeen[1].text, Units(u"outer"));
    EXPECT_EQ(mSeen[2].text, Units(u"next"));
}

TEST_F(Alerts, AHostBoxHoldsItsNodeWhileItIsUp)
{
    bool goneInside = false;
    platform::SetAlertPresenter([&](const Alert&) {
        mNode.reset();
        goneInside = mNodeGone;
    });
    ShowHostBox();
    EXPECT_FALSE(goneInside);
    EXPECT_TRUE(mNodeGone);
}

TEST_F(Alerts, AHostBoxRefusesWhatItDoesNotShow)
{
    Record();
    EXPECT_THROW(ShowHostBox(2, 1), std::invalid_argument);
    EXPECT_THROW(ShowHostBox(1, 0), std::invalid_argument);
    mNode.reset();
    EXPECT_THROW(ShowHostBox(), std::invalid_argument);
    EXPECT_TRUE(mSeen.empty());
}

TEST_F(Alerts, WithoutAPresenterTheAlertIsFramedOnStderr)
{
    Record();
    platform::ResetAll();
    testing::internal::CaptureStderr();
    ShowPlainBox(
        u"Die Datei ist zu groß.\r\n\r\n"
        u"日本語のテキストは空白がなくても折り返されます。長い文章でも枠を超えません。\x1B\n\n",
        u"Größe");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "+--------------------------------------------------------------------------+\n"
              "| [error] Größe                                                            |\n"
              "+--------------------------------------------------------------------------+\n"
              "| Die Datei ist zu groß.                                                   |\n"
              "|                                                                          |\n"
              "| 日本語のテキストは空白がなくても折り返されます。長い文章でも枠を超えませ |\n"
              "| ん。                                                                     |\n"
              "+--------------------------------------------------------------------------+\n");
    EXPECT_TRUE(mSeen.empty());
}

TEST_F(Alerts, WithoutMemoryTheBareTextGoesToStderr)
{
    SKIP_UNDER_SANITIZERS();
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            const ScNoMemory noMemory;
            ShowPlainBox(u"ß\U0001F600\xD800!", u"Größe"); // short: strings hold them themselves
            std::_Exit(0);
        },
        testing::ExitedWithCode(0), testing::StrEq("[error] Größe\nß😀\uFFFD!\n"));
}

TEST(AlertLayout, TextIsBrokenWhereItsScriptAllows)
{
    struct Row
    {
        const char16_t* text;
        std::vector<const char16_t*> lines; // of at most 10 units
    };
    const Row kRows[] = {
        {u"", {}},
        {u"\n\r\n", {}},
        {u"0123456789", {u"0123456789"}},
        {u"0123456789 a", {u"0123456789", u"a"}},
        {u"0123456789     a", {u"0123456789", u"a"}},
        {u"one two three four", {u"one two", u"three four"}},
        {u"  two in\n\n  a", {u"  two in", u"", u"  a"}},
        {u"a\rb\r\nc\n\rd", {u"a", u"b", u"c", u"", u"d"}},
        {u"tab\there\x85\x7Fx", {u"tab here", u"x"}},
        {u"0123456789abcdefghijklm no", {u"0123456789", u"abcdefghij", u"klm no"}},
        {u"to 0123456789abc", {u"to", u"0123456789", u"abc"}},
        // No line begins with a mark of punctuation, even without spaces.
        {u"今日はいい天気ですよ。はい", {u"今日はいい天気です", u"よ。はい"}},
        // Neither a pair nor a letter with its accent is parted.
        {u"012345678\U0001F600", {u"012345678", u"\U0001F600"}},
        {u"012345678e\u0301\u0302", {u"012345678", u"e\u0301\u0302"}},
        {u"e\u0301\u0301\u0301\u0301\u0301\u0301\u0301\u0301\u0301\u0301 a",
         {u"e\u0301\u0301\u0301\u0301\u0301\u0301\u0301\u0301\u0301\u0301", u"a"}},
    };
    for (const Row& row : kRows)
    {
        const U_UTF16String text = Units(row.text);
        SCOPED_TRACE(testing::PrintToString(std::u16string(row.text)));
        std::vector<U_UTF16String> expected;
        for (const char16_t* line : row.lines)
            expected.push_back(Units(line));
        EXPECT_THAT(
            platform::WrapText(text, [](const U_UTF16String& line) { return line.size() <= 10; }),
            ElementsAreArray(expected));
    }
}

TEST(AlertLayout, AParagraphWithoutEndKeepsAllItsText)
{
    U_UTF16String text(3 << 20, 'x');
    text[(1 << 20) - 1] = 0xD83D; // the halves of a pair on both sides of where it is broken
    text[1 << 20] = 0xDE00;
    U_UTF16String joined;
    std::size_t lines = 0;
    for (const U_UTF16String& line :
         platform::WrapText(text, [](const U_UTF16String& line) { return line.size() <= 100; }))
    {
        EXPECT_NE(line.front(), 0xDE00);
        joined += line;
        ++lines;
    }
    EXPECT_TRUE(joined == text);
    EXPECT_LE(lines, text.size() / 100 + 5); // full ones
}
} // namespace
