// The memory log of this process. Each test of the log runs in a process of its own, since the log
// ends with the process.

#ifndef TESTS_INSTRUMENTATION_MEMORY_LOG_TEST_H
#define TESTS_INSTRUMENTATION_MEMORY_LOG_TEST_H

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/BornLibrary.h"

typedef std::vector<std::string> Texts;

// Leads the log to a folder that the test may write to: the log's own folder may be the
// administrator's alone.
void RedirectMemoryLog();
std::string MemoryLogPath(); // after RedirectMemoryLog

// Changes the settings that the next birth reads. Null removes a setting.
void AskForMemoryLog(const char* log, const char* interval);

// Returns the whole lines of the log once there are so many, or the lines after a minute.
Texts WaitForLines(std::size_t count);

// Returns whether the log still writes rows.
bool Continues();

// Runs in a process of its own, which must succeed.
template <class Run> void InAProcess(Run run)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            RedirectMemoryLog();
            PinSwitches();
            run();
            std::remove(MemoryLogPath().c_str());
            std::exit(testing::Test::HasFailure());
        },
        testing::ExitedWithCode(0), "");
}

#endif
