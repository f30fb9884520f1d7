// Posted messages and their groups, quiet mode, and deferred stretches.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <stdexcept>
#include <tuple>
#include <utility>

#include <boost/thread/barrier.hpp>

#include <kroview/ui.h>
#include <platform/control.h>

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
typedef std::vector<std::string> Texts;

const U_u32 kLocation = 0x120034;
const U_u32 kLogOnly = 0xFFFF0000;

U_Status CountCall(void* refcon, U_u32, U_u16, const char*)
{
    ++*static_cast<unsigned int*>(refcon);
    return 0;
}

U_Status ThrowForeign(void*, U_u32, U_u16, const char*)
{
    throw std::string("foreign");
}

class Supplier : public kroview::pencart::SupplierInterface
{
};

class Posted : public BornLibrary
{
protected:
    static void FromWorker(U_u16 severity, const std::u16string& text, U_u32 location = 0)
    {
        OnFreshThread([&] { U_ReportError(location, severity, Units(text)); });
    }

    static void Grouped(U_u16 severity, const U_UTF16String& identifier, const char16_t* text)
    {
        U_ReportError(kLocation, severity, U_GroupErrorMessage(Units(text), identifier));
    }

    Texts Displayed()
    {
        mAlerts.Clear();
        U_DisplayPostedErrors();
        return mAlerts.Texts();
    }

    static U_u32 Count()
    {
        U_u32 count = 0;
        U_GetHowManyErrors(&count);
        return count;
    }

    static void Warn() { U_ReportError(kLocation, U_Sev_WARNING, Units(u"deferred")); }

    struct End
    {
        bool repeats;
        const char* fallback = nullptr;
        bool isAsync = false;
    };

    // Runs the body in a deferred stretch.
    static void Defer(U_u32 mask, const End& end, const std::function<void()>& body)
    {
        const U_u32 before = Up_GetInteract();
        U_DeferredState state;
        ASSERT_EQ(U_DeferredReportingStart(mask, &state), 0);
        body();
        EXPECT_EQ(U_DeferredReportingEndAsync(end.repeats, end.isAsync, end.fallback, &state), 0);
        EXPECT_EQ(Up_GetInteract(), before);
        EXPECT_EQ(state.mSavedMessage, nullptr);
    }

    const U_UTF16String mFiles = U_FormUniqueGroupErrorMessageIdentifier(
        Units(u"Files can't be read:"), Units(u"@0 files:"), Units(u"A file can't be read:"));
};
} // namespace

TEST_F(Posted, TheShownMessageFiltersOtherThreadsUntilItIsCleared)
{
    FromWorker(U_Sev_INFO, u"same");
    FromWorker(U_Sev_INFO, u"same");
    EXPECT_EQ(Displayed(), Texts(2, "Test Host: same\n\n"));

    FromWorker(U_Sev_INFO, u"same");
    EXPECT_EQ(Displayed(), Texts());
    FromWorker(U_Sev_INFO, u"same", kLocation);
    FromWorker(U_Sev_MESSAGE, u"Test Host: same");
    EXPECT_EQ(Displayed().size(), 2u);

    FromWorker(U_Sev_MESSAGE, u"Test Host: same");
    EXPECT_EQ(Displayed(), Texts());
    U_IncrementPostErrors(); // messages of the UI thread are not filtered
    U_ReportError(0, U_Sev_MESSAGE, Units(u"Test Host: same"));
    U_DecrementPostErrors();
    EXPECT_EQ(Displayed().size(), 1u);
    U_ClearLastReportedError();
    FromWorker(U_Sev_MESSAGE, u"Test Host: same");
    EXPECT_EQ(Displayed().size(), 1u);
}

TEST_F(Posted, PostedMessagesAreShownBeforeAMessageOfTheUIThread)
{
    FromWorker(U_Sev_MESSAGE, u"first");
    U_ReportError(0, U_Sev_MESSAGE, Units(u"second"));
    EXPECT_EQ(mAlerts.Texts(), (Texts{"first", "second"}));
}

TEST_F(Posted, AMessagePostedDuringAnAlertFollowsThoseThatCouldNotBeShown)
{
    for (bool fails : {false, true})
    {
        FromWorker(U_Sev_MESSAGE, u"first");
        mAlerts.mWhileUp = [=](const platform::Alert&) {
            FromWorker(U_Sev_MESSAGE, u"meanwhile");
            if (fails)
                throw 5;
        };
        EXPECT_EQ(Displayed(), Texts{"first"});
        mAlerts.mWhileUp = nullptr;
        EXPECT_EQ(Displayed(), fails ? Texts({"first", "meanwhile"}) : Texts{"meanwhile"});
    }
}

TEST_F(Posted, AMessageThatCannotBeShownStaysPostedAndBlocksNoOther)
{
    const Texts kWaiting = {"first", "second", "third"};
    for (const char16_t* text : {u"first", u"second", u"third"})
        FromWorker(U_Sev_MESSAGE, text);
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
    FromWorker(U_Sev_MESSAGE, u"second");
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

TEST_F(Posted, AnUnmatchedDecrementCancelsTheNextIncrement)
{
    U_DecrementPostErrors();
    U_ReportError(0, U_Sev_MESSAGE, Units(u"after a decrement"));
    U_IncrementPostErrors();
    U_ReportError(0, U_Sev_MESSAGE, Units(u"even"));
    EXPECT_EQ(mAlerts.Texts(), (Texts{"after a decrement", "even"}));
}

TEST_F(Posted, AGroupTagInABufferAndAGroupedFlagPostTheReport)
{
    Up_ReportErrString(0, U_Sev_MESSAGE, "Grouped_Message_{Many|||One}a");
    Up_Report16(0, U_Sev_MESSAGE, Units(u"flagged"), true);
    EXPECT_EQ(mAlerts.Texts(), Texts());
    EXPECT_EQ(Displayed(), (Texts{"flagged", " One\r\n\r\na"}));
    Up_Report16(0, U_Sev_MESSAGE, Units(u"Grouped_Message_{One}b"), false);
    EXPECT_EQ(mAlerts.Texts().back(), "Grouped_Message_{One}b");
}

TEST_F(Posted, AGroupIsOneNumberedAlertAfterTheOthers)
{
    Grouped(U_Sev_INFO, mFiles, u"first");
    FromWorker(U_Sev_MESSAGE, u"alone");
    Grouped(U_Sev_INFO, mFiles, u"second");
    Grouped(U_Sev_INFO, mFiles, u"third");
    FromWorker(U_Sev_MESSAGE, u"also alone");
    EXPECT_EQ(Displayed(), (Texts{"alone", "also alone",
                                  "Test Host: Files can't be read:\r\n\r\n3 files:\r\n\r\n"
                                  "1)   first\r\n\r\n2)   second\r\n\r\n3)   third\n\n"}));
    EXPECT_EQ(Displayed(), Texts());

    Grouped(U_Sev_PROBLEM, mFiles, u"only");
    EXPECT_EQ(Displayed(),
              Texts{"Test Host error: A file can't be read:\r\n\r\nonly\n\n( 18 :: 52 )"});
    EXPECT_EQ(mAlerts.All()[0].flags & 0xFF, 0x10u);
}

TEST_F(Posted, MessagesGroupByPrefixAndTakeTheGravestOrdinarySeverity)
{
    Up_SetInteract(0xFFFFFFFF);
    typedef std::pair<std::vector<U_u16>, std::vector<unsigned int>> Row;
    const Row kGroups[] = {
        {{U_Sev_WARNING, U_Sev_LEAK}, {0x30}},          // the same word
        {{U_Sev_LEAK, U_Sev_LEAK}, {0x00}},             // a leak doesn't count
        {{U_Sev_WARNING, U_Sev_PROBLEM}, {0x10, 0x30}}, // two words, two groups, by their text
        {{U_Sev_PROBLEM, U_Sev_PROBLEM}, {0x10}},
    };
    for (const auto& [severities, expected] : kGroups)
    {
        for (U_u16 severity : severities)
            Grouped(severity, mFiles, u"text");
        Displayed();
        std::vector<unsigned int> icons;
        for (const platform::Alert& alert : mAlerts.All())
            icons.push_back(alert.flags & 0xFF);
        EXPECT_EQ(icons, expected);
    }
}

TEST_F(Posted, AGroupHasAWiderBoxOfTheHost)
{
    Supplier supplier;
    U_SetPencartValuesForUErrors(&supplier, new kroview::ui::UI_Node);
    U_ReportError(0, U_Sev_MESSAGE, Units(u"at once"));
    Grouped(U_Sev_INFO, mFiles, u"only");
    U_DisplayPostedErrors();
    EXPECT_EQ(mAlerts.All().at(0).sizeHint, 0);
    EXPECT_EQ(mAlerts.All().at(1).sizeHint, 600);
}

TEST_F(Posted, ALabelWithoutANumberIsGivenOneAndABrokenTagIsNoGroup)
{
    const U_UTF16String plain =
        U_FormUniqueGroupErrorMessageIdentifier(Units(u"Many"), Units(u"Errors:"), Units(u"One"));
    Grouped(U_Sev_INFO, plain, u"a");
    Grouped(U_Sev_INFO, plain, u"b");
    U_ReportError(0, U_Sev_MESSAGE, Units(u"Grouped_Message_ without braces"));
    U_ReportError(0, U_Sev_MESSAGE, Units(u"Grouped_Message_ neither"));
    EXPECT_EQ(Displayed(),
              (Texts{"Grouped_Message_ without braces", "Grouped_Message_ neither",
                     "Test Host: Many\r\n\r\n2 Errors:\r\n\r\n1)   a\r\n\r\n2)   b\n\n"}));
}

TEST_F(Posted, QuietLevelsNest)
{
    // Each row has the levels to enter, and for each level, innermost first, whether a report in
    // it is logged.
    const std::pair<std::vector<bool>, std::vector<bool>> kNests[] = {
        {{true}, {true}},
        {{false}, {false}},
        {{false, true}, {false, false}}, // logging stays off
        {{true, false}, {false, true}},
        {{true, false, true}, {false, false, true}},
    };
    for (const auto& [levels, logged] : kNests)
    {
        for (bool level : levels)
            EXPECT_EQ(U_StartQuietErrorsOnCurrentThread(level), 0);
        for (bool logs : logged)
        {
            mLog.Clear();
            U_ReportError(0, U_Sev_WARNING, Units(u"text"));
            EXPECT_EQ(mLog.Texts().size(), logs);
            EXPECT_EQ(U_EndQuietErrorsOnCurrentThread(), 0);
        }
        EXPECT_EQ(U_EndQuietErrorsOnCurrentThread(), 3);
        mAlerts.Clear();
    }
    EXPECT_TRUE(mAlerts.All().empty());
}

TEST_F(Posted, QuietModeIsPerThreadAndUnbalancedEndsAreReported)
{
    U_StartQuietErrorsOnCurrentThread(false);
    FromWorker(U_Sev_MESSAGE, u"other thread");
    EXPECT_EQ(Displayed(), Texts{"other thread"});
    U_EndQuietErrorsOnCurrentThread();

    EXPECT_EQ(U_EndQuietErrorsOnCurrentThread(), 3);
    EXPECT_EQ(mLog.Texts("U_Sev_PROBLEM"),
              Texts{"Test Host error: internal verification failure, sorry! "
                    "{Unbalanced U_EndQuietErrorsOnCurrentThread() (2)}\t"});
    U_StartQuietErrorsOnCurrentThread(false); // ends with this life
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

TEST_F(Posted, ADeferredStretchForgetsOrRepeatsItsErrors)
{
    const auto nothing = [] {};
    const auto withoutText = [] { U_ReportError(kLocation, U_Sev_WARNING, U_UTF16String()); };
    // The outcome: l logged, i called back inside the stretch, c called back at its end, n counted,
    // s shown at the end, p posted.
    const std::tuple<const char*, U_u32, std::function<void()>, End, const char*> kRows[] = {
        {"forgotten", 0, &Warn, {false}, ""},
        {"forgotten, but for its log", kLogOnly, &Warn, {false}, "li"},
        {"nothing to repeat", 0, nothing, {true, "nothing happened"}, ""},
        {"repeated, not in the log", kLogOnly, &Warn, {true}, "linns"},
        {"repeated", 0, &Warn, {true}, "lcnns"},
        {"posted", 0, &Warn, {true, nullptr, true}, "np"},
        {"without a text", 0, withoutText, {true, "can't save"}, "lcnns"},
    };
    unsigned int calls = 0;
    ASSERT_EQ(U_AddLoggingCallback(&CountCall, &calls), 0);
    for (const auto& [name, mask, body, end, expected] : kRows)
    {
        SCOPED_TRACE(name);
        U_ReportError(0, U_Sev_INFO, Units(u"before"));
        const U_u32 before = Count();
        std::string outcome;
        calls = 0;
        mAlerts.Clear();
        mLog.Clear();
        Defer(mask, end, [&, body = body] {
            body();
            outcome = std::string(std::exchange(calls, 0), 'i');
            EXPECT_EQ(mAlerts.Texts(), Texts());
        });
        Texts alerts = mAlerts.Texts();
        outcome = std::string(mLog.Texts("U_Sev_WARNING").size(), 'l') + outcome +
                  std::string(calls, 'c') + std::string(Count() - before, 'n') +
                  std::string(alerts.size(), 's');
        EXPECT_TRUE(Count() != before || Up_GetThreadLoggingBuffer() == std::string("before"));
        for (const std::string& text : Displayed())
        {
            outcome += 'p';
            alerts.push_back(text);
        }
        EXPECT_EQ(outcome, expected);
        const std::string text = end.fallback ? end.fallback : "deferred";
        EXPECT_EQ(alerts, Texts(alerts.size(), "Test Host warning: " + text + "\n\n( 18 :: 52 )"));
    }
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
            Defer(mask, {true, fallback}, [] { OnFreshThread(&Warn); });
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
