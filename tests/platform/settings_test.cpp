#include <string>
#include <thread>

#include <gtest/gtest.h>

#include <control.h>
#include <krobase/debug.h>
#include <tolv/profile.h>
#include <tolv/toolbox.h>
#include <win32/messages.h>

using krobase::debug::DebugDatabase;

namespace
{
const unsigned short kKey[] = {'k', 'e', 'y', 0};

class Settings : public testing::Test
{
protected:
    void TearDown() override { platform::ResetAll(); }
};

TEST_F(Settings, ResetAllPutsEverySettingBack)
{
    platform::SetDebugSetting("key", "text");
    platform::SetProfileInt("key", 3);
    platform::SetTrace("memory", 2);
    std::string traced;
    platform::SetTraceSink([&](const char* text) { traced += text; });
    krobase::debug::Trace("one");
    win32::MessageBeep(~0u);
    EXPECT_EQ(DebugDatabase::Instance().GetEntry("key", "default"), "text");
    EXPECT_EQ(platform::BeepCount(), 1u);

    const int changes = krobase::debug::TraceChangeCount();
    platform::ResetAll();
    krobase::debug::Trace("");
    int value = 0;
    EXPECT_EQ(DebugDatabase::Instance().GetEntry("key", "default"), "default");
    EXPECT_EQ(TOLV_GetRequiredProfileInt(kKey, &value), -43);
    EXPECT_FALSE(krobase::debug::TraceEnabled("memory", 0, true));
    EXPECT_NE(krobase::debug::TraceChangeCount(), changes);
    EXPECT_EQ(platform::BeepCount(), 0u);
    EXPECT_EQ(traced, "one");
}

TEST_F(Settings, TracesAreOnUpToALevelPerCategory)
{
    platform::SetTrace("memory", 2);
    EXPECT_TRUE(krobase::debug::TraceEnabled("memory", 2, true));
    EXPECT_FALSE(krobase::debug::TraceEnabled("memory", 3, true));
    EXPECT_FALSE(krobase::debug::TraceEnabled("text", 0, true));
    EXPECT_FALSE(krobase::debug::TraceEnabled("memory", 0, false));
}

TEST_F(Settings, AMissingProfileIntegerIsToldFromItsDefault)
{
    int value = 1;
    EXPECT_EQ(TOLV_GetRequiredProfileInt(kKey, &value), -43);
    EXPECT_EQ(value, 1);
    EXPECT_EQ(TOLV_GetProfileInt(kKey, 7, &value), 0);
    EXPECT_EQ(value, 7);
    EXPECT_EQ(TOLV_GetRequiredProfileInt(kKey, &value), -43);
    EXPECT_EQ(TOLV_SetProfileInt(kKey, 9), 0);
    EXPECT_EQ(TOLV_GetProfileInt(kKey, 7, &value), 0);
    EXPECT_EQ(value, 9);
    EXPECT_EQ(TOLV_GetProfileInt(nullptr, 7, &value), -50);
    EXPECT_EQ(TOLV_GetRequiredProfileInt(kKey, nullptr), -50);
    EXPECT_EQ(TOLV_SetProfileInt(nullptr, 7), -50);
}

TEST(Toolbox, AHandleIsAResourceOnce)
{
    EXPECT_EQ(NewHandle(-1), nullptr);
    void** handle = NewHandle(100);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(GetHandleSize(handle), 100);
    DetachResource(handle);
    EXPECT_EQ(ResError(), -192);
    AddResource(handle);
    EXPECT_EQ(ResError(), 0);
    AddResource(handle);
    EXPECT_EQ(ResError(), -194);
    std::thread([] { EXPECT_EQ(ResError(), 0); }).join();
    DetachResource(handle);
    EXPECT_EQ(ResError(), 0);
    DisposeHandle(handle);
    DisposeHandle(nullptr);
}
} // namespace
