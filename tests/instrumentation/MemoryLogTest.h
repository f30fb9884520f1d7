// The memory log of this process. Each test of the log runs in a process of its own, since the log
// ends with the process.

#ifndef TESTS_INSTRUMENTATION_MEMORY_LOG_TEST_H
#define TESTS_INSTRUMENTATION_MEMORY_LOG_TEST_H

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/BornLibrary.h"

std::string MemoryLogName(); // with a slash
std::string MemoryLogPath(); // in the tests' folder, where InAProcess leads the log

// Changes the folder that the next birth reads.
void SetMemoryLogFolder(const std::string& folder);

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
            PinSwitches();
            SetMemoryLogFolder(testing::TempDir());
            std::remove(MemoryLogPath().c_str()); // of an earlier process with the same ID
            run();
            std::remove(MemoryLogPath().c_str());
            std::exit(testing::Test::HasFailure());
        },
        testing::ExitedWithCode(0), "");
}

#endif
