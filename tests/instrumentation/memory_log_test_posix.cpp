// The memory log. Each test runs in a process of its own, since the log ends with the process.

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <functional>
#include <mutex>
#include <optional>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include <sys/wait.h>
#include <unistd.h>

#include <krobase/debug.h>
#include <krobase/threads.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "U_Lifecycle.h"
#include "U_MemServices.h"
#include "tests/instrumentation/PrivateLog.h"
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

// The log's files, in memory of a fixed size, since an allocation of the log thread may fail.
struct Written
{
    std::mutex lock; // guards the other members
    std::condition_variable changed;
    char text[1 << 20];
    std::size_t size = 0;
    int openFailure = 0; // the reason of the next openings
} sWritten;

ssize_t Append(void*, const char* bytes, std::size_t count)
{
    const std::lock_guard<std::mutex> lock(sWritten.lock);
    if (count > sizeof(sWritten.text) - sWritten.size)
        return 0;
    std::memcpy(sWritten.text + sWritten.size, bytes, count);
    sWritten.size += count;
    sWritten.changed.notify_all();
    return static_cast<ssize_t>(count);
}

std::string sFolder; // the file is expected in this folder

std::string ExpectedPath()
{
    return sFolder + "/bc_memory." + std::to_string(getpid()) + ".log";
}

std::FILE* Open(const char* path)
{
    const std::string expected = ExpectedPath();
    errno = path == expected ? sWritten.openFailure : ENOENT;
    cookie_io_functions_t functions = {};
    functions.write = &Append;
    return errno ? nullptr : fopencookie(nullptr, "a", functions);
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

// Returns the lines once there are so many, or the lines after a minute.
Texts WaitForLines(std::size_t count)
{
    const auto end = [] { return sWritten.text + sWritten.size; };
    std::unique_lock<std::mutex> lock(sWritten.lock);
    Texts lines;
    sWritten.changed.wait_for(lock, std::chrono::minutes(1), [&] {
        lines.clear();
        std::istringstream text(std::string(sWritten.text, end()));
        for (std::string line; std::getline(text, line);)
            lines.push_back(line);
        return lines.size() >= count;
    });
    return lines;
}

// Returns whether the log still writes rows.
bool Continues()
{
    const std::size_t enough = WaitForLines(0).size() + 2;
    return WaitForLines(enough).size() >= enough;
}

long Starts()
{
    const Texts lines = WaitForLines(0);
    return std::count_if(lines.begin(), lines.end(), [](const std::string& line) {
        return line.find("  * log start") != std::string::npos;
    });
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

// Runs in a child of fork, which SIGALRM ends if it waits for a thread of its parent.
int CodeOfFork(const std::function<int()>& run)
{
    sWritten.lock.lock(); // the log thread must not own the lock in the child
    const pid_t child = fork();
    sWritten.lock.unlock();
    if (child == 0)
    {
        alarm(20);
        _exit(run());
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Runs in a process of its own, which must succeed.
template <class Run> void InAProcess(Run run)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            gOpenPrivateLog = &Open;
            PinSwitches();
            run();
            std::exit(testing::Test::HasFailure());
        },
        testing::ExitedWithCode(0), "");
}
} // namespace

TEST(MemoryLog, RowsHaveFiguresThatAgree)
{
    InAProcess([] {
        ASSERT_EQ(BirthWith("true", "10"), 0);
        U_SetMemUsageLimits(kPrepurge, kMaximum);
        const std::size_t before = WaitForLines(5).size();
        void* const block = U_AllocatePtrQuiet(20 * kMiB);
        // A row that was written during the allocation does not include the block.
        const Texts lines = WaitForLines(before + 10);
        ASSERT_GE(lines.size(), before + 10);
        EXPECT_THAT(lines[0], testing::HasSubstr("  * log start"));
        EXPECT_THAT(lines[1], testing::EndsWith(kHeader));
        Figures last(25);
        for (std::size_t line = 2; line < lines.size(); ++line)
        {
            const Figures row = Row(lines[line]);
            ExpectConsistent(row, last);
            last = row;
        }
        // The first rows may be earlier than the limits, and include blocks of the birth.
        EXPECT_EQ(last[16], static_cast<long long>(kPrepurge));
        EXPECT_EQ(last[17], static_cast<long long>(kMaximum));
        EXPECT_GE(last[3] - Row(lines[2])[3], static_cast<long long>(19 * kMiB));
        U_FreePtr(block);
        EXPECT_EQ(U_Death(), 0); // the log continues, and the process can end
    });
}

TEST(MemoryLog, TheLogContinuesAfterAFailedRow)
{
    InAProcess([] {
        CapturedAlerts alerts;
        sMainThread = krobase::threads::GetCurrentThreadID();
        ASSERT_EQ(BirthWith("true", "10"), 0);
        const krobase::utility::Guid id = {};
        U_InstallExternalMemoryManager(id, &DisturbRow);
        WaitForLines(WaitForLines(0).size() + 6);
        ASSERT_GE(sMeasured, 6);
        U_UnInstallExternalMemoryManager(id);
        EXPECT_TRUE(Continues());
        EXPECT_EQ(U_Death(), 0);
        EXPECT_TRUE(Continues());
        EXPECT_EQ(U_Birth("Memory Log", nullptr), 0);
        EXPECT_TRUE(Continues());
        EXPECT_EQ(Starts(), 2);
        const Texts lines = WaitForLines(WaitForLines(0).size() + 4);
        const auto thread = [](const std::string& line) { return line.substr(0, line.find(' ')); };
        for (auto line = lines.end() - 4; line != lines.end(); ++line)
            EXPECT_EQ(thread(*line), thread(lines.back())) << "the earlier thread goes on";
        EXPECT_EQ(U_Death(), 0);
        EXPECT_EQ(alerts.Texts(), Texts()) << "a report could run during the library's death";
    });
}

TEST(MemoryLog, EachBirthStartsTheLogWithItsOwnIntervalOrReturnsTheError)
{
    InAProcess([] {
        ASSERT_EQ(BirthWith("true", "1000000"), 0);
        EXPECT_EQ(U_Death(), 0);
        sWritten.openFailure = EISDIR;
        EXPECT_EQ(BirthWith("true", "10"), EISDIR);
        sWritten.openFailure = 0;
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
    });
}

TEST(MemoryLog, TheHostChoosesTheFolderAndGetsThePathAndTheError)
{
    InAProcess([] {
        int error = 9;
        EXPECT_EQ(U_GetMemoryLogPath(&error), "");
        EXPECT_EQ(error, 0);
        struct Row
        {
            const char* folder; // null: not set
            const char* prefix;
            int failure;
        };
        const Row kRows[] = {{nullptr, "", EACCES},
                             {"", "", 0},
                             {"/var/log/größe", "/var/log/größe", ENOSPC},
                             {"here", "here", 0},
                             {nullptr, "", EROFS}};
        for (const Row& row : kRows)
        {
            sFolder = row.prefix;
            sWritten.openFailure = row.failure;
            krobase::debug::DebugDatabase::Instance().SetEntry("MemoryYoYoLogFolder", row.folder);
            const long starts = Starts();
            EXPECT_EQ(BirthWith("true", "100000"), row.failure) << row.prefix;
            EXPECT_EQ(U_GetMemoryLogPath(&error), ExpectedPath());
            EXPECT_EQ(error, row.failure);
            EXPECT_EQ(Starts(), starts + (row.failure == 0)) << row.prefix;
            if (row.failure == 0)
            {
                EXPECT_EQ(U_Death(), 0);
            }
        }
        EXPECT_EQ(U_GetMemoryLogPath(nullptr), ExpectedPath());
    });
}

// The log may have started before the birth fails.
TEST(MemoryLog, TheLogStartsAgainAfterABirthThatFailsWithoutMemory)
{
    enum
    {
        kWrong,
        kFailedBeforeTheStart,
        kFailedAfterTheStart,
        kBornDespiteAFailure,
        kBorn
    };
    InAProcess([] {
        Ask("true", "10");
        std::set<int> codes;
        for (long nth = 1; codes.count(kBorn) == 0; ++nth)
        {
            codes.insert(CodeOfFork([&] {
                std::optional<ScFailingNew> failing(nth);
                const bool isBorn = U_Birth("Memory Log", nullptr) == 0;
                const bool hasFailed = failing->HasFailed();
                failing.reset();
                const long starts = Starts();
                if (!isBorn && (U_Birth("Memory Log", nullptr) || Starts() != starts + 1))
                    return kWrong;
                if (!Continues())
                    return kWrong;
                if (isBorn)
                    return hasFailed ? kBornDespiteAFailure : kBorn;
                return starts ? kFailedAfterTheStart : kFailedBeforeTheStart;
            }));
            ASSERT_EQ(codes.count(kWrong) + codes.count(-1), 0u) << nth;
        }
        EXPECT_THAT(codes, testing::IsSupersetOf(
                               std::vector<int>{kFailedBeforeTheStart, kFailedAfterTheStart}));
    });
}

TEST(MemoryLog, AChildOfForkStartsALogOfItsOwn)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "under the sanitizer a child of several threads cannot start a thread";
#endif
    InAProcess([] {
        ASSERT_EQ(BirthWith("true", "10"), 0);
        EXPECT_EQ(U_Death(), 0);
        EXPECT_EQ(CodeOfFork([] { return U_Birth("", nullptr) == 0 && Continues() ? 7 : 8; }), 7);
        EXPECT_EQ(CodeOfFork([]() -> int { std::exit(7); }), 7);
        EXPECT_TRUE(Continues());
    });
}

TEST(MemoryLog, TheFirstRowIsOneIntervalAfterTheBirth)
{
    for (const auto& [interval, milliseconds] :
         {std::pair<const char*, int>("300 ms", 300), {"often", 1000}})
    {
        InAProcess([text = interval, least = milliseconds] {
            const auto start = std::chrono::steady_clock::now();
            ASSERT_EQ(BirthWith("true", text), 0);
            ASSERT_GE(WaitForLines(3).size(), 3u);
            EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(least));
            EXPECT_EQ(U_Death(), 0);
        });
    }
}

TEST(MemoryLog, TheLogIsOffUnlessTheSettingIsTrue)
{
    InAProcess([] {
        for (const char* text : {static_cast<const char*>(nullptr), "", "1", "True", "true "})
        {
            EXPECT_EQ(BirthWith(text, "1"), 0);
            EXPECT_EQ(U_Death(), 0);
        }
        EXPECT_EQ(WaitForLines(0), Texts());
    });
}
