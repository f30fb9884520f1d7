// Posted messages and their groups, quiet mode, and deferred stretches.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <stdexcept>
#include <tuple>

#include <boost/thread/barrier.hpp>

#include <kroview/ui.h>

#include "U_Group.h"
#include "U_Interact.h"
#include "U_Lifecycle.h"
#include "U_Posted.h"
#include "U_Report.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/OnThreads.h"
#include "tests/support/Text.h"

namespace
{
const U_u32 kLogOnly = 0xFFFF0000;

U_Status ThrowForeign(void*, U_u32, U_u16, const char*)
{
    throw std::string("foreign");
}

class Posted : public BornLibrary
{
protected:
    static void FromWorker(const char16_t* text)
    {
        OnFreshThread([&] { U_ReportError(0, U_Sev_MESSAGE, Units(text)); });
    }

    Texts Displayed()
    {
        mAlerts.Clear();
        U_DisplayPostedErrors();
        return mAlerts.Texts();
    }

    static void Warn() { U_ReportError(kLocation, U_Sev_WARNING, Units(u"deferred")); }
};
} // namespace

TEST_F(Posted, AMessagePostedDuringAnAlertFollowsTheOneThatCouldNotBeShown)
{
    FromWorker(u"first");
    mAlerts.mWhileUp = [](const platform::Alert&) {
        FromWorker(u"meanwhile");
        throw 5;
    };
    EXPECT_EQ(Displayed(), Texts{"first"});
    mAlerts.mWhileUp = nullptr;
    EXPECT_EQ(Displayed(), Texts({"first", "meanwhile"}));
}

TEST_F(Posted, AMessageThatCannotBeShownStaysPostedAndBlocksNoOther)
{
    const Texts kWaiting = {"first", "second", "third"};
    for (const char16_t* text : {u"first", u"second", u"third"})
        FromWorker(text);
    mAlerts.mWhileUp = [](const platform::Alert&) { throw std::runtime_error("no screen"); };
    for (int round = 0; round < 3; ++round)
        EXPECT_EQ(Displayed(), kWaiting);
    Supplier supplier;
    U_SetPencartValuesForUErrors(&supplier, new kroview::ui::UI_Node);
    for (int round = 0; round < 3; ++round)
        EXPECT_EQ(Displayed().size(), 2 * kWaiting.size()) << "each in both boxes";
    U_SetPencartValuesForUErrors(nullptr, nullptr);
    mAlerts.mWhileUp = [](const platform::Alert& alert) {
        if (Narrow(alert.text) == "first")
            throw 5;
    };
    EXPECT_EQ(Displayed(), kWaiting);
    FromWorker(u"second");
    mAlerts.mWhileUp = [](const platform::Alert& alert) {
        if (Narrow(alert.text) == "first")
            throw 5;
        throw std::string("unknown");
    };
    EXPECT_THROW(U_DisplayPostedErrors(), std::string);
    EXPECT_THROW(U_ReportError(0, U_Sev_MESSAGE, Units(u"fourth")), std::string);
    mAlerts.mWhileUp = nullptr;
    EXPECT_EQ(Displayed(), (Texts{"first", "second", "fourth"}));
    EXPECT_EQ(Displayed(), Texts());
}

TEST_F(Posted, AMessageThatDeathCannotShowIsLogged)
{
    U_AsyncReport(kLocation, U_Sev_WARNING, Units(u"unseen"));
    mAlerts.mWhileUp = [](const platform::Alert&) { throw 5; };
    mLog.Clear();
    EXPECT_EQ(U_Death(), 0);
    EXPECT_EQ(mLog.Texts("POSTED_NOT_SHOWN"), Texts{"Test Host warning: unseen"});
    mAlerts.mWhileUp = nullptr;
    EXPECT_EQ(U_Birth("Test Host", nullptr), 0);
}

TEST_F(Posted, AGroupHasAWiderBoxOfTheHost)
{
    Supplier supplier;
    U_SetPencartValuesForUErrors(&supplier, new kroview::ui::UI_Node);
    U_ReportError(0, U_Sev_MESSAGE, Units(u"at once"));
    U_ReportError(0, U_Sev_INFO,
                  U_GroupErrorMessage(Units(u"only"), Units(u"Many|||One###Files:")));
    U_DisplayPostedErrors();
    EXPECT_EQ(mAlerts.All().at(0).sizeHint, 0);
    EXPECT_EQ(mAlerts.All().at(1).sizeHint, 600);
    FromWorker(u"alone");
    U_DisplayPostedErrors();
    EXPECT_EQ(mAlerts.All().at(2).sizeHint, 0);
}

TEST_F(Posted, AMessageOfAnotherSeverityThanTheLastOneIsShown)
{
    OnFreshThread([] { U_ReportError(0, U_Sev_INFO, Units(u"same")); });
    EXPECT_EQ(Displayed().size(), 1u);
    FromWorker(u"Test Host: same");
    EXPECT_EQ(Displayed().size(), 1u);
}

TEST_F(Posted, ATagWithoutBracesIsNoGroup)
{
    for (const char16_t* text : {u"Grouped_Message_ without braces", u"Grouped_Message_ neither"})
        U_ReportError(0, U_Sev_MESSAGE, Units(text));
    EXPECT_EQ(Displayed(), (Texts{"Grouped_Message_ without braces", "Grouped_Message_ neither"}));
}

TEST_F(Posted, QuietModeEndsWithTheLife)
{
    U_StartQuietErrorsOnCurrentThread(false);
    EXPECT_EQ(U_Death(), 0);
    mAlerts.Clear();
    EXPECT_EQ(U_StartQuietErrorsOnCurrentThread(false), 3);
    EXPECT_EQ(U_EndQuietErrorsOnCurrentThread(), 3);
    EXPECT_EQ(mAlerts.Texts(), Texts(2, "internal verification failure, sorry! "
                                        "{Per thread quiet data not set up yet!}\n\n"));
    EXPECT_EQ(U_Birth("Test Host", nullptr), 0);
    EXPECT_EQ(U_EndQuietErrorsOnCurrentThread(), 3);
}

TEST_F(Posted, ThreadsThatAreQuietAtOnceKeepTheirOwnLevels)
{
    const int kThreads = 300; // more than a block of the table holds
    boost::barrier allIn(kThreads);
    std::atomic<int> failures{0};
    OnThreads(kThreads, [&](int thread) {
        const bool keepLogging = thread % 2 == 0;
        failures += U_StartQuietErrorsOnCurrentThread(keepLogging) != 0;
        failures += U_StartQuietErrorsOnCurrentThread(true) != 0;
        allIn.wait();
        Up_ReportErrString(0, U_Sev_WARNING, keepLogging ? "logged" : "silent");
        failures += U_EndQuietErrorsOnCurrentThread() != 0;
        failures += U_EndQuietErrorsOnCurrentThread() != 0;
    });
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(mLog.Texts(), Texts(kThreads / 2, "U_Sev_WARNING: Test Host warning: logged\t"));
    EXPECT_EQ(Displayed(), Texts());
}

// The report searches the table too, so the ratio does not depend on the machine.
TEST_F(Posted, AFirstQuietCallTakesNoLongerThanASearchOfTheTable)
{
    const auto quickest = [](auto call) {
        auto least = std::chrono::nanoseconds::max();
        for (int thread = 0; thread < 10; ++thread)
            OnFreshThread([&] {
                const auto begun = std::chrono::steady_clock::now();
                call();
                least = std::min<std::chrono::nanoseconds>(least, std::chrono::steady_clock::now() -
                                                                      begun);
            });
        return least;
    };
    const auto beQuiet = [] { U_StartQuietErrorsOnCurrentThread(false); };
    Up_SetInteract(0);
    for (int thread = 0; thread < 8000; ++thread)
        OnFreshThread(beQuiet);
    const auto report = quickest([] { U_ReportError(0, U_Sev_INFO, Units(u"unwanted")); });
    EXPECT_LT(quickest(beQuiet), 5 * report);
}

TEST_F(Posted, AnExceptionOutOfARepeatEndsTheStretch)
{
    U_ReportError(0, U_Sev_INFO, Units(u"before")); // makes a text that the stretch saves
    const U_u32 mask = Up_GetInteract();
    U_DeferredState state;
    ASSERT_EQ(U_DeferredReportingStart(0, &state), 0);
    Warn();
    ASSERT_EQ(U_AddLoggingCallback(&ThrowForeign, nullptr), 0);
    EXPECT_THROW(U_DeferredReportingEnd(true, nullptr, &state), std::string);
    EXPECT_EQ(Up_GetInteract(), mask);
    EXPECT_EQ(state.mSavedMessage, nullptr);
}

TEST_F(Posted, ErrorsOfOtherThreadsInAStretchAreNotLost)
{
    const std::tuple<U_u32, const char*, const char*> kEnds[] = {
        {0, "can't render", "can't render"},
        {0, nullptr, "missing deferred error information."},
        {kLogOnly, "can't save", "can't save"}, // logged, although the warning was logged, too
    };
    for (const auto& [mask, fallback, reported] : kEnds)
    {
        mLog.Clear();
        OnFreshThread([mask = mask, fallback = fallback] {
            U_DeferredState state;
            ASSERT_EQ(U_DeferredReportingStart(mask, &state), 0);
            OnFreshThread(&Warn);
            EXPECT_EQ(U_DeferredReportingEnd(true, fallback, &state), 0);
            EXPECT_EQ(state.mSavedMessage, nullptr);
        });
        const std::string text = std::string("Test Host can\xE2\x80\x99t continue: ") + reported;
        EXPECT_EQ(Displayed(), Texts{text + "\n\n"});
        EXPECT_EQ(mLog.Texts("U_Sev_FATAL"), Texts{text + "\t"});
    }
}

TEST_F(Posted, ADeferredStretchOutsideALifeHidesNothing)
{
    EXPECT_EQ(U_Death(), 0);
    U_DeferredState state;
    EXPECT_EQ(U_DeferredReportingStart(0, &state), 5889);
    EXPECT_EQ(state.mTempId, 0u);
    EXPECT_EQ(U_DeferredReportingEnd(true, nullptr, &state), 0);
    EXPECT_EQ(U_DeferredReportingStart(0, nullptr), 3);
    EXPECT_EQ(U_DeferredReportingEnd(false, nullptr, nullptr), 3);
    EXPECT_EQ(U_Birth("Test Host", nullptr), 0);
}
