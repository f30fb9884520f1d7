// The memory log, in processes of their own: it has no end but the process's.

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <new>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

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

const U_u64 kPrepurge = 300 * kMiB;
const U_u64 kMaximum = 400 * kMiB;
const std::size_t kColumns = 24;
const char kHeader[] =
    "\tvirtual\tdelta_virtual\tcalc_mem\tdiff_mem\tcalc_u\tdiff_u\tslop\tdeltaslop\tcalc\tdiff_calc"
    "\tresident\tdiff_res\tpageins\tfaults\tdiff_faults\tlimit_prepurge\tlimit_max\tglob_free"
    "\tglob_active\tglob_inactive\tglob_wired\tglob_faults\tglob_pageins\tglob_pageouts";

unsigned int sMainThread = 0;

std::string Path()
{
    return "/bc_memory." + std::to_string(getpid()) + ".log";
}

void Ask(const char* log, const char* interval)
{
    krobase::debug::DebugDatabase::Instance().SetEntry("MemoryYoYoLog", log);
    krobase::debug::DebugDatabase::Instance().SetEntry("MemoryYoYoLogInterval", interval);
}

Texts Lines()
{
    Texts lines;
    std::ifstream file(Path());
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

// The columns behind the stamp, which is the first.
Texts Columns(const std::string& line)
{
    Texts columns;
    std::istringstream stream(line);
    for (std::string column; std::getline(stream, column, '\t');)
        columns.push_back(column);
    if (!columns.empty())
        columns.erase(columns.begin());
    return columns;
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

long long At(const Texts& row, std::size_t column)
{
    return column <= row.size() ? std::stoll(row[column - 1]) : -1;
}

// What a row says of itself, and against the one before.
bool IsRight(const Texts& row, const Texts& before)
{
    const auto now = [&](std::size_t column) { return At(row, column); };
    const auto change = [&](std::size_t column) {
        return now(column) - (before.empty() ? 0 : At(before, column));
    };
    return row.size() == kColumns && now(2) == change(1) && now(4) == now(3) - now(1) &&
           now(6) == now(5) - now(1) && now(8) == change(7) && now(9) == now(1) &&
           now(10) == now(1) && now(12) == change(11) && now(15) == change(14);
}

int Fail(const std::string& why)
{
    std::fprintf(stderr, "%s\n", why.c_str());
    return 1;
}

int LogThreeRows()
{
    std::remove(Path().c_str());
    PinSwitches();
    Ask("true", "10");
    if (U_Status failure = U_Birth("Memory Log", nullptr))
        return Fail("birth: " + std::to_string(failure));
    U_SetMemUsageLimits(kPrepurge, kMaximum);
    const Texts lines = WaitForLines(5);
    void* const block = U_AllocatePtrQuiet(20 * kMiB);
    // Rows that came while the block was made don't show it.
    const std::size_t written = Lines().size();
    const Texts later = WaitForLines(written + 2);
    std::remove(Path().c_str());
    if (!block || lines.size() < 5 || later.size() < written + 2)
        return Fail("too few lines");
    if (lines[0].find("  * log start") == std::string::npos)
        return Fail(lines[0]);
    if (lines[1].find(kHeader) == std::string::npos ||
        lines[1].find(kHeader) + std::strlen(kHeader) != lines[1].size())
        return Fail(lines[1]);
    Texts before;
    for (std::size_t line = 2; line + 1 < later.size(); ++line)
    {
        const Texts row = Columns(later[line]);
        if (!IsRight(row, before))
            return Fail(later[line]);
        before = row;
    }
    // The first rows may come before the limits are set.
    if (At(before, 16) != static_cast<long long>(kPrepurge) ||
        At(before, 17) != static_cast<long long>(kMaximum))
        return Fail("other limits: " + later[later.size() - 2]);
    // The first row may have seen more of birth's own blocks.
    if (At(before, 3) - At(Columns(lines[2]), 3) < static_cast<long long>(19 * kMiB))
        return Fail("the block doesn't show: " + later[later.size() - 2]);
    U_FreePtr(block);
    return U_Death(); // the log goes on, and the process ends all the same
}

std::ptrdiff_t CountWith(const char* part, const Texts& lines)
{
    return std::count_if(lines.begin(), lines.end(), [part](const std::string& line) {
        return line.find(part) != std::string::npos;
    });
}

// Whether rows are still being written.
bool GoesOn()
{
    const std::size_t written = Lines().size();
    return WaitForLines(written + 2).size() >= written + 2;
}

int Throw(int which)
{
    switch (which)
    {
    case 0:
        throw 7;
    case 1:
        throw std::runtime_error("a manager's");
    default:
        throw "neither";
    }
}

// Throws, or leaves the log thread without memory for what comes next, in turn.
std::atomic<int> sMeasured(0);
thread_local std::optional<ScFailingNew> sFailing; // over the end of the row

size_t DisturbRow()
{
    if (krobase::threads::GetCurrentThreadID() == sMainThread)
        return 0;
    const int turn = sMeasured++;
    if (turn < 3)
        Throw(turn);
    if (turn < 6)
        sFailing.emplace(turn - 2);
    return 0;
}

int GoOnWhateverHappens()
{
    std::remove(Path().c_str());
    PinSwitches();
    CapturedAlerts alerts;
    sMainThread = krobase::threads::GetCurrentThreadID();
    Ask("true", "10");
    if (U_Birth("Memory Log", nullptr))
        return Fail("birth");
    const krobase::utility::Guid id = {};
    U_InstallExternalMemoryManager(id, &DisturbRow);
    for (int waited = 0; waited < 3000 && sMeasured < 8; ++waited)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    if (sMeasured < 8)
        return Fail("it ended in turn " + std::to_string(sMeasured));
    U_UnInstallExternalMemoryManager(id);
    if (!GoesOn())
        return Fail("no rows behind the manager");
    if (U_Death() != 0 || !GoesOn())
        return Fail("no rows behind death");
    if (U_Birth("Memory Log", nullptr) != 0 || !GoesOn())
        return Fail("no rows in the second life");
    const Texts lines = Lines();
    std::remove(Path().c_str());
    return CountWith("log start", lines) == 1 && U_Death() == 0 ? 0 : Fail("it was started again");
}

// In a process of its own: whether a birth that fails for want of an allocation leaves
// the log to the next one, which goes on with what has been written.
bool StartsAfterFailure(long nth)
{
    std::remove(Path().c_str());
    U_Status failure = 0;
    {
        const ScFailingNew failing(nth);
        failure = U_Birth("Memory Log", nullptr);
    }
    const bool goesOn = !failure || (U_Birth("Memory Log", nullptr) == 0 && GoesOn());
    const Texts lines = Lines();
    std::remove(Path().c_str());
    return goesOn &&
           (!failure || (CountWith("log start", lines) == 1 && CountWith("log end", lines) == 0));
}

int StartAfterFailures()
{
    PinSwitches();
    Ask("true", "10");
    for (long nth = 1; nth <= 80; ++nth)
    {
        const pid_t child = fork();
        if (child == 0)
            _exit(StartsAfterFailure(nth) ? 0 : 1);
        int status = 0;
        if (waitpid(child, &status, 0) != child || status != 0)
            return Fail("no rows after failure " + std::to_string(nth));
    }
    return 0;
}

// Milliseconds of the day in a line's stamp.
long Stamp(const std::string& line)
{
    int hour = 0, minute = 0, second = 0, milliseconds = 0;
    if (std::sscanf(line.c_str(), "[%*d:%*x] %*d/%*d/%*d %d:%d:%d.%d", &hour, &minute, &second,
                    &milliseconds) != 4)
        return -1;
    return ((hour * 60 + minute) * 60 + second) * 1000L + milliseconds;
}

int WaitFor(const char* interval, long expected)
{
    std::remove(Path().c_str());
    Ask("true", interval);
    if (U_Birth("Memory Log", nullptr) != 0)
        return Fail("birth");
    const Texts lines = WaitForLines(2);
    std::remove(Path().c_str());
    if (lines.size() < 3)
        return Fail("too few lines");
    const long kDay = 24 * 60 * 60 * 1000L;
    const long waited = (Stamp(lines[2]) - Stamp(lines[1]) + kDay) % kDay;
    // A stamp is cut to whole milliseconds.
    return waited >= expected - 1 && U_Death() == 0 ? 0 : Fail(std::to_string(waited));
}

int BirthWithoutAFile()
{
    mkdir(Path().c_str(), 0700);
    Ask("true", "10");
    const U_Status failure = U_Birth("Memory Log", nullptr);
    rmdir(Path().c_str());
    return failure == EISDIR || failure == EACCES ? 0 : Fail(std::to_string(failure));
}

int BirthWithoutALog()
{
    for (const char* text : {static_cast<const char*>(nullptr), "", "1", "True", "true "})
    {
        Ask(text, "1");
        if (U_Birth("Memory Log", nullptr) != 0 || U_Death() != 0)
            return Fail("birth");
    }
    return Lines().empty() && access(Path().c_str(), F_OK) != 0 ? 0 : Fail("there is a file");
}

class MemoryLog : public testing::Test
{
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};
} // namespace

TEST_F(MemoryLog, WritesRowsOfFiguresThatAgree)
{
    if (access("/", W_OK) != 0)
        GTEST_SKIP() << "the log's folder is the root, which isn't ours to write";
    EXPECT_EXIT(std::exit(LogThreeRows()), testing::ExitedWithCode(0), "");
}

TEST_F(MemoryLog, GoesOnWhateverHappensToARow)
{
    if (access("/", W_OK) != 0)
        GTEST_SKIP() << "the log's folder is the root, which isn't ours to write";
    EXPECT_EXIT(std::exit(GoOnWhateverHappens()), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(std::exit(StartAfterFailures()), testing::ExitedWithCode(0), "");
}

TEST_F(MemoryLog, WaitsOneIntervalBetweenRows)
{
    if (access("/", W_OK) != 0)
        GTEST_SKIP() << "the log's folder is the root, which isn't ours to write";
    EXPECT_EXIT(std::exit(WaitFor("300 ms", 300)), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(std::exit(WaitFor("often", 1000)), testing::ExitedWithCode(0), "");
}

TEST_F(MemoryLog, BirthTellsAFileThatCanNotBeOpened)
{
    EXPECT_EXIT(std::exit(BirthWithoutAFile()), testing::ExitedWithCode(0), "");
}

TEST_F(MemoryLog, IsOffUnlessTheSettingIsTrue)
{
    EXPECT_EXIT(std::exit(BirthWithoutALog()), testing::ExitedWithCode(0), "");
}
