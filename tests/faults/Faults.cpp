#include "tests/faults/Faults.h"

#include <new>

#include <boost/function.hpp>

#include "U_Posted.h"
#include "U_Report.h"
#include "tests/support/FailingNew.h"
#include "tests/support/OnThreads.h"
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

Outcome RunOnce(const Operation& operation)
{
    try
    {
        return operation.run();
    }
    catch (const std::bad_alloc&)
    {
        return kBadAlloc;
    }
    catch (int code)
    {
        return code == U_Err_OutOfMemory ? kThrown4 : kWrong;
    }
    catch (...)
    {
        return kWrong;
    }
}
} // namespace

void Faults::Silence()
{
    platform::SetAlertPresenter([](const platform::Alert&) {});
    platform::SetLogSink([](int, const char*, const char*, const char*) {});
}

void Faults::SetUp()
{
    BornLibrary::SetUp();
    Silence();
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
}

void Faults::Walk(std::initializer_list<Operation> operations)
{
    for (const Operation& operation : operations)
    {
        SCOPED_TRACE(operation.name);
        ASSERT_EQ(RunOnce(operation), kRight) << "with memory";
        const long before = mPoints;
        WalkHeap(operation, false);
        WalkHeap(operation, true);
        WalkNew(operation);
        OnFreshThread([&] {
            SCOPED_TRACE(std::string(operation.name) + " on another thread");
            WarmThread();
            WalkNew(operation);
        });
        EXPECT_TRUE(mPoints > before) << "the operation allocates nothing";
        U_DisplayPostedErrors();
        U_ClearLastReportedError();
    }
}

void Faults::WalkHeap(const Operation& operation, bool allAfter)
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
        const Outcome outcome = RunOnce(operation);
        platform::SetHeapFailure(boost::function<bool(unsigned long long)>());
        Check(operation, outcome, point);
        if (count < point)
            return;
        ++mPoints;
    }
    ADD_FAILURE() << "the operation fails at every point";
}

void Faults::WalkNew(const Operation& operation)
{
    SCOPED_TRACE("operator new");
    mUsed = InUse();
    Outcome outcome = kWrong;
    mPoints += FailEachNew([&] { outcome = RunOnce(operation); },
                           [&](long point) {
                               ASSERT_LT(point, kMostPoints);
                               Check(operation, outcome, point);
                               mUsed = InUse();
                           });
}

void Faults::Check(const Operation& operation, Outcome outcome, long point)
{
    EXPECT_TRUE(outcome & (operation.failures | kRight)) << "point " << point << ": " << outcome;
    EXPECT_TRUE(operation.keeps || InUse() == mUsed)
        << "point " << point << ": " << InUse() - mUsed;
    EXPECT_EQ(RunOnce(operation), kRight) << "after point " << point;
}
