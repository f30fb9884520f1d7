#include "tests/walks/Walk.h"

#include "U_Budget.h"
#include "U_Posted.h"
#include "U_Report.h"
#include "tests/support/OnThreads.h"

namespace
{
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
