#include <string>

#include <gtest/gtest.h>

#include <krobase/debug.h>
#include <kroview/datatransfer.h>
#include <kroview/ui.h>
#include <platform/control.h>
#include <tolv/keyboard.h>
#include <tolv/profile.h>
#include <win32/message_box.h>

#include "tests/support/Text.h"

using krobase::debug::DebugDatabase;

namespace
{
const unsigned short kKey[] = {'k', 'e', 'y', 0};

TEST(Settings, ResetAllPutsEverySettingBack)
{
    platform::SetDebugSetting("key", "text");
    platform::SetProfileInt("key", 3);
    platform::SetTrace("memory", 2);
    platform::SetModifierKeys(kModifierShift | kModifierOption);
    kroview::datatransfer::NewClipboardSendData(Units(u"first"));
    kroview::datatransfer::NewClipboardSendData(Units(u"größer"));
    kroview::ui::UI_NodeManager& ui = *kroview::ui::UI_NodeManager::Get(false);
    ui.BeginInputCapture([](bool) { ADD_FAILURE() << "the owner is not notified"; });
    std::string traced;
    platform::SetTraceSink([&](const char* text) { traced += text; });
    krobase::debug::Trace("one");
    win32::MessageBeep(~0u);
    EXPECT_EQ(DebugDatabase::Instance().GetEntry("key", "default"), "text");
    EXPECT_EQ(platform::BeepCount(), 1u);
    EXPECT_EQ(GetCurrentKeyModifiers(), 512u + 2048u);
    EXPECT_EQ(platform::ClipboardText(), Units(u"größer"));
    EXPECT_TRUE(ui.HasInputCapture());
    EXPECT_TRUE(krobase::debug::TraceEnabled("memory", 2, true));
    EXPECT_FALSE(krobase::debug::TraceEnabled("memory", 3, true));
    EXPECT_FALSE(krobase::debug::TraceEnabled("text", 0, true));
    EXPECT_FALSE(krobase::debug::TraceEnabled("memory", 0, false));

    const int changes = krobase::debug::TraceChangeCount();
    platform::ResetAll();
    krobase::debug::Trace("");
    int value = 0;
    EXPECT_EQ(DebugDatabase::Instance().GetEntry("key", "default"), "default");
    EXPECT_EQ(TOLV_GetRequiredProfileInt(kKey, &value), -43);
    EXPECT_FALSE(krobase::debug::TraceEnabled("memory", 0, true));
    EXPECT_NE(krobase::debug::TraceChangeCount(), changes);
    EXPECT_EQ(platform::BeepCount(), 0u);
    EXPECT_EQ(GetCurrentKeyModifiers(), 0u);
    EXPECT_EQ(platform::ClipboardText(), Units(u""));
    EXPECT_FALSE(ui.HasInputCapture());
    EXPECT_EQ(traced, "one");
}
} // namespace
