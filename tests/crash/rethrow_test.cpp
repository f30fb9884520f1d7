// Exceptions of the host that pass through the library, and that no function catches.

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include <krobase/executor.h>
#include <platform/control.h>

#include "U_Report.h"
#include "U_Suspend.h"
#include "tests/crash/Child.h"

namespace
{
struct NobodysException
{
};

class ThrowingExecutor final : public krobase::threads::AsyncThreadedExecutor
{
public:
    bool IsExecutorThread() const override { return false; }
    void Post(const boost::function<void()>&, int) override { throw NobodysException(); }
};

void ReportToAThrowingPresenter()
{
    platform::SetAlertPresenter([](const platform::Alert&) { throw NobodysException(); });
    U_ReportError(0, U_Sev_PROBLEM, U_UTF16String(4, 'x'));
}

void CallOnAThrowingExecutor()
{
    U_SuspendContext::NewSuspendContext()->CallOnThreadedExecutor(
        boost::make_shared<ThrowingExecutor>(), [] { return 0; });
}
} // namespace

TEST(Crashes, AnExceptionThatTheLibraryPassesOnMakesTheLastCall)
{
    for (void (*const call)() : {&ReportToAThrowingPresenter, &CallOnAThrowingExecutor})
    {
        const Death death = RunToDeath([call] {
            Birth();
            SetGlobal(&PrintCall);
            call();
        });
        EXPECT_EQ(death.Count("handler on"), 1) << death.output;
        EXPECT_EQ(death.Count(kLastLine), 1) << death.output;
    }
}
