// The memory log.

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <set>
#include <sstream>
#include <stdexcept>
#include <utility>

#include <gmock/gmock.h>

#include <krobase/threads.h>

#include <u/cpp/life.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "U_Lifecycle.h"
#include "U_MemServices.h"
#include "tests/instrumentation/MemoryLogTest.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/FailingNew.h"
#include "tests/support/System.h"

namespace
{
typedef std::vector<long long> Figures;

const U_u64 kPrepurge = 300 * kMiB;
const U_u64 kMaximum = 400 * kMiB;
const char kHeader[] =
    "\tvirtual\tdelta_virtual\tcalc_mem\tdiff_mem\tcalc_u\tdiff_u\tslop\tdeltaslop\tcalc\tdiff_calc"
    "\tresident\tdiff_res\tpageins\tfaults\tdiff_faults\tlimit_prepurge\tlimit_max\tglob_free"
    "\tglob_active\tglob_inactive\tglob_wired\tglob_faults\tglob_pageins\tglob_pageouts";

U_Status BirthWith(const char* log, const char* interval)
{
    AskForMemoryLog(log, interval);
    return U_Birth("Memory Log", nullptr);
}

std::ptrdiff_t Starts()
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
std::optional<ScFailingNew> sFailing; // of the log thread, until the next row

size_t DisturbRow()
{
    if (krobase::threads::GetCurrentThreadID() == sMainThread)
        return 0;
    sFailing.reset();
    const int turn = sMeasured++;
    if (turn == 0)
        throw std::runtime_error("from a manager");
    if (turn < 4)
        sFailing.emplace(turn);
    return 0;
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

TEST(MemoryLog, ASettingAddsTheCountOfPurgeRequests)
{
    InAProcess([] {
        platform::SetDebugSetting("MemoryYoYoLogPurges", "true");
        ASSERT_EQ(BirthWith("true", "10"), 0);
        static long long sRequests = 0;
        U_SetPurgeRequestCallback(
            [](void*, U_u64, U_u64, bool*) {
                ++sRequests;
                return 0;
            },
            nullptr);
        U_SetMemUsageLimits(kPrepurge, kMaximum);
        const U_u64 kSizes[] = {kPrepurge, 2 * kMaximum}; // above the limits with the use
        for (int count = 0; count < 3; ++count)
        {
            WaitForLines(WaitForLines(0).size() + 2);
            for (const U_u64 size : kSizes)
                U_FreePtr(U_AllocatePtrQuiet(size));
        }
        ASSERT_GE(sRequests, 6);
        const Texts lines = WaitForLines(WaitForLines(0).size() + 2);
        EXPECT_THAT(lines[1], testing::EndsWith(std::string(kHeader) + "\tpurges"));
        long long requests = 0;
        long long most = 0;
        for (std::size_t line = 2; line < lines.size(); ++line)
        {
            const Figures row = Row(lines[line]);
            ASSERT_EQ(row.size(), 26u);
            requests += row[25];
            most = std::max(most, row[25]);
        }
        EXPECT_EQ(requests, sRequests);
        EXPECT_LE(most, sRequests / 3);
        EXPECT_EQ(U_Death(), 0);
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
        const std::filesystem::path path = MemoryLogPath();
        const std::filesystem::path first = MemoryLogPath() + ".first";
        std::filesystem::rename(path, first);
        std::filesystem::create_directory(path);
        EXPECT_EQ(BirthWith("true", "10"), IsWindows() ? EACCES : EISDIR);
        std::filesystem::remove(path);
        std::filesystem::rename(first, path);
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
        const std::string folder = testing::TempDir() + "memory log";
        const std::string missing = folder + "/missing";
        std::filesystem::create_directory(folder);
        // The root folder may be the administrator's alone.
        for (const std::string& chosen : {folder, missing, std::string()})
        {
            SetMemoryLogFolder(chosen);
            const U_Status status = BirthWith("true", "100000");
            const std::string path = U_GetMemoryLogPath(&error);
            EXPECT_EQ(path, chosen + MemoryLogName());
            EXPECT_EQ(error, status);
            EXPECT_TRUE(chosen.empty() || (status == 0) == (chosen == folder)) << chosen;
            EXPECT_EQ(std::filesystem::exists(path), status == 0) << path;
            EXPECT_TRUE(status != 0 || U_Death() == 0);
            std::error_code ignored;
            std::filesystem::remove(path, ignored);
        }
        SetMemoryLogFolder(missing);
        const U::cpp::Life life("Memory Log");
        EXPECT_EQ(life.Status(), ENOENT);
        EXPECT_EQ(life.Error(), std::errc::no_such_file_or_directory);
    });
}

// The log may have started before the birth fails.
TEST(MemoryLog, TheLogStartsAgainAfterABirthThatFailsWithoutMemory)
{
    InAProcess([] {
        const CapturedAlerts alerts;
        std::set<bool> started; // by the births that failed
        bool hasFailed = true;
        for (long nth = 1; hasFailed; ++nth)
        {
            const std::ptrdiff_t before = Starts();
            AskForMemoryLog("true", "10");
            std::optional<ScFailingNew> failing(nth);
            const bool isBorn = U_Birth("Memory Log", nullptr) == 0;
            hasFailed = failing->HasFailed();
            failing.reset();
            const std::ptrdiff_t starts = Starts();
            if (!isBorn)
            {
                started.insert(starts > before);
                ASSERT_EQ(U_Birth("Memory Log", nullptr), 0) << nth;
                ASSERT_EQ(Starts(), starts + 1) << nth;
            }
            ASSERT_TRUE(Continues()) << nth;
            EXPECT_EQ(U_Death(), 0) << nth;
        }
        EXPECT_THAT(started, testing::ElementsAre(false, true));
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
