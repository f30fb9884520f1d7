// All operations, birth and death, and the memory log while calls to the system fail, are
// interrupted, or do half their work.

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "U_Lifecycle.h"
#include "indep/instrumentation/ScLogger.h"
#include "tests/instrumentation/MemoryLogTest.h"
#include "tests/operations/Operations.h"
#include "tests/support/BornLibrary.h"
#include "tests/system_calls/FailingCalls.h"
#include "tests/walks/Walk.h"

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
        const int kUnknown = -2;
        static std::atomic<int> intercepted{kUnknown};
        // This thread answers, and so must not be one of those whose calls wait.
        std::thread([] {
            while (intercepted == kUnknown)
                std::this_thread::yield();
            if (intercepted >= 0)
                Answer(intercepted, Calls(), "");
        }).detach();
        intercepted = InterceptCalls();
        return intercepted >= 0;
    }();
    return intercepts;
}

Failing FailingWith(const char* name, Failure failure, bool forGood)
{
    return {name,
            [=](long point) { Calls().Begin(failure, point, forGood); },
            [] { Calls().End(); },
            []() -> bool { return Calls().hasFailed; },
            failure != Failure::kError,
            ""};
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

// Without a call that fails, both lines are there. A failed write costs a line, and a failed read
// hides both. An interruption costs nothing.
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
bool IsTorn(const std::string& row)
{
    const std::ptrdiff_t kColumns = 24;
    return std::count(row.begin(), row.end(), '\t') != kColumns;
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
    WalkOverALife(Failings());
}

// An error may cost the row that it hits, and leave the head of a line. No row is written into
// another.
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
            const std::size_t before = WaitForLines(0).size();
            failing.begin(point);
            while (!failing.hasFailed())
                std::this_thread::yield(); // no call that fails
            failing.end();
            const std::size_t failed = WaitForLines(0).size();
            const Texts lines = WaitForLines(failed + 3);
            ASSERT_GE(lines.size(), failed + 3);
            const std::size_t whole = failing.losesNothing ? before : failed + 1;
            EXPECT_EQ(std::count_if(lines.begin() + static_cast<std::ptrdiff_t>(whole), lines.end(),
                                    &IsTorn),
                      0);
        }
    }
    EXPECT_EQ(U_Death(), 0);
    std::remove(MemoryLogPath().c_str());
}
