// The fixture of scoped loggers.

#ifndef TESTS_INSTRUMENTATION_SC_LOGGER_TEST_H
#define TESTS_INSTRUMENTATION_SC_LOGGER_TEST_H

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include <unistd.h>

#include <krobase/threads.h>
#include <platform/control.h>

#include "fuzz/code_thrown.h"
#include "indep/instrumentation/ScLogger.h"
#include "tests/support/TimeZone.h"

const long long kNow = 1613016306007; // 11 February 2021, 04:05:06.007 UTC
const char kStamp[] = "02/10/2021 23:05:06.007 ";

class ScLogger : public testing::Test
{
protected:
    void SetUp() override
    {
        std::remove(mPath.c_str());
        platform::SetTickClock([this] { return mTicks; });
        platform::SetWallClock([] { return kNow; });
    }
    void TearDown() override
    {
        std::remove(mPath.c_str());
        platform::ResetAll();
    }

    std::string Written() const
    {
        std::ifstream file(mPath);
        return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }

    // The stamp of a line of the calling thread.
    static std::string Prefix()
    {
        char ids[64];
        std::snprintf(ids, sizeof(ids), "[%d:%x] ", static_cast<int>(getpid()),
                      krobase::threads::GetCurrentThreadID());
        return std::string(ids) + kStamp;
    }

    const std::string mPath = testing::TempDir() + "sc_logger_" + std::to_string(getpid());
    const ScTimeZone mZone{"EST5"};
    unsigned long long mTicks = 0; // nanoseconds
};

class PlainLogger : public U_ScGlobalLogger
{
public:
    explicit PlainLogger(const char* pathname) : U_ScGlobalLogger(pathname) { stampLines = false; }
};

inline int ThrownFor(const std::string& path)
{
    errno = EPERM; // of an earlier failure
    return CodeThrown([&] { U_ScGlobalLogger logger(path.c_str()); });
}

#endif
