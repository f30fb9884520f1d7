// The memory log. Each test runs in a process of its own, since the log ends with the process.

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

// Waits until a line follows the first `count` lines: only then these lines are complete.
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

// Returns whether the log still writes rows.
bool Continues()
{
    const std::size_t written = Lines().size();
    return WaitForLines(written + 2).size() >= written + 2;
}

// The columns after the stamp, numbered from 1 as in the header.
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

// Compares the columns of a row with each other and with the row before.
void ExpectConsistent(const Figures& row, const Figures& before)
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
    // Rows that were written during the allocation do not include the block.
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
        ExpectConsistent(row, last);
        last = row;
    }
    // The first rows may be earlier than the limits, and include blocks of the birth.
    EXPECT_EQ(last[16], static_cast<long long>(kPrepurge));
    EXPECT_EQ(last[17], static_cast<long long>(kMaximum));
    EXPECT_GE(last[3] - first[3], static_cast<long long>(19 * kMiB));
    U_FreePtr(block);
    EXPECT_EQ(U_Death(), 0); // the log continues, and the process can end
}

// Throws in the first row. In later rows an allocation of the log thread fails.
unsigned int sMainThread = 0;
std::atomic<int> sMeasured(0);
thread_local std::optional<ScFailingNew> sFailing; // until the next row

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

void ContinueAfterFailedRows()
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
    EXPECT_TRUE(Continues());
    EXPECT_EQ(U_Death(), 0);
    EXPECT_TRUE(Continues());
    EXPECT_EQ(U_Birth("Memory Log", nullptr), 0);
    EXPECT_TRUE(Continues());
    EXPECT_EQ(Starts(), 2);
    EXPECT_EQ(U_Death(), 0);
    EXPECT_EQ(alerts.Texts(), Texts()) << "a report could run during the library's death";
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
    ExpectConsistent(Row(lines[4]), Figures(25));
    EXPECT_EQ(U_Death(), 0);
}

// After a birth that fails without memory, the next birth starts the log and appends to the file.
void StartAfterFailures()
{
    Ask("true", "10");
    const int kFailedAfterTheStart = 2;
    int failedAfterTheStart = 0;
    for (long nth = 1; nth <= 80; ++nth)
    {
        const pid_t child = fork();
        if (child == 0)
        {
            std::optional<ScFailingNew> failing(nth);
            const U_Status failure = U_Birth("Memory Log", nullptr);
            failing.reset();
            const bool isAfterTheStart = failure && Starts() == 1;
            const bool starts = !failure || (U_Birth("Memory Log", nullptr) == 0 && Continues() &&
                                             Starts() == (isAfterTheStart ? 2 : 1));
            std::remove(Path().c_str());
            _exit(!starts ? 1 : isAfterTheStart ? kFailedAfterTheStart : 0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status)) << nth;
        EXPECT_NE(WEXITSTATUS(status), 1) << nth;
        failedAfterTheStart += WEXITSTATUS(status) == kFailedAfterTheStart;
    }
    EXPECT_GT(failedAfterTheStart, 0);
}

// Each birth opens the file, or makes a missing file. A birth that cannot open the file fails.
void OpenTheFileAgain()
{
    ASSERT_EQ(BirthWith("true", "10"), 0);
    EXPECT_EQ(U_Death(), 0);
    std::remove(Path().c_str());
    mkdir(Path().c_str(), 0700);
    EXPECT_EQ(BirthWith("true", "10"), EISDIR);
    rmdir(Path().c_str());
    ASSERT_EQ(BirthWith("true", "10"), 0);
    EXPECT_TRUE(Continues());
    EXPECT_EQ(Starts(), 1);
    EXPECT_EQ(U_Death(), 0);
}

// SIGALRM ends a child that waits for the log thread of its parent.
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
                  const bool starts = U_Birth("Memory Log", nullptr) == 0 && Continues();
                  std::remove(Path().c_str());
                  _exit(!starts);
              }),
              0);
    EXPECT_TRUE(WIFEXITED(StatusOfFork([] { std::exit(0); })));
    EXPECT_TRUE(Continues());
}

// The time of a line's stamp, in milliseconds of the day.
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

// Runs in a child process, which must succeed.
template <class Run> void InAProcess(Run run)
{
    if (access("/", W_OK) != 0)
        GTEST_SKIP() << "the log's folder, the root, is not writable";
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

TEST(MemoryLog, RowsHaveFiguresThatAgree)
{
    InAProcess(&LogRows);
}

TEST(MemoryLog, TheLogContinuesAfterAFailedRow)
{
    InAProcess(&ContinueAfterFailedRows);
}

TEST(MemoryLog, EachBirthStartsTheLogWithItsOwnInterval)
{
    InAProcess(&StartAgain);
}

TEST(MemoryLog, TheLogStartsAfterAFailedBirth)
{
    InAProcess(&StartAfterFailures);
}

TEST(MemoryLog, EachBirthOpensTheFileOrReturnsTheError)
{
    InAProcess(&OpenTheFileAgain);
}

TEST(MemoryLog, AChildOfForkStartsALogOfItsOwn)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "under the sanitizer a child of several threads cannot start a thread";
#endif
    InAProcess(&StartInAChild);
}

TEST(MemoryLog, RowsAreOneIntervalApart)
{
    InAProcess([] { WaitFor("300 ms", 300); });
    InAProcess([] { WaitFor("often", 1000); });
}

TEST(MemoryLog, TheLogIsOffUnlessTheSettingIsTrue)
{
    InAProcess([] {
        for (const char* text : {static_cast<const char*>(nullptr), "", "1", "True", "true "})
        {
            EXPECT_EQ(BirthWith(text, "1"), 0);
            EXPECT_EQ(U_Death(), 0);
        }
        EXPECT_NE(access(Path().c_str(), F_OK), 0) << "a file exists";
    });
}
