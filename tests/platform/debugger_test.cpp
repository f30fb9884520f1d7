#include <array>
#include <csignal>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <krobase/debug.h>
#include <platform/control.h>
#include <win32/process.h>

#include "tests/support/Text.h"

namespace
{
class Debugger : public testing::Test
{
protected:
    void TearDown() override { platform::ResetAll(); }
};

TEST_F(Debugger, AnAssertionShowsItsTextsAndReturnsTheAnswer)
{
    // The parts of the text, the text, the answer, and the results: break, ignore always.
    typedef std::array<const char*, 4> Parts;
    typedef std::tuple<Parts, const char16_t*, platform::AssertAnswer, bool, bool> Row;
    const Row kRows[] = {
        {{"a < b", "", "größe.cpp", "Sort"},
         u"a < b\n\nline 7 of größe.cpp\nin Sort",
         platform::kAnswerGoOn,
         false,
         false},
        {{"a", "told", "f", "g"},
         u"a\ntold\n\nline 7 of f\nin g",
         platform::kAnswerBreak,
         true,
         false},
        {{}, u"\n\nline 7", platform::kAnswerGoOnAlways, false, true},
        {{"\xFF", "", "f", ""}, u"\uFFFD\n\nline 7 of f", platform::kAnswerGoOn, false, false},
    };
    for (const auto& [parts, text, answer, shouldBreak, isIgnored] : kRows)
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
                  shouldBreak);
        EXPECT_EQ(ignoreAlways, isIgnored);
    }
}

// Called in a child process that this process traces.
int AskUnderATracer()
{
    raise(SIGSTOP); // until the tracer is attached
    testing::internal::CaptureStderr();
    bool ignoreAlways = false;
    const bool shouldBreak =
        krobase::debug::BreakAfterAssertDialog(ignoreAlways, "a < b", "", "f", 7, "g");
    testing::internal::GetCapturedStderr();
    if (!shouldBreak || ignoreAlways || !krobase::debug::IsDebuggerAttached())
        return 1;
    krobase::debug::BreakIntoDebugger();
    return 2;
}

TEST_F(Debugger, AnUnseenAssertionBreaksIntoAnAttachedDebugger)
{
    EXPECT_FALSE(krobase::debug::IsDebuggerAttached());
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0)
        _exit(AskUnderATracer());

    int status = 0;
    ASSERT_EQ(waitpid(child, &status, WUNTRACED), child);
    if (ptrace(PTRACE_SEIZE, child, nullptr, nullptr) != 0)
    {
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
        GTEST_SKIP() << "this system lets no process trace another";
    }
    kill(child, SIGCONT);
    std::string stops;
    while (waitpid(child, &status, 0) == child && WIFSTOPPED(status))
    {
        if (WSTOPSIG(status) == SIGTRAP && status >> 16 == 0)
            stops += "break ";
        ptrace(PTRACE_CONT, child, nullptr, nullptr);
    }
    EXPECT_EQ(stops, "break ");
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 2);
}

TEST_F(Debugger, DebugStringsAndTracesGoToTheSinkOrEscapedToStderr)
{
    std::string seen;
    platform::SetDebugStringSink([&](const char* text) { seen += text; });
    win32::OutputDebugStringA("one");
    win32::OutputDebugStringA(nullptr);
    win32::OutputDebugStringA("\n");
    EXPECT_EQ(seen, "one\n");

    platform::ResetAll();
    for (const auto write : {&win32::OutputDebugStringA, &krobase::debug::Trace})
    {
        testing::internal::CaptureStderr();
        write("100% two\x1B[2J\r\t\u009B\r\nx\n\r");
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "100% two\\x1B[2J\\r\t\\xC2\\x9B\r\nx\n\\r");
    }
    EXPECT_EQ(seen, "one\n");
}
} // namespace
