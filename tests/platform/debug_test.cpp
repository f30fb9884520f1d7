// Assertions, traces, settings and stacks.

#include <array>
#include <cstring>
#include <tuple>

#include <krobase/debug.h>
#include <krobase/stack_trace.h>
#include <kroview/datatransfer.h>
#include <kroview/ui.h>
#include <tolv/keyboard.h>
#include <tolv/profile.h>
#include <win32/machine.h>
#include <win32/message_box.h>
#include <win32/process.h>

#include "tests/support/System.h"
#include "tests/support/Text.h"

using krobase::debug::DebugDatabase;
using krobase::debug::TraceEnabled;

namespace krobase_test
{
struct Trace
{
    void* frames[50] = {};
    std::size_t count = 0;
    int line = 0; // of the call in Outer
};

// A result after the call keeps the compiler from a tail call.
__attribute__((noinline)) int Inner(Trace& trace, std::size_t skip)
{
    trace.count = krobase::debug::GenerateStackTrace(trace.frames, 50, skip);
    return trace.count != 0;
}

__attribute__((noinline)) int Outer(Trace& trace, std::size_t skip, int depth = 0)
{
    const int had = depth ? Outer(trace, skip, depth - 1) : Inner(trace, skip);
    trace.line = __LINE__ - 1;
    return had + 1;
}
} // namespace krobase_test

namespace
{
using krobase_test::Trace;

template <class Ask> std::string TextOf(Ask ask, void* frame)
{
    char buffer[512];
    const char* const text = ask(frame, buffer, sizeof(buffer));
    return text ? text : "";
}

std::string NameOf(void* frame)
{
    return TextOf(&krobase::debug::StackFrameFunctionName, frame);
}

TEST(StackTrace, CallsAreNamedFromTheInnermostWithoutTheSkipped)
{
    Trace trace;
    krobase_test::Outer(trace, 0);
    ASSERT_GT(trace.count, 2u);
    EXPECT_NE(NameOf(trace.frames[0]).find("krobase_test::Inner"), std::string::npos);
    EXPECT_NE(NameOf(trace.frames[1]).find("krobase_test::Outer"), std::string::npos);
    EXPECT_EQ(TextOf(&krobase::debug::StackFrameFullFilePath, trace.frames[1]), __FILE__);
    EXPECT_EQ(krobase::debug::StackFrameLineNumber(trace.frames[1]), trace.line);

    Trace skipped;
    krobase_test::Outer(skipped, 1);
    EXPECT_EQ(skipped.count, trace.count - 1);
    EXPECT_NE(NameOf(skipped.frames[0]).find("krobase_test::Outer"), std::string::npos);
    krobase_test::Outer(skipped, 100000);
    EXPECT_EQ(skipped.count, 0u);
}

TEST(StackTrace, FramesAreCutToTheArray)
{
    Trace trace;
    krobase_test::Outer(trace, 0, 300);
    EXPECT_EQ(trace.count, 50u);

    std::vector<void*> frames(1000);
    EXPECT_LE(krobase::debug::GenerateStackTrace(frames.data(), frames.size(), 0),
              krobase::debug::kMostFrames);
    EXPECT_EQ(krobase::debug::GenerateStackTrace(nullptr, 0, 0), 0u);
}

TEST(StackTrace, AnAddressOutsideOfAllModulesHasNoName)
{
    int local = 0;
    for (void* const frame :
         {static_cast<void*>(nullptr), reinterpret_cast<void*>(1), static_cast<void*>(&local)})
    {
        EXPECT_EQ(NameOf(frame), "") << frame;
        EXPECT_EQ(krobase::debug::StackFrameLineNumber(frame), 0) << frame;
    }
}

TEST(StackTrace, NamesAreCutToTheBuffer)
{
    Trace trace;
    krobase_test::Outer(trace, 0);
    ASSERT_GT(trace.count, 0u);
    const std::string name = NameOf(trace.frames[0]);
    char buffer[16];
    std::memset(buffer, '#', sizeof(buffer));
    EXPECT_EQ(krobase::debug::StackFrameFunctionName(trace.frames[0], buffer, 8), buffer);
    EXPECT_EQ(std::string(buffer, 9), name.substr(0, 7) + '\0' + '#');
    EXPECT_EQ(krobase::debug::StackFrameFunctionName(trace.frames[0], buffer, 1), nullptr);
    EXPECT_EQ(buffer[0], '\0');
    EXPECT_EQ(krobase::debug::StackFrameFunctionName(trace.frames[0], nullptr, 8), nullptr);
    EXPECT_EQ(krobase::debug::StackFrameFunctionName(trace.frames[0], buffer, 0), nullptr);
}

class Debugging : public testing::Test
{
protected:
    void TearDown() override { platform::ResetAll(); }
};

TEST_F(Debugging, AnAssertionShowsItsTextsAndReturnsTheAnswer)
{
    typedef std::array<const char*, 4> Parts;
    const std::tuple<Parts, const char16_t*, platform::AssertAnswer> rows[] = {
        {{"a < b", "", "größe.cpp", "Sort"},
         u"a < b\n\nline 7 of größe.cpp\nin Sort",
         platform::kAnswerGoOn},
        {{"a", "told", "f", "g"}, u"a\ntold\n\nline 7 of f\nin g", platform::kAnswerBreak},
        {{}, u"\n\nline 7", platform::kAnswerGoOnAlways},
        {{"\xFF", "", "f", ""}, u"\uFFFD\n\nline 7 of f", platform::kAnswerGoOn},
    };
    for (const auto& [parts, text, answer] : rows)
    {
        platform::SetAlertPresenter([text = text, answer = answer](const platform::Alert& alert) {
            EXPECT_EQ(alert.text, Units(text));
            EXPECT_FALSE(alert.throughHost);
            EXPECT_EQ(*alert.answer, platform::kAnswerGoOn);
            *alert.answer = answer;
        });
        bool ignoreAlways = false;
        EXPECT_EQ(krobase::debug::BreakAfterAssertDialog(ignoreAlways, parts[0], parts[1], parts[2],
                                                         7, parts[3]),
                  answer == platform::kAnswerBreak);
        EXPECT_EQ(ignoreAlways, answer == platform::kAnswerGoOnAlways);
    }
}

TEST_F(Debugging, DebugStringsAndTracesGoToTheSinkOrEscapedToStderr)
{
    std::string seen;
    platform::SetDebugStringSink([&](const char* text) { seen += text; });
    win32::OutputDebugStringA("one");
    win32::OutputDebugStringA(nullptr);
    win32::OutputDebugStringA("\n");
    EXPECT_EQ(seen, "one\n");

    platform::ResetAll();
    if (IsWindows())
        return; // the system's debuggers get the strings
    for (const auto write : {&win32::OutputDebugStringA, &krobase::debug::Trace})
    {
        testing::internal::CaptureStderr();
        write("100% two\x1B[2J\r\t\u009B\r\nx\n\r");
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "100% two\\x1B[2J\\r\t\\xC2\\x9B\r\nx\n\\r");
    }
    EXPECT_EQ(seen, "one\n");
}

TEST(Settings, ResetAllPutsEverySettingBack)
{
    const unsigned short key[] = {'k', 'e', 'y', 0};
    kroview::ui::UI_NodeManager& ui = *kroview::ui::UI_NodeManager::Get(false);
    const auto settings = [&] {
        int profile = 0;
        const bool hasProfile = TOLV_GetRequiredProfileInt(key, &profile) == 0;
        return std::make_tuple(DebugDatabase::Instance().GetEntry("key", "default"),
                               hasProfile ? profile : -1, TraceEnabled("memory", 2, true),
                               GetCurrentKeyModifiers(), platform::BeepCount(),
                               Narrow(platform::ClipboardText()), ui.HasInputCapture(),
                               win32::IsProcessorFeaturePresent(win32::kAVX2InstructionsAvailable));
    };
    const int vectors = std::get<7>(settings());
    const auto initial =
        std::make_tuple(std::string("default"), -1, false, 0u, 0u, "", false, vectors);
    EXPECT_EQ(settings(), initial);
    platform::SetDebugSetting("key", "text");
    platform::SetDebugSetting(nullptr, "ignored");
    EXPECT_EQ(DebugDatabase::Instance().GetEntry(nullptr, "default"), "default");
    platform::SetProfileInt("key", 3);
    platform::SetProfileInt(nullptr, 4);
    platform::SetTrace("memory", 2);
    platform::SetModifierKeys(kModifierShift | kModifierOption);
    kroview::datatransfer::NewClipboardSendData(Units(u"first"));
    kroview::datatransfer::NewClipboardSendData(Units(u"größer"));
    ui.BeginInputCapture([](bool) { ADD_FAILURE() << "the owner is not notified"; });
    std::string traced;
    platform::SetTraceSink([&](const char* text) { traced += text; });
    krobase::debug::Trace("one");
    platform::SetVectors(false);
    win32::MessageBeep(~0u);
    EXPECT_EQ(settings(),
              std::make_tuple(std::string("text"), 3, true, 512u + 2048u, 1u, "größer", true, 0));
    EXPECT_FALSE(TraceEnabled("memory", 3, true));
    EXPECT_FALSE(TraceEnabled("text", 0, true));
    EXPECT_FALSE(TraceEnabled("memory", 0, false));

    const int changes = krobase::debug::TraceChangeCount();
    platform::ResetAll();
    krobase::debug::Trace("\n");
    EXPECT_EQ(settings(), initial);
    EXPECT_NE(krobase::debug::TraceChangeCount(), changes);
    EXPECT_EQ(traced, "one");
}
} // namespace
