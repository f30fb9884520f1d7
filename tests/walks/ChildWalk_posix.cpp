#include "tests/walks/Walk.h"

#include <filesystem>

#include <sys/wait.h>
#include <unistd.h>

#include "U_Lifecycle.h"
#include "U_Report.h"
#include "tests/instrumentation/MemoryLogTest.h"
#include "tests/support/OnThreads.h"
#include "tests/support/Text.h"

namespace
{
// Codes of a child's exit, besides 0, and 4 for a birth that fails and later succeeds.
const int kOtherCode = 8;
const int kDeathFailed = 9;
const int kHasFailed = 64; // a bit: a point has failed

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
                    Run run, long step = 1)
{
    for (long point = step; point < kMostPoints * step; point += step)
    {
        SCOPED_TRACE(testing::Message() << name << ", " << failing.name << ", point " << point);
        const pid_t child = fork();
        EXPECT_GE(child, 0) << "no child";
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
            return point / step - 1;
    }
    ADD_FAILURE() << "a life fails at every point";
    return kMostPoints;
}
} // namespace

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

void WalkFirstUses(const Operations& operations, const std::vector<Failing>& failings, bool inEach,
                   long step)
{
    Points points(inEach);
    DropAlertsAndLogLines();
    for (const Operation& operation : operations)
    {
        for (const Failing& failing : failings)
        {
            if (operation.name != failing.leftOut)
                points.Add(failing, operation.name,
                           WalkInChildren(
                               failing, operation.name, "0",
                               [&](long point) { return RunFirst(operation, failing, point); },
                               step));
        }
    }
    points.Check();
}
