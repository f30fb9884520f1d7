// Reports, deferred and translated, while allocations fail.

#include <stdexcept>
#include <thread>

#include <platform/control.h>

#include "U_Assert.h"
#include "U_Interact.h"
#include "U_Lifecycle.h"
#include "U_Posted.h"
#include "U_Report.h"
#include "U_Threads.h"
#include "tests/faults/Faults.h"
#include "tests/support/FailingNew.h"
#include "tests/support/Text.h"

namespace
{
const U_u32 kLocation = 0x120034;
const char kText[] = "a report that is too long for a string object";

class ErrorFaults : public Faults
{
protected:
    void SetUp() override
    {
        Faults::SetUp();
        platform::SetAlertPresenter([this](const platform::Alert& alert) {
            mShown += alert.text.find(mText) != U_UTF16String::npos;
        });
    }

    // First shows the reports that a failed alert has left posted.
    void BeginAnew()
    {
        U_DisplayPostedErrors();
        U_ClearLastReportedError();
        mShown = 0;
    }

    // Runs a report and shows the posted reports: the report must be shown once. A report may
    // be lost only on a thread where it has to be posted.
    Outcome Shown(const std::function<Outcome()>& report)
    {
        BeginAnew();
        const Outcome outcome = report();
        U_DisplayPostedErrors();
        if (outcome != kRight || mShown == 1)
            return outcome;
        return mShown == 0 && !U_IsOnUIThread() ? kLess : kWrong;
    }

    static U_u32 Count()
    {
        U_u32 count = 0;
        U_GetHowManyErrors(&count);
        return count;
    }

    const U_UTF16String mText = U_AsciiToUTF16String(kText);
    std::atomic<int> mShown{0};
};
} // namespace

TEST_F(ErrorFaults, AReportIsShownOnceOrLostWhereItHasToBePosted)
{
    const auto shown = [&](auto report) { return [this, report](Own&) { return Shown(report); }; };
    const auto onlyPosted = [&] {
        BeginAnew();
        U_AsyncReport(kLocation, U_Sev_PROBLEM, mText);
        U_DisplayPostedErrors();
        return mShown < 2 ? RightIf(mShown == 1, kLess) : kWrong;
    };
    const auto withCode = [&] {
        BeginAnew();
        const U_Status code = Up_ReportNuloErrString(kLocation, U_Sev_PROBLEM, 3, kText);
        const bool isRight = code == 3 && Up_GetThreadLastError() == 3;
        U_DisplayPostedErrors();
        return isRight ? RightIf(mShown == 1, kLess) : kWrong;
    };
    std::runtime_error error("an exception with a text of some length");
    Walk({
        {"U_ReportError", kLess, shown([&] {
             U_ReportError(kLocation, U_Sev_PROBLEM, mText);
             return kRight;
         })},
        {"U_AsyncReport", kLess, [&](Own&) { return onlyPosted(); }},
        {"Up_ReportErrString", kLess | kCode4,
         shown([] { return OfCode(Up_ReportErrString(kLocation, U_Sev_PROBLEM, kText), true); })},
        {"Up_ReportNuloErrString", kLess, [&](Own&) { return withCode(); }},
        {"U_ReportFailedVerification", kLess | kCode4, shown([] {
             return OfCode(U_ReportFailedVerification(kLocation, 1, nullptr, kText), true);
         })},
        {"Up_AssertFailed", kRight,
         [](Own&) { return RightIf(Up_AssertFailed("a == b", "some/file.cpp", 12) == 0); }},
        {"Up_AssertImpl", kRight,
         [](Own&) {
             bool flag = false;
             return RightIf(Up_AssertImpl("a == b", "some/file.cpp", 12, &flag) == 0);
         }},
        {"U_TranslateAndReportException", kRight,
         [&](Own&) { return RightIf(U_TranslateAndReportException(error) == 14); }},
    });
}

TEST_F(ErrorFaults, ADeferralEndsWithItsMaskAndShowsItsErrorAtMostOnce)
{
    // The error differs from the alert of a failed allocation, which is shown too.
    const auto deferral = [&](bool repeats) {
        const U_u32 mask = Up_GetInteract();
        const U_u32 count = Count();
        BeginAnew();
        U_DeferredState state;
        const U_Status started = U_DeferredReportingStart(0xFFFF0000, &state);
        U_ReportError(kLocation, U_Sev_PROBLEM, mText);
        const U_Status ended = U_DeferredReportingEnd(repeats, nullptr, &state);
        U_DisplayPostedErrors();
        const bool isBack = Up_GetInteract() == mask && !state.mSavedMessage;
        if (!isBack || mShown > (started ? 2 : 1))
            return kWrong;
        if (started || ended)
            return OfCode(started ? started : ended, false);
        return RightIf(repeats ? mShown == 1 : Count() == count && mShown == 0, kLess);
    };
    Walk({{"an error that is dropped", kCode4 | kLess, [&](Own&) { return deferral(false); }},
          {"an error that is repeated", kCode4 | kLess, [&](Own&) { return deferral(true); }}});
}

TEST_F(ErrorFaults, DeathTakesTheLibraryDownWithoutMemory)
{
    bool failed = true;
    for (long nth = 1; failed; ++nth)
    {
        ASSERT_LT(nth, 1000);
        U_ClearLastReportedError(); // a repeated error would not be posted
        std::thread([&] { U_ReportError(kLocation, U_Sev_PROBLEM, mText); }).join();
        {
            const ScFailingNew failing(nth);
            EXPECT_EQ(U_Death(), 0) << nth;
            failed = failing.HasFailed();
        }
        ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
    }
}
