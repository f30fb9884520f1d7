#include <atomic>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <utility>

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

// Returns the lines that the default sink writes while `run` runs.
template <class Run> std::string Written(Run run)
{
    testing::internal::CaptureStderr();
    run();
    return testing::internal::GetCapturedStderr();
}

TEST_F(Log, RepeatsWithinASecondAreLeftOutAndCounted)
{
    const unsigned long long kSecond = 1000000000;
    unsigned long long now = 5;
    platform::SetTickClock([&] { return now; });
    EXPECT_EQ(Written([] {
                  for (int use = 1; use <= 1000; ++use) // three kinds of line in turn
                  {
                      WRIL_sprintf(0, "U", "MEM", "used:\t%d of %5.1f%%", use, 2.5);
                      WRIL_sprintf(0, "U", "MEM", "name:%s", "a");
                      WRIL_Log(0, "U", "MEM", "DONE.\n");
                  }
                  WRIL_sprintf(0, "U", "MEM", "name:%s", "b");
                  WRIL_Log(0, "U", "ROOM", "DONE.\n");
                  WRIL_Log(0, nullptr, "MEM", "DONE.\n");
              }),
              "[0] U MEM: used:\t1 of   2.5%\n[0] U MEM: name:a\n[0] U MEM: DONE.\n"
              "[0] U MEM: name:b\n[0] U ROOM: DONE.\n[0]  MEM: DONE.\n");
    now += kSecond - 1;
    EXPECT_EQ(Written([] { WRIL_Log(0, "U", "MEM", "DONE.\n"); }), "");
    now += 1; // any line ends the repeats
    EXPECT_EQ(Written([] { WRIL_Log(0, "U", "MEM", "other"); }),
              "[0] U MEM: used:\t1000 of   2.5% ... repeated 999 times\n"
              "[0] U MEM: name:a ... repeated 999 times\n"
              "[0] U MEM: DONE. ... repeated 1000 times\n[0] U MEM: other\n");
    EXPECT_EQ(Written([] {
                  WRIL_Log(0, "U", "MEM", "DONE.\n");
                  WRIL_Log(0, "U", "MEM", "DONE.\n");
              }),
              "[0] U MEM: DONE.\n");
    now = 0; // a clock that was set back
    EXPECT_EQ(Written([] { WRIL_Log(0, "U", "MEM", "DONE.\n"); }),
              "[0] U MEM: DONE. ... repeated 1 times\n[0] U MEM: DONE.\n");
}

TEST_F(Log, NoRepeatIsLost)
{
    unsigned long long now = 0;
    platform::SetTickClock([&] { return now; });
    // More different lines than are remembered, each repeated once, the longest cut.
    const auto text = [](int number) {
        return std::to_string(number) + (number == 7 ? std::string(398, 'x') + "é" : "");
    };
    const std::string written = Written([&] {
        for (int number = 0; number < 100; ++number)
        {
            for (int turn = 0; turn < 2; ++turn)
                WRIL_Log(0, "U", "MEM", text(number).c_str());
            ++now;
        }
        platform::SetLogSink([](int, const char*, const char*, const char*) {});
    });
    for (int number = 0; number < 100; ++number)
    {
        const std::string line = "[0] U MEM: " + text(number);
        const std::string cut = number == 7 ? line.substr(0, line.size() - 2) : line;
        EXPECT_NE(written.find(line + "\n"), std::string::npos) << number;
        EXPECT_NE(written.find(cut + " ... repeated 1 times\n"), std::string::npos) << number;
    }
    platform::ResetAll();
    EXPECT_EXIT(
        {
            for (int turn = 0; turn < 3; ++turn)
                WRIL_Log(0, "U", "MEM", "at the end");
            std::exit(0);
        },
        testing::ExitedWithCode(0),
        testing::StrEq("[0] U MEM: at the end\n[0] U MEM: at the end ... repeated 2 times\n"));
}

TEST_F(Log, ThreadsCountTheirRepeatsTogether)
{
    platform::SetTickClock([] { return 0ull; });
    const std::string written = Written([] {
        OnThreads(4, [](int) {
            for (int turn = 0; turn < 1000; ++turn)
                WRIL_sprintf(0, "U", "MEM", "at %d", 7);
        });
        platform::SetLogSink(platform::LogSink());
    });
    EXPECT_EQ(written, "[0] U MEM: at 7\n[0] U MEM: at 7 ... repeated 3999 times\n");
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
