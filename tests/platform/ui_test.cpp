#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <control.h>
#include <kroview/datatransfer.h>
#include <kroview/ui.h>
#include <tolv/keyboard.h>
#include <win32/input.h>

#include "tests/support/Text.h"

namespace
{
using kroview::ui::UI_NodeManager;
using testing::ElementsAre;

class UserInterface : public testing::Test
{
protected:
    void TearDown() override { platform::ResetAll(); }

    UI_NodeManager::CaptureEnd Recorder(const std::string& name)
    {
        return [this, name](bool cancelled) {
            mEnds.push_back(name + (cancelled ? " cancelled" : " done"));
        };
    }

    UI_NodeManager& mManager = *UI_NodeManager::Get(false);
    std::vector<std::string> mEnds;
};

TEST_F(UserInterface, ACaptureEndsOnceAndItsOwnerHearsHow)
{
    EXPECT_EQ(UI_NodeManager::Get(true), &mManager);
    EXPECT_FALSE(mManager.HasInputCapture());
    mManager.EndInputCapture(true);

    mManager.BeginInputCapture(Recorder("menu"));
    EXPECT_TRUE(mManager.HasInputCapture());
    mManager.BeginInputCapture(Recorder("drag"));
    EXPECT_TRUE(mManager.HasInputCapture());
    mManager.EndInputCapture(false);
    EXPECT_FALSE(mManager.HasInputCapture());
    mManager.EndInputCapture(true);
    EXPECT_THAT(mEnds, ElementsAre("menu cancelled", "drag done"));

    mManager.BeginInputCapture(UI_NodeManager::CaptureEnd());
    EXPECT_TRUE(mManager.HasInputCapture());
}

TEST_F(UserInterface, TheEndOfACaptureMayBeginTheNextOrThrow)
{
    mManager.BeginInputCapture([this](bool) {
        EXPECT_FALSE(mManager.HasInputCapture());
        mManager.BeginInputCapture([](bool) { throw 7; });
    });
    mManager.EndInputCapture(true);
    EXPECT_TRUE(mManager.HasInputCapture());
    EXPECT_THROW(mManager.EndInputCapture(true), int);
    EXPECT_FALSE(mManager.HasInputCapture());
}

TEST_F(UserInterface, ResetAllLeavesNothingBehind)
{
    mManager.BeginInputCapture(Recorder("drag"));
    kroview::datatransfer::NewClipboardSendData(Units(u"first"));
    kroview::datatransfer::NewClipboardSendData(Units(u"größer"));
    platform::SetModifierKeys(kModifierShift | kModifierOption);
    EXPECT_EQ(platform::ClipboardText(), Units(u"größer"));
    EXPECT_EQ(GetCurrentKeyModifiers(), 512u + 2048u);

    platform::ResetAll();
    EXPECT_FALSE(mManager.HasInputCapture());
    EXPECT_TRUE(mEnds.empty());
    EXPECT_EQ(platform::ClipboardText(), Units(u""));
    EXPECT_EQ(GetCurrentKeyModifiers(), 0u);
}

TEST(MouseCapture, BelongsToTheThread)
{
    int first = 0;
    int second = 0;
    EXPECT_EQ(win32::SetCapture(&first), nullptr);
    EXPECT_EQ(win32::SetCapture(&second), &first);
    std::thread([] {
        EXPECT_EQ(win32::GetCapture(), nullptr);
        EXPECT_EQ(win32::ReleaseCapture(), 1);
    }).join();
    EXPECT_EQ(win32::GetCapture(), &second);
    EXPECT_EQ(win32::ReleaseCapture(), 1);
    EXPECT_EQ(win32::GetCapture(), nullptr);
}
} // namespace
