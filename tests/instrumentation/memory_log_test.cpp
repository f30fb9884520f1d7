// The memory log, in processes of their own: it has no end but the process's.

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <krobase/debug.h>
#include <krobase/threads.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "U_Lifecycle.h"
#include "U_MemServices.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/FailingNew.h"

namespace
{
typedef std::vector<std::string> Texts;
typedef std::vector<long long> Figures;

const U_u64 kPrepurge = 300 * kMiB;
const U_u64 kMaximum = 400 * kMiB;
const char kHeader[] =
    "\tvirtual\tdelta_virtual\tcalc_mem\tdiff_mem\tcalc_u\tdiff_u\tslop\tdeltaslop\tcalc\tdiff_calc"
    "\tresident\tdiff_res\tpageins\tfaults\tdiff_faults\tlimit_prepurge\tlimit_max\tglob_free"
    "\tglob_active\tglob_inactive\tglob_wired\tglob_faults\tglob_pageins\tglob_pageouts";

std::string Path()
{
    return "/bc_memory." + std::to_string(getpid()) + ".log";
}

void Ask(const char* log, const char* interval)
{
    krobase::debug::DebugDatabase::Instance().SetEntry("MemoryYoYoLog", log);
    krobase::debug::DebugDatabase::Instance().SetEntry("MemoryYoYoLogInterval", interval);
}

U_Status BirthWith(const char* log, const char* interval)
{
    Ask(log, interval);
    return U_Birth("Memory Log", nullptr);
}

Texts Lines()
{
    Texts lines;
    std::ifstream file(Path());
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

// Lines are whole once the next one stands behind them.
Texts WaitForLines(std::size_t count)
{
    Texts lines;
    for (int waited = 0; waited < 3000 && lines.size() <= count; ++waited)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        lines = Lines();
    }
    return lines;
}

// Whether rows are still being written.
bool GoesOn()
{
    const std::size_t written = Lines().size();
    return WaitForLines(written + 2).size() >= written + 2;
}

// The columns, from 1 on as the header counts them behind the stamp.
Figures Row(const std::string& line)
{
    Figures row = {0};
    std::istringstream stream(line);
    std::string column;
    std::getline(stream, column, '\t');
    while (std::getline(stream, column, '\t'))
        row.push_back(std::stoll(column));
    return row;
}

// What a row says of itself, and against the one before.
void ExpectRight(const Figures& row, const Figures& before)
{
    ASSERT_EQ(row.size(), 25u);
    for (const std::size_t column : {1, 7, 11, 14})
        EXPECT_EQ(row[column + 1], row[column] - before[column]) << column;
    EXPECT_EQ(row[4], row[3] - row[1]);
    EXPECT_EQ(row[6], row[5] - row[1]);
    EXPECT_EQ(row[9], row[1]);
    EXPECT_EQ(row[10], row[1]);
}

void LogRows()
{
    ASSERT_EQ(BirthWith("true", "10"), 0);
    U_SetMemUsageLimits(kPrepurge, kMaximum);
    ASSERT_GE(WaitForLines(5).size(), 5u);
    void* const block = U_AllocatePtrQuiet(20 * kMiB);
    // Rows that came while the block was made don't show it.
    const std::size_t written = Lines().size();
    const Texts lines = WaitForLines(written + 2);
    ASSERT_GE(lines.size(), written + 2);
    EXPECT_THAT(lines[0], testing::HasSubstr("  * log start"));
    EXPECT_THAT(lines[1], testing::EndsWith(kHeader));
    const Figures first = Row(lines[2]);
    Figures last(25);
    for (std::size_t line = 2; line + 1 < lines.size(); ++line)
    {
        const Figures row = Row(lines[line]);
        ExpectRight(row, last);
        last = row;
    }
    // The first rows may come before the limits are set, and see more of birth's own blocks.
    EXPECT_EQ(last[16], static_cast<long long>(kPrepurge));
    EXPECT_EQ(last[17], static_cast<long long>(kMaximum));
    EXPECT_GE(last[3] - first[3], static_cast<long long>(19 * kMiB));
    U_FreePtr(block);
    EXPECT_EQ(U_Death(), 0); // the log goes on, and the process ends all the same
}

// Throws, or leaves the log thread without memory for what comes next, in turn.
unsigned int sMainThread = 0;
std::atomic<int> sMeasured(0);
thread_local std::optional<ScFailingNew> sFailing; // over the end of the row

size_t DisturbRow()
{
    if (krobase::threads::GetCurrentThreadID() == sMainThread)
        return 0;
    const int turn = sMeasured++;
    if (turn == 0)
        throw std::runtime_error("from a manager");
    if (turn < 4)
        sFailing.emplace(turn);
    return 0;
}

long Starts()
{
    const Texts lines = Lines();
    return std::count_if(lines.begin(), lines.end(), [](const std::string& line) {
        return line.find("log start") != std::string::npos;
    });
}

void GoOnWhateverHappens()
{
    CapturedAlerts alerts;
    sMainThread = krobase::threads::GetCurrentThreadID();
    ASSERT_EQ(BirthWith("true", "10"), 0);
    const krobase::utility::Guid id = {};
    U_InstallExternalMemoryManager(id, &DisturbRow);
    for (int waited = 0; waited < 3000 && sMeasured < 6; ++waited)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    ASSERT_GE(sMeasured, 6);
    U_UnInstallExternalMemoryManager(id);
    EXPECT_TRUE(GoesOn());
    EXPECT_EQ(U_Death(), 0);
    EXPECT_TRUE(GoesOn());
    EXPECT_EQ(U_Birth("Memory Log", nullptr), 0);
    EXPECT_TRUE(GoesOn());
    EXPECT_EQ(Starts(), 2);
    EXPECT_EQ(U_Death(), 0);
    EXPECT_EQ(alerts.Texts(), Texts()) << "a report could meet the library's death";
}

void StartAgain()
{
    ASSERT_EQ(BirthWith("true", "1000000"), 0);
    EXPECT_EQ(U_Death(), 0);
    ASSERT_EQ(BirthWith("true", "10"), 0);
    const Texts lines = WaitForLines(5);
    ASSERT_GE(lines.size(), 5u);
    for (const std::size_t start : {0, 2})
    {
        EXPECT_THAT(lines[start], testing::HasSubstr("  * log start"));
        EXPECT_THAT(lines[start + 1], testing::EndsWith(kHeader));
    }
    ExpectRight(Row(lines[4]), Figures(25));
    EXPECT_EQ(U_Death(), 0);
}

// A birth that fails for want of an allocation leaves the log to the next one, which goes
// on with what has been written.
void StartAfterFailures()
{
    Ask("true", "10");
    const int kFailedBehindTheStart = 2;
    int failedBehindTheStart = 0;
    for (long nth = 1; nth <= 80; ++nth)
    {
        const pid_t child = fork();
        if (child == 0)
        {
            std::optional<ScFailingNew> failing(nth);
            const U_Status failure = U_Birth("Memory Log", nullptr);
            failing.reset();
            const bool isBehindTheStart = failure && Starts() == 1;
            const bool starts = !failure || (U_Birth("Memory Log", nullptr) == 0 && GoesOn() &&
                                             Starts() == (isBehindTheStart ? 2 : 1));
            std::remove(Path().c_str());
            _exit(!starts ? 1 : isBehindTheStart ? kFailedBehindTheStart : 0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status)) << nth;
        EXPECT_NE(WEXITSTATUS(status), 1) << nth;
        failedBehindTheStart += WEXITSTATUS(status) == kFailedBehindTheStart;
    }
    EXPECT_GT(failedBehindTheStart, 0);
}

// Each birth opens the file: a birth reports a failure to open, and makes a missing file.
void OpenTheFileAgain()
{
    ASSERT_EQ(BirthWith("true", "10"), 0);
    EXPECT_EQ(U_Death(), 0);
    std::remove(Path().c_str());
    mkdir(Path().c_str(), 0700);
    EXPECT_EQ(BirthWith("true", "10"), EISDIR);
    rmdir(Path().c_str());
    ASSERT_EQ(BirthWith("true", "10"), 0);
    EXPECT_TRUE(GoesOn());
    EXPECT_EQ(Starts(), 1);
    EXPECT_EQ(U_Death(), 0);
}

// A child of fork that waits for the log thread of its parent never ends: SIGALRM ends the
// child.
int StatusOfFork(void (*run)())
{
    const pid_t child = fork();
    if (child == 0)
    {
        alarm(20);
        run();
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return status;
}

void StartInAChild()
{
    ASSERT_EQ(BirthWith("true", "10"), 0);
    EXPECT_EQ(U_Death(), 0);
    EXPECT_EQ(StatusOfFork([] {
                  const bool starts = U_Birth("Memory Log", nullptr) == 0 && GoesOn();
                  std::remove(Path().c_str());
                  _exit(!starts);
              }),
              0);
    EXPECT_TRUE(WIFEXITED(StatusOfFork([] { std::exit(0); })));
    EXPECT_TRUE(GoesOn());
}

// Milliseconds of the day in a line's stamp.
long Stamp(const std::string& line)
{
    int hour = 0, minute = 0, second = 0, milliseconds = 0;
    EXPECT_EQ(std::sscanf(line.c_str(), "[%*d:%*x] %*d/%*d/%*d %d:%d:%d.%d", &hour, &minute,
                          &second, &milliseconds),
              4);
    return ((hour * 60 + minute) * 60 + second) * 1000L + milliseconds;
}

void WaitFor(const char* interval, long expected)
{
    ASSERT_EQ(BirthWith("true", interval), 0);
    const Texts lines = WaitForLines(2);
    ASSERT_GE(lines.size(), 3u);
    const long kDay = 24 * 60 * 60 * 1000L;
    const long waited = (Stamp(lines[2]) - Stamp(lines[1]) + kDay) % kDay;
    EXPECT_GE(waited, expected - 1); // a stamp is cut to whole milliseconds
    EXPECT_EQ(U_Death(), 0);
}

// Runs in a child process, which may not fail.
template <class Run> void InAProcess(Run run)
{
    if (access("/", W_OK) != 0)
        GTEST_SKIP() << "the log's folder is the root, which isn't ours to write";
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            std::remove(Path().c_str());
            PinSwitches();
            run();
            std::remove(Path().c_str());
            std::exit(testing::Test::HasFailure());
        },
        testing::ExitedWithCode(0), "");
}
} // namespace

TEST(MemoryLog, WritesRowsOfFiguresThatAgree)
{
    InAProcess(&LogRows);
}

TEST(MemoryLog, GoesOnWhateverHappensToARow)
{
    InAProcess(&GoOnWhateverHappens);
}

TEST(MemoryLog, EachBirthStartsTheLogWithItsOwnInterval)
{
    InAProcess(&StartAgain);
}

TEST(MemoryLog, GoesOnAfterABirthThatFailed)
{
    InAProcess(&StartAfterFailures);
}

TEST(MemoryLog, EachBirthOpensTheFile)
{
    InAProcess(&OpenTheFileAgain);
}

TEST(MemoryLog, AChildOfForkStartsItsOwn)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the sanitizer lets no child of several threads start a thread";
#endif
    InAProcess(&StartInAChild);
}

TEST(MemoryLog, WaitsOneIntervalBetweenRows)
{
    InAProcess([] { WaitFor("300 ms", 300); });
    InAProcess([] { WaitFor("often", 1000); });
}

TEST(MemoryLog, BirthTellsAFileThatCanNotBeOpened)
{
    InAProcess([] {
        mkdir(Path().c_str(), 0700);
        EXPECT_EQ(BirthWith("true", "10"), EISDIR);
    });
}

TEST(MemoryLog, IsOffUnlessTheSettingIsTrue)
{
    InAProcess([] {
        for (const char* text : {static_cast<const char*>(nullptr), "", "1", "True", "true "})
        {
            EXPECT_EQ(BirthWith(text, "1"), 0);
            EXPECT_EQ(U_Death(), 0);
        }
        EXPECT_NE(access(Path().c_str(), F_OK), 0) << "there is a file";
    });
}
