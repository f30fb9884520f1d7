#include <atomic>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include <platform/control.h>
#include <wril/wril.h>

#include "tests/support/FailingNew.h"
#include "tests/support/OnThreads.h"
#include "tests/support/System.h"

namespace
{
class Log : public testing::Test
{
protected:
    // The child of a death test is a new process, which reads U_LOG_LEVEL again.
    void SetUp() override { testing::FLAGS_gtest_death_test_style = "threadsafe"; }
    void TearDown() override { platform::ResetAll(); }
};

TEST_F(Log, LinesOfAnyLengthReachTheSinkWhole)
{
    std::string seen;
    platform::SetLogSink([&](int, const char*, const char*, const char* text) { seen = text; });
    for (const std::size_t length : {0, 510, 511, 512, 100000})
    {
        const std::string text(length, 'x');
        WRIL_sprintf(9, "category", "tag", "%s!", text.c_str());
        EXPECT_EQ(seen, text + "!") << length;
    }
}

TEST_F(Log, ASinkMayReplaceItselfAndLogAlsoAtItsEnd)
{
    struct Farewell
    {
        ~Farewell() { WRIL_Log(0, "category", "tag", "farewell"); }
    };
    std::string seen;
    platform::LogSink ending = [last = std::make_shared<Farewell>()](int, const char*, const char*,
                                                                     const char*) {};
    platform::SetLogSink(ending);
    ending.clear();
    platform::SetLogSink([&seen](int, const char*, const char*, const char*) {
        platform::SetLogSink(
            [&seen](int, const char*, const char*, const char* text) { seen += text; });
        WRIL_Log(0, "category", "tag", "in the destructor, ");
    });
    WRIL_Log(0, "category", "tag", "after it");
    EXPECT_EQ(seen, "in the destructor, after it");
}

TEST_F(Log, LinesUpToTheLevelGoToStderrWithoutASink)
{
    const std::pair<const char*, int> kRows[] = {
        {"2", 2}, {"", 0}, {"2x", 0}, {"4294967298", 0}, {"-1", -1},
    };
    for (const auto& [setting, highestWritten] : kRows)
    {
        SCOPED_TRACE(setting);
        SetVariable("U_LOG_LEVEL", setting);
        std::string expected;
        for (int level = 0; level <= highestWritten; ++level)
            expected +=
                "[" + std::to_string(level) + "] memory budget: at " + std::to_string(level) + "\n";
        EXPECT_EXIT(
            {
                for (int level = 0; level < 4; ++level)
                    WRIL_sprintf(level, "memory", "budget", "at %d", level);
                std::_Exit(0);
            },
            testing::ExitedWithCode(0), testing::StrEq(expected));
    }
    SetVariable("U_LOG_LEVEL", nullptr);
}

TEST_F(Log, ATextForgesNoLineOnStderrAndControlsNoTerminal)
{
    const char kText[] = "a\n[0] b c: d\x1B[2J\r\u009B\x9B\té\n";
    testing::internal::CaptureStderr();
    WRIL_Log(0, "category\x1B", "tag\n", kText);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[0] category\\x1B tag\\n: a\n"
              "    [0] b c: d\\x1B[2J\\r\\xC2\\x9B\\x9B\té\n");
    std::string seen;
    platform::SetLogSink([&](int, const char*, const char*, const char* text) { seen = text; });
    WRIL_Log(0, "category", "tag", kText);
    EXPECT_EQ(seen, kText);
}

TEST_F(Log, ALineOfUsualLengthTakesNoMemory)
{
    testing::internal::CaptureStderr();
    WRIL_Log(0, "memory", "budget", "before"); // the first line makes statics
    bool failed = false;
    {
        const ScFailingNew failing(1);
        WRIL_Log(0, "memory", "budget", "the last");
        failed = failing.HasFailed();
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[0] memory budget: before\n[0] memory budget: the last\n");
    EXPECT_FALSE(failed);
}

TEST_F(Log, SinksAreSwappedUnderThreadsThatLog)
{
    std::atomic<int> running(3);
    std::atomic<unsigned int> seen(0);
    std::weak_ptr<int> captured;
    std::thread swapper([&] {
        while (running)
        {
            const auto mine = std::make_shared<int>(7);
            captured = mine;
            platform::SetLogSink([&, mine](int, const char*, const char*, const char* text) {
                ++seen;
                EXPECT_EQ(std::atoi(text), *mine);
            });
        }
        platform::SetLogSink(platform::LogSink());
    });
    OnThreads(3, [&](int) {
        for (int line = 0; line < 2000 || !seen; ++line)
            WRIL_sprintf(9, "category", "tag", "%d", 7);
        --running;
    });
    swapper.join();
    EXPECT_TRUE(captured.expired());
}
} // namespace
