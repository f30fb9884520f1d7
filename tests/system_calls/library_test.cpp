// All operations, birth and death, and the memory log while calls to the system fail, are
// interrupted, or do half their work.

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "U_Lifecycle.h"
#include "indep/instrumentation/ScLogger.h"
#include "tests/instrumentation/MemoryLogTest.h"
#include "tests/malloc/Walk.h"
#include "tests/operations/Operations.h"
#include "tests/support/BornLibrary.h"
#include "tests/system_calls/FailingCalls.h"

namespace
{
FailingCalls& Calls()
{
    static FailingCalls& calls = NewShared<FailingCalls>();
    return calls;
}

// Intercepts the calls of this thread, of all threads that it starts from here on, and of all
// children. Returns false if the system does not allow this.
bool Intercept()
{
    static const bool intercepts = [] {
        Calls();
        static std::atomic<int> intercepted{0};
        // This thread answers, and so must not be one of those whose calls wait.
        std::thread([] {
            while (!intercepted)
                std::this_thread::yield();
            if (intercepted > 0)
                Answer(intercepted, Calls(), "");
        }).detach();
        intercepted = InterceptCalls();
        return intercepted > 0;
    }();
    return intercepts;
}

Failing FailingWith(const char* name, Failure failure, bool forGood)
{
    return {name, [=](long point) { Calls().Begin(failure, point, forGood); },
            [] { Calls().End(); }, []() -> bool { return Calls().hasFailed; }, ""};
}

std::vector<Failing> Failings()
{
    return {FailingWith("an error", Failure::kError, false),
            FailingWith("errors for good", Failure::kError, true),
            FailingWith("an interruption", Failure::kInterrupted, false),
            FailingWith("short for good", Failure::kShort, true)};
}

class SystemCalls : public BornLibrary
{
protected:
    void SetUp() override
    {
        if (!Intercept())
            GTEST_SKIP() << "the system does not allow to intercept calls";
        BornLibrary::SetUp();
        DropAlertsAndLogLines();
    }

    void TearDown() override
    {
        if (!IsSkipped())
            BornLibrary::TearDown();
    }
};

std::string LogPath()
{
    return testing::TempDir() + "system_calls." + std::to_string(getpid()) + ".log";
}

// Without a call that fails, both lines are there. A failed write may cost one of them.
Outcome WriteTwoLines()
{
    std::remove(LogPath().c_str());
    try
    {
        U_ScGlobalLogger logger(LogPath().c_str());
        logger.Printf("the first line");
        logger.Printf("the second line");
    }
    catch (int)
    {
        return kLess;
    }
    std::ifstream file(LogPath());
    Texts lines;
    for (std::string line; std::getline(file, line);)
    {
        const std::size_t text = line.find("the ");
        if (text != line.npos)
            lines.push_back(line.substr(text));
    }
    return RightIf(lines == Texts{"the first line", "the second line"}, kLess);
}
} // namespace

TEST_F(SystemCalls, EachOperationFailsAsPromisedAndThenSucceeds)
{
    WalkAll(AllOperations(), Failings());
}

TEST_F(SystemCalls, CallsOfTheSystemFailAsPromised)
{
    Operations operations = SystemOperations();
    operations.push_back({"a logger", kLess, [](Own&) { return WriteTwoLines(); }});
    WalkAll(operations, Failings());
    std::remove(LogPath().c_str());
}

TEST(SystemCallsOverALife, BirthFailsWithACodeAndDeathNeverFails)
{
    if (!Intercept())
        GTEST_SKIP() << "the system does not allow to intercept calls";
    DropAlertsAndLogLines();
    const std::string logs = testing::TempDir() + "system_call_logs";
    std::filesystem::create_directory(logs);
    SetMemoryLogFolder(logs);
    AskForMemoryLog("true", "1");
    for (const Failing& failing : Failings())
    {
        WalkInChildren(failing, false, "04");
        WalkInChildren(failing, true, "0");
    }
    std::filesystem::remove_all(logs);
}

// Rows lose a line at most, and none is written into another.
TEST(SystemCallsOverALife, TheMemoryLogGoesOnAfterEachFailure)
{
    const long kPoints = 40; // a row makes fewer calls
    if (!Intercept())
        GTEST_SKIP() << "the system does not allow to intercept calls";
    DropAlertsAndLogLines();
    SetMemoryLogFolder(testing::TempDir());
    AskForMemoryLog("true", "1");
    std::remove(MemoryLogPath().c_str());
    ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
    for (const Failing& failing : Failings())
    {
        for (long point = 1; point <= kPoints; ++point)
        {
            SCOPED_TRACE(testing::Message() << failing.name << ", point " << point);
            failing.begin(point);
            while (!failing.hasFailed())
                std::this_thread::yield(); // no call that fails
            failing.end();
            const std::size_t before = WaitForLines(0).size();
            const Texts lines = WaitForLines(before + 3);
            ASSERT_GE(lines.size(), before + 3);
            const std::size_t columns = 25; // with the stamp
            for (std::size_t i = before + 1; i < lines.size(); ++i)
                ASSERT_EQ(std::count(lines[i].begin(), lines[i].end(), '\t') + 1, columns)
                    << lines[i];
        }
    }
    EXPECT_EQ(U_Death(), 0);
    std::remove(MemoryLogPath().c_str());
}
