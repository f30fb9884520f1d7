// Scoped loggers, compiled into the test, since the library does not export them.

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <tuple>

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <krobase/threads.h>
#include <platform/control.h>

#include "indep/instrumentation/ScLogger.h"
#include "tests/instrumentation/PrivateLog.h"
#include "tests/support/CodeThrown.h"
#include "tests/support/TimeZone.h"

namespace
{
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

int ThrownFor(const std::string& path)
{
    errno = EPERM; // of an earlier failure
    return CodeThrown([&] { U_ScGlobalLogger logger(path.c_str()); });
}
} // namespace

TEST_F(ScLogger, EachSpanIsAppendedWithItsLength)
{
    const std::tuple<unsigned long long, unsigned long long, const char*> rows[] = {
        {1000, 1500001000, "1.500"},
        {5000000000, 3500000000, "1.500"}, // a clock that runs backwards
        {7, 499999, "0.000"},
        {0, 1ull << 63, "9223372036.855"},
    };
    std::string expected = "old\n";
    std::ofstream(mPath) << expected;
    for (const auto& [start, end, delta] : rows)
    {
        mTicks = start;
        {
            U_ScGlobalLogger logger(mPath.c_str());
            mTicks = end;
        }
        expected += Prefix() + " * log start\n" + Prefix() + " * log end: delta=" + delta + "\n";
        EXPECT_EQ(Written(), expected);
    }
}

TEST_F(ScLogger, LinesAreInTheFileWhenTheirCallReturns)
{
    U_ScGlobalLogger logger(mPath.c_str());
    std::string expected = Prefix() + " * log start\n";
    EXPECT_EQ(Written(), expected);

    const std::string longer(100000, 'x');
    logger.Printf("\t%llu\t%s", ~0ull, longer.c_str());
    expected += Prefix() + "\t18446744073709551615\t" + longer + "\n";
    EXPECT_EQ(Written(), expected);

    std::thread([&] {
        logger.Printf("%s", "");
        expected += Prefix() + "\n";
    }).join();
    EXPECT_EQ(Written(), expected);
}

TEST_F(ScLogger, WithoutStampsLinesAreTheirTextAlone)
{
    const std::string start = Prefix() + " * log start\n"; // written before the stamps end
    {
        PlainLogger logger(mPath.c_str());
        logger.Printf("%d%%", 7);
    }
    EXPECT_EQ(Written(), start + "7%\n * log end: delta=0.000\n");
}

TEST_F(ScLogger, AFileThatCannotBeOpenedThrowsTheReason)
{
    EXPECT_EQ(ThrownFor(mPath + "/missing/file"), ENOENT);
    EXPECT_EQ(ThrownFor(testing::TempDir()), EISDIR);
    gOpenPrivateLog = [](const char*) -> std::FILE* { return nullptr; }; // without a reason
    EXPECT_EQ(ThrownFor(mPath), 0);
    {
        U_ScGlobalLogger logger(mPath.c_str());
        logger.Printf("nowhere");
    }
    gOpenPrivateLog = nullptr;
    EXPECT_EQ(Written(), "");
}

TEST_F(ScLogger, TheFileIsTheUsersAloneAndNotThroughALink)
{
    const std::string target = mPath + "_target";
    ASSERT_EQ(symlink(target.c_str(), mPath.c_str()), 0);
    std::string logged;
    platform::SetLogSink([&](int, const char*, const char*, const char* text) { logged += text; });
    EXPECT_EQ(ThrownFor(mPath), ELOOP);
    EXPECT_EQ(logged, "can't open " + mPath + ": error " + std::to_string(ELOOP));
    EXPECT_NE(access(target.c_str(), F_OK), 0);
    std::remove(mPath.c_str());

    const mode_t mask = umask(0);
    const U_ScGlobalLogger logger(mPath.c_str());
    umask(mask);
    struct stat file = {};
    ASSERT_EQ(stat(mPath.c_str(), &file), 0);
    EXPECT_EQ(file.st_mode & 0777u, 0600u);
    EXPECT_EQ(std::system(("! ls -l /proc/self/fd | grep " + mPath).c_str()), 0)
        << "another program inherits the file";
}

TEST_F(ScLogger, AFullDiskLosesLinesButTheNextOneIsWhole)
{
    U_ScGlobalLogger nothing("/dev/full");
    for (int line = 0; line < 1000; ++line)
        nothing.Printf("line %d", line);

    PlainLogger logger(mPath.c_str());
    const std::string start = Written();
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit;
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit full = {start.size() + 10, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &full);
    for (int line = 1; line <= 4; ++line)
        logger.Printf("line %d", line);
    setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, handler);
    logger.Printf("line 5");
    logger.Printf("line 6");
    EXPECT_EQ(Written(), start + "line 1\nlin\nline 5\nline 6\n");
}
