#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <control.h>
#include <kroview/datatransfer.h>
#include <kroview/ui.h>
#include <tolv/keyboard.h>
#include <win32/input.h>

#include "tests/support/FreshThread.h"
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
    mManager.EndInputCapture(false);
    EXPECT_FALSE(mManager.HasInputCapture());
    mManager.EndInputCapture(true);
    EXPECT_THAT(mEnds, ElementsAre("menu cancelled", "drag done"));

    mManager.BeginInputCapture(UI_NodeManager::CaptureEnd());
    EXPECT_TRUE(mManager.HasInputCapture());
}

TEST_F(UserInterface, TheEndOfACaptureMayBeginTheNext)
{
    mManager.BeginInputCapture([this](bool) {
        EXPECT_FALSE(mManager.HasInputCapture());
        mManager.BeginInputCapture(Recorder("next"));
    });
    mManager.EndInputCapture(true);
    EXPECT_TRUE(mManager.HasInputCapture());
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
    int window = 0;
    win32::SetCapture(&window);
    OnFreshThread([] {
        EXPECT_EQ(win32::GetCapture(), nullptr);
        win32::ReleaseCapture();
    });
    EXPECT_EQ(win32::GetCapture(), &window);
    win32::ReleaseCapture();
    EXPECT_EQ(win32::GetCapture(), nullptr);
}
} // namespace
