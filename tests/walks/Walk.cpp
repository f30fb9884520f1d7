#include "tests/walks/Walk.h"

#include <filesystem>
#include <map>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "U_Budget.h"
#include "U_Lifecycle.h"
#include "U_Posted.h"
#include "U_Report.h"
#include "tests/instrumentation/MemoryLogTest.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/OnThreads.h"
#include "tests/support/Text.h"

namespace
{
const long kMostPoints = 5000; // ends the walk of an operation that fails at every point

// Codes of a child's exit, besides 0, and 4 for a birth that fails and later succeeds.
const int kOtherCode = 8;
const int kDeathFailed = 9;
const int kHasFailed = 64; // a bit: a point has failed

class ScFailing
{
public:
    ScFailing(const Failing& failing, long point) : mFailing(failing) { failing.begin(point); }
    ~ScFailing() { mFailing.end(); }
    ScFailing(const ScFailing&) = delete;
    ScFailing& operator=(const ScFailing&) = delete;

private:
    const Failing& mFailing;
};

unsigned int AllowedBy(const Operation& operation, const Failing& failing)
{
    return kRight | (operation.failures & failing.outcomes);
}

// Counts the points that fail, of each way to fail and, with `inEach`, of each operation.
class Points
{
public:
    explicit Points(bool inEach) : mInEach(inEach) {}

    void Add(const Failing& failing, const std::string& operation, long points)
    {
        mCounts[failing.name] += points;
        if (mInEach)
            mCounts[operation] += points;
    }

    void Check() const
    {
        EXPECT_FALSE(mCounts.empty());
        for (const auto& [name, points] : mCounts)
            EXPECT_GT(points, 0) << name;
    }

private:
    const bool mInEach;
    std::map<std::string, long> mCounts;
};

// Returns the count of points that failed.
long Walk(const Operation& operation, Own& own, const Failing& failing, bool onFreshThread)
{
    for (long point = 1;; ++point)
    {
        SCOPED_TRACE(testing::Message() << "point " << point);
        U_u64 before = 0;
        U_u64 after = 0;
        bool failed = false;
        Outcome outcome = kWrong;
        U_GetMemoryStat(U_MemStat_InUse, &before);
        const auto run = [&] {
            const ScFailing scope(failing, point);
            outcome = OutcomeOf(operation, own);
            failed = failing.hasFailed();
        };
        if (onFreshThread)
            OnFreshThread(run);
        else
            run();
        U_DisplayPostedErrors();
        U_GetMemoryStat(U_MemStat_InUse, &after);
        EXPECT_TRUE(outcome & AllowedBy(operation, failing)) << outcome;
        EXPECT_TRUE(operation.keeps || before == after) << after - before;
        EXPECT_EQ(OutcomeOf(operation, own), kRight) << "once nothing fails";
        if (!failed)
            return point - 1;
        if (point == kMostPoints)
        {
            ADD_FAILURE() << "the operation fails at every point";
            return point;
        }
    }
}

int LiveInAChild(const Failing& failing, long point, bool atDeath)
{
    U_Status code = 0;
    if (atDeath)
    {
        code = U_Birth("Test Host", nullptr);
    }
    else
    {
        const ScFailing scope(failing, point);
        code = U_Birth("Test Host", nullptr);
    }
    if (code != 0)
    {
        // The errors of the memory log's file are those of the system.
        const bool known = code == 4 || code == 14 || code == ENOMEM || code == EMFILE;
        const bool livesLater = U_Birth("Test Host", nullptr) == 0 && U_Death() == 0;
        return known && livesLater ? 4 : kOtherCode;
    }
    OnFreshThread([] { U_ReportError(1, U_Sev_PROBLEM, Units(u"posted")); });
    if (!atDeath)
        return U_Death() ? kDeathFailed : 0;
    const ScFailing scope(failing, point);
    return U_Death() ? kDeathFailed : 0;
}

// Returns 0 if the first run of the operation in this process ends as promised, and the next one
// succeeds.
int RunFirst(const Operation& operation, const Failing& failing, long point)
{
    if (U_Birth("Test Host", nullptr) != 0)
        return kOtherCode;
    const ScOperations registered;
    Own own(1);
    Outcome outcome = kWrong;
    {
        const ScFailing scope(failing, point);
        outcome = OutcomeOf(operation, own);
    }
    const bool isAsPromised = outcome & AllowedBy(operation, failing);
    return isAsPromised && OutcomeOf(operation, own) == kRight ? 0 : kOtherCode;
}

// Calls run(point) in a child process once for each point. Returns the count of points that failed.
// The child must exit with one of the codes, which `run` returns.
template <class Run>
long WalkInChildren(const Failing& failing, const std::string& name, const std::string& codes,
                    Run run)
{
    for (long point = 1; point < kMostPoints; ++point)
    {
        SCOPED_TRACE(testing::Message() << name << ", " << failing.name << ", point " << point);
        const pid_t child = fork();
        if (!child)
        {
            const int code = run(point);
            _exit(code | (failing.hasFailed() ? kHasFailed : 0));
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status)) << status;
        const int code = WEXITSTATUS(status) & ~kHasFailed;
        EXPECT_NE(codes.find(static_cast<char>('0' + code)), std::string::npos) << code;
        if (!WIFEXITED(status) || !(WEXITSTATUS(status) & kHasFailed))
            return point - 1;
    }
    ADD_FAILURE() << "a life fails at every point";
    return kMostPoints;
}
} // namespace

void WalkAll(const Operations& operations, const std::vector<Failing>& failings, bool inEach)
{
    Points points(inEach);
    const ScOperations registered;
    for (const Operation& operation : operations)
    {
        Own own(1);
        ASSERT_EQ(OutcomeOf(operation, own), kRight) << operation.name << " without failures";
        for (const Failing& failing : failings)
        {
            for (const bool onFreshThread : {false, true})
            {
                if (onFreshThread && operation.name == failing.leftOut)
                    continue;
                SCOPED_TRACE(testing::Message() << operation.name << ", " << failing.name
                                                << (onFreshThread ? ", on a fresh thread" : ""));
                points.Add(failing, operation.name, Walk(operation, own, failing, onFreshThread));
            }
        }
        U_ClearLastReportedError();
    }
    points.Check();
}

void WalkOverALife(const std::vector<Failing>& failings, bool inEach)
{
    DropAlertsAndLogLines();
    const std::string logs = testing::TempDir() + "life_logs." + std::to_string(getpid());
    std::filesystem::create_directory(logs);
    SetMemoryLogFolder(logs);
    AskForMemoryLog("true", "1");
    Points points(inEach);
    for (const Failing& failing : failings)
    {
        for (const bool atDeath : {false, true})
        {
            const std::string call = atDeath ? "death" : "birth";
            points.Add(failing, call,
                       WalkInChildren(failing, call, atDeath ? "0" : "04", [&](long point) {
                           return LiveInAChild(failing, point, atDeath);
                       }));
        }
    }
    points.Check();
    std::filesystem::remove_all(logs);
}

void WalkFirstUses(const Operations& operations, const std::vector<Failing>& failings, bool inEach)
{
    Points points(inEach);
    DropAlertsAndLogLines();
    for (const Operation& operation : operations)
    {
        for (const Failing& failing : failings)
        {
            if (operation.name != failing.leftOut)
                points.Add(failing, operation.name,
                           WalkInChildren(failing, operation.name, "0", [&](long point) {
                               return RunFirst(operation, failing, point);
                           }));
        }
    }
    points.Check();
}
