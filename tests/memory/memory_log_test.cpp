// The memory log, in processes of their own: it has no end but the process's.

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <krobase/debug.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "U_Lifecycle.h"
#include "tests/support/BornLibrary.h"

namespace
{
typedef std::vector<std::string> Texts;

const U_u64 kPrepurge = 300 * kMiB;
const U_u64 kMaximum = 400 * kMiB;
const std::size_t kColumns = 24;

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
    if (Columns(lines[1]).size() != kColumns || Columns(lines[1])[0] != "virtual" ||
        Columns(lines[1]).back() != "glob_pageouts")
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
    if (At(before, 3) - At(Columns(lines[2]), 3) < static_cast<long long>(20 * kMiB))
        return Fail("the block doesn't show: " + later[later.size() - 2]);
    U_FreePtr(block);
    return U_Death(); // the log goes on, and the process ends all the same
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

TEST_F(MemoryLog, BirthTellsAFileThatCanNotBeOpened)
{
    EXPECT_EXIT(std::exit(BirthWithoutAFile()), testing::ExitedWithCode(0), "");
}

TEST_F(MemoryLog, IsOffUnlessTheSettingIsTrue)
{
    EXPECT_EXIT(std::exit(BirthWithoutALog()), testing::ExitedWithCode(0), "");
}
