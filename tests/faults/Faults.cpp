#include "tests/faults/Faults.h"

#include <boost/function.hpp>

#include "U_Posted.h"
#include "U_Report.h"
#include "tests/support/FailingNew.h"
#include "tests/support/OnThreads.h"
#include "tests/support/System.h"
#include "tests/support/Text.h"

namespace
{
// Ends the walk of an operation that fails at every point.
const long kMostPoints = 5000;

// Makes the objects that a thread keeps from its first report on.
void WarmThread()
{
    U_ReportError(0, U_Sev_PROBLEM, Units(u"the first one makes what stays"));
    U_StartQuietErrorsOnCurrentThread(true);
    U_EndQuietErrorsOnCurrentThread();
}
} // namespace

void Faults::SetUp()
{
    BornLibrary::SetUp();
    DropAlertsAndLogLines();
    WarmThread();
}

void Faults::TearDown()
{
    U_DisplayPostedErrors();
    std::atomic<int> leakLines{0};
    platform::SetLogSink([&](int, const char*, const char* tag, const char*) {
        leakLines += std::string(tag) == "MEM_DumpLeaks";
    });
    BornLibrary::TearDown();
    EXPECT_EQ(leakLines, 0);
    EXPECT_EQ(CountingState::sLiving, 0);
}

void Faults::Walk(const Operations& operations)
{
    const ScOperations registered;
    for (const Operation& operation : operations)
    {
        SCOPED_TRACE(operation.name);
        Own own(1);
        ASSERT_EQ(OutcomeOf(operation, own), kRight) << "with memory";
        const long before = mPoints;
        WalkHeap(operation, own, false);
        WalkHeap(operation, own, true);
        WalkNew(operation, own);
        OnFreshThread([&] {
            SCOPED_TRACE(std::string(operation.name) + " on another thread");
            WarmThread();
            Own other(2);
            WalkNew(operation, other);
        });
        EXPECT_TRUE(mPoints > before || IsWindows()) << "the operation allocates nothing";
        U_DisplayPostedErrors();
        U_ClearLastReportedError();
    }
}

void Faults::WalkHeap(const Operation& operation, Own& own, bool allAfter)
{
    SCOPED_TRACE(allAfter ? "all heap blocks from a point on" : "one heap block");
    for (long point = 1; point < kMostPoints; ++point)
    {
        mUsed = InUse();
        std::atomic<long> count{0};
        platform::SetHeapFailure([&](unsigned long long) {
            const long nth = ++count;
            return allAfter ? nth >= point : nth == point;
        });
        const Outcome outcome = OutcomeOf(operation, own);
        platform::SetHeapFailure(boost::function<bool(unsigned long long)>());
        Check(operation, own, outcome, point);
        if (count < point)
            return;
        ++mPoints;
    }
    ADD_FAILURE() << "the operation fails at every point";
}

void Faults::WalkNew(const Operation& operation, Own& own)
{
    SCOPED_TRACE("operator new");
    mUsed = InUse();
    Outcome outcome = kWrong;
    mPoints += FailEachNew([&] { outcome = OutcomeOf(operation, own); },
                           [&](long point) {
                               ASSERT_LT(point, kMostPoints);
                               Check(operation, own, outcome, point);
                               mUsed = InUse();
                           });
}

void Faults::Check(const Operation& operation, Own& own, Outcome outcome, long point)
{
    // All heap blocks may fail, but no operator new for good.
    const unsigned int promised = kRight | (operation.failures & ~kLost);
    EXPECT_TRUE(outcome & promised) << "point " << point << ": " << outcome;
    EXPECT_TRUE(operation.keeps || InUse() == mUsed)
        << "point " << point << ": " << InUse() - mUsed;
    EXPECT_EQ(OutcomeOf(operation, own), kRight) << "after point " << point;
}
