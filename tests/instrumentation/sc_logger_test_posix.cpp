#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/instrumentation/PrivateLog.h"
#include "tests/instrumentation/ScLoggerTest.h"

TEST_F(ScLogger, AFileThatIsNotOpenedWithoutAReasonGetsNoLines)
{
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
