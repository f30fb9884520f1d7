// The report path: the order of its decisions, its texts, and what reaches the
// log, the callbacks and the user.

#include <stdexcept>
#include <thread>

#include <control.h>
#include <kroview/ui.h>

#include "U_Alloc.h"
#include "U_Budget.h"
#include "U_Group.h"
#include "U_Interact.h"
#include "U_Lifecycle.h"
#include "U_Posted.h"
#include "U_Report.h"
#include "U_Threads.h"
#include "U_ZString.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/DamagedRecord.h"
#include "tests/support/DictionaryImage.h"
#include "tests/support/Text.h"

namespace
{
typedef std::vector<std::string> Texts;

const U_u32 kLocation = 0x120034;
const U_u32 kAll = 0xFFFFFFFF;
const U_u32 kLogOnly = 0xFFFF0000;
const U_u32 kShowOnly = 0x0000FFFF;

struct Heard
{
    Texts mTexts;
    U_Status mAnswer = 0;
    std::function<void()> mAction;
};

U_Status Listen(void* refcon, U_u32, U_u16, const char* text)
{
    Heard& heard = *static_cast<Heard*>(refcon);
    heard.mTexts.push_back(text);
    if (heard.mAction)
        heard.mAction();
    return heard.mAnswer;
}

class Supplier : public kroview::pencart::SupplierInterface
{
};

class Report : public BornLibrary
{
protected:
    void SetUp() override
    {
        BornLibrary::SetUp();
        U_AddLoggingCallback(&Listen, &mHeard);
    }

    U_u32 Count()
    {
        U_u32 count = 0;
        U_GetHowManyErrors(&count);
        return count;
    }

    // The lines of the report path, without crawls.
    Texts Logged() const
    {
        Texts lines;
        for (const LogLine& line : mLog.Lines())
        {
            if (line.category == "U")
                lines.push_back(line.tag + ": " + line.text);
        }
        return lines;
    }

    Heard mHeard;
};

enum Quiet
{
    kNotQuiet,
    kKeepLogging,
    kSilent
};

enum Outcome
{
    kDropped,
    kShown,
    kPosted
};

struct Case
{
    const char* what;
    U_u16 severity;
    U_u32 mask;
    Quiet quiet;
    bool onUIThread;
    bool heldBack;
    bool grouped;

    bool logged;
    bool heard;
    bool counted;
    Outcome outcome;
};

// clang-format off
const Case kCases[] = {
    // what                    severity        mask       quiet         UI     held   group  log    heard  count  outcome
    {"a plain problem",        U_Sev_PROBLEM,  kAll,      kNotQuiet,    true,  false, false, true,  true,  true,  kShown},
    {"another thread",         U_Sev_PROBLEM,  kAll,      kNotQuiet,    false, false, false, true,  true,  true,  kPosted},
    {"held back",              U_Sev_PROBLEM,  kAll,      kNotQuiet,    true,  true,  false, true,  true,  true,  kPosted},
    {"grouped",                U_Sev_PROBLEM,  kAll,      kNotQuiet,    true,  false, true,  true,  true,  true,  kPosted},
    {"log only",               U_Sev_WARNING,  kLogOnly,  kNotQuiet,    true,  false, false, true,  true,  true,  kDropped},
    {"show only",              U_Sev_WARNING,  kShowOnly, kNotQuiet,    true,  false, false, true,  false, true,  kShown},
    {"wanted by nobody",       U_Sev_WARNING,  0,         kNotQuiet,    true,  false, false, false, false, true,  kDropped},
    {"quiet with log",         U_Sev_WARNING,  kAll,      kKeepLogging, true,  false, false, true,  true,  false, kDropped},
    {"quiet without log",      U_Sev_WARNING,  kAll,      kSilent,      true,  false, false, false, false, false, kDropped},
    {"info has no log tag",    U_Sev_INFO,     kAll,      kNotQuiet,    true,  false, false, false, true,  true,  kShown},
    {"a message",              U_Sev_MESSAGE,  kAll,      kNotQuiet,    true,  false, false, false, true,  true,  kShown},
    {"a detail isn't counted", U_Sev_DETAIL,   kAll,      kNotQuiet,    true,  false, false, false, true,  false, kShown},
    {"a detail at birth",      U_Sev_DETAIL,   0xFFBFFF9F, kNotQuiet,   true,  false, false, false, true,  false, kDropped},
    {"a debug line at birth",  U_Sev_DEBUG,    0xFFBFFF9F, kNotQuiet,   true,  false, false, false, false, true,  kDropped},
    {"a leak",                 U_Sev_LEAK,     kAll,      kNotQuiet,    true,  false, false, false, true,  true,  kShown},
    {"no severity",            5,              kAll,      kNotQuiet,    true,  false, false, false, true,  true,  kShown},
    {"none at all",            0,              kAll,      kNotQuiet,    true,  false, false, false, false, true,  kDropped},
    {"fatal in quiet",         U_Sev_FATAL,    kAll,      kSilent,      true,  false, false, true,  true,  true,  kShown},
};
// clang-format on
} // namespace

TEST_F(Report, TheOrderOfDecisions)
{
    const U_UTF16String identifier =
        U_FormUniqueGroupErrorMessageIdentifier(Units(u"Many"), Units(u"Things:"), Units(u"One"));
    for (const Case& one : kCases)
    {
        SCOPED_TRACE(one.what);
        mLog.Clear();
        mAlerts.Clear();
        mHeard.mTexts.clear();
        U_ClearLastReportedError();
        const U_u32 counted = Count();
        Up_SetInteract(one.mask);
        if (one.heldBack)
            U_IncrementPostErrors();
        const U_UTF16String text =
            one.grouped ? U_GroupErrorMessage(Units(u"text"), identifier) : Units(u"text");
        const auto report = [&] {
            if (one.quiet != kNotQuiet)
                U_StartQuietErrorsOnCurrentThread(one.quiet == kKeepLogging);
            U_ReportError(kLocation, one.severity, text);
            if (one.quiet != kNotQuiet)
                U_EndQuietErrorsOnCurrentThread();
        };
        if (one.onUIThread)
            report();
        else
            std::thread(report).join();

        EXPECT_EQ(Logged().size(), one.logged);
        EXPECT_EQ(mHeard.mTexts.size(), one.heard);
        EXPECT_EQ(Count() - counted, one.counted);
        EXPECT_EQ(mAlerts.All().size(), one.outcome == kShown);
        if (one.heldBack)
            U_DecrementPostErrors();
        mAlerts.Clear();
        U_DisplayPostedErrors();
        EXPECT_EQ(mAlerts.All().size(), one.outcome == kPosted);
    }
}

TEST_F(Report, EverySeverityHasItsText)
{
    const struct
    {
        U_u16 severity;
        const char* text;
        unsigned int boxIcon;
        int hostIcon;
    } kTexts[] = {
        {U_Sev_MESSAGE, "text", 0x00, 0},
        {U_Sev_INFO, "Test Host: text\n\n( 18 :: 52 )", 0x40, 4},
        {U_Sev_WARNING, "Test Host warning: text\n\n( 18 :: 52 )", 0x30, 2},
        {U_Sev_PROBLEM, "Test Host error: text\n\n( 18 :: 52 )", 0x10, 1},
        {U_Sev_LEAK, "Test Host warning: text\n\n( 18 :: 52 )", 0x40, 4},
        {U_Sev_DETAIL, "  text\n\n( 18 :: 52 )", 0x40, 4},
        {U_Sev_DEBUG, "Test Host debug info: text\n\n( 18 :: 52 )", 0x40, 4},
        {5, "Test Hostinvalid severity code: text\n\n( 18 :: 52 )", 0x40, 4},
        {U_Sev_FATAL, "Test Host can\xE2\x80\x99t continue: text\n\n( 18 :: 52 )", 0x40, 4},
    };
    Supplier supplier;
    Up_SetInteract(kAll);
    for (const auto& one : kTexts)
    {
        mAlerts.Clear();
        U_ReportError(kLocation, one.severity, Units(u"text"));
        U_SetPencartValuesForUErrors(&supplier, new kroview::ui::UI_Node);
        U_ReportError(kLocation, one.severity, Units(u"text"));
        U_SetPencartValuesForUErrors(nullptr, nullptr);

        const std::vector<platform::Alert> alerts = mAlerts.All();
        ASSERT_EQ(alerts.size(), 2u);
        EXPECT_EQ(mAlerts.Texts(), Texts(2, one.text));
        EXPECT_EQ(alerts[0].flags, one.boxIcon | 0x42000);
        EXPECT_FALSE(alerts[0].throughHost);
        EXPECT_EQ(alerts[1].icon, one.hostIcon);
        EXPECT_TRUE(alerts[1].throughHost);
        EXPECT_EQ(Narrow(alerts[1].title), "Test Host");
    }
    EXPECT_TRUE(U_Die());
}

TEST_F(Report, ALocationOfNoneLeavesItsPlacesEmpty)
{
    U_ReportError(0, U_Sev_PROBLEM, Units(u"disk is full"));
    EXPECT_EQ(Logged(), Texts{"U_Sev_PROBLEM: Test Host error: disk is full\t"});
    EXPECT_EQ(mAlerts.Texts(), Texts{"Test Host error: disk is full\n\n"});
}

TEST_F(Report, ATranslationOrdersNameAndWord)
{
    DictionaryImage image = BinaryImage(
        {{"/QX/U/qx_err_msg_order", u"@1, sagt @0"}, {"/QX/UOverride/LStr/0002", u"Fehler"}});
    U_ReportError(0, U_Sev_PROBLEM, Units(u"Text")); // what the thread keeps must give way
    ASSERT_EQ(U_ZStringSetCurrentDictionary(image.units.data(), image.size), 0);
    U_ReportError(0, U_Sev_PROBLEM, Units(u"Text"));
    ASSERT_EQ(U_ZStringSetEnglish(), 0);
    U_ReportError(0, U_Sev_PROBLEM, Units(u"Text"));
    EXPECT_EQ(mHeard.mTexts, (Texts{"Test Host error: Text", "Fehler, sagt Test Host: Text",
                                    "Test Host error: Text"}));
}

TEST_F(Report, LongTextsAreCutAtACharacterOnlyWhereABufferHoldsThem)
{
    const ScActiveCodePage japanese(932);
    U_UTF16String text(600, 0x3042); // two bytes each
    U_ReportError(0, U_Sev_MESSAGE, text);
    ASSERT_EQ(mHeard.mTexts.size(), 1u);
    EXPECT_EQ(mHeard.mTexts[0].size(), 510u);
    EXPECT_EQ(std::string(Up_GetThreadLoggingBuffer()).size(), 510u);
    EXPECT_EQ(mAlerts.All().at(0).text, text);

    EXPECT_EQ(Up_ReportErrString(0, U_Sev_MESSAGE, std::string(511, 'x').c_str()), 0);
    EXPECT_EQ(mHeard.mTexts[1].size(), 511u);
}

TEST_F(Report, TheThreadRemembersItsLatestReport)
{
    EXPECT_EQ(Up_ReportNuloErrString(kLocation, U_Sev_WARNING, 4, "reading."), 4);
    char text[U_ReportTextSize];
    U_u16 severity = 0;
    U_u32 location = 0;
    U_u32 error = 0;
    U_GetLastError(text, &severity, &location, &error);
    EXPECT_STREQ(text, "reading -- Out of memory.");
    EXPECT_EQ(severity, U_Sev_WARNING);
    EXPECT_EQ(location, kLocation);
    EXPECT_EQ(error, 4u);

    EXPECT_EQ(Up_ReportSyserrString(kLocation, U_Sev_WARNING, -43, "reading"), -43);
    EXPECT_EQ(Up_GetThreadLastError(), static_cast<U_u32>(-43));
    EXPECT_EQ(Up_ReportErrString(0, U_Sev_WARNING, "other"), 0);
    EXPECT_EQ(Up_GetThreadLastError(), 0u);
    const std::size_t heard = mHeard.mTexts.size();
    EXPECT_EQ(Up_ReportNuloErrString(0, U_Sev_WARNING, 0, "nothing"), 0);
    EXPECT_EQ(Up_ReportSyserrString(0, U_Sev_WARNING, 0, "nothing"), 0);
    EXPECT_EQ(mHeard.mTexts.size(), heard);
    EXPECT_STREQ(Up_GetThreadLoggingBuffer(), "other");
}

TEST_F(Report, ACallbacksCodeEndsTheReport)
{
    mHeard.mAnswer = 77;
    const U_u32 counted = Count();
    EXPECT_EQ(Up_ReportErrString(kLocation, U_Sev_PROBLEM, "text"), 77);
    try
    {
        U_ReportError(kLocation, U_Sev_PROBLEM, Units(u"text"));
        ADD_FAILURE() << "nothing was thrown";
    }
    catch (int code)
    {
        EXPECT_EQ(code, 77);
    }
    EXPECT_EQ(Count(), counted);
    EXPECT_TRUE(mAlerts.All().empty());
}

TEST_F(Report, WhateverACallbackThrowsTheNextReportGoesItsWay)
{
    const struct
    {
        std::function<void()> action;
        U_Status status; // of the guarded form; 0 if it lets it pass
    } kThrows[] = {
        {[] { throw 5; }, 5},
        {[] { throw std::runtime_error("broken"); }, 14},
        {[] { throw std::bad_cast(); }, 3},
        {[] { throw std::string("broken"); }, 0},
    };
    for (const auto& one : kThrows)
    {
        mHeard.mAction = one.action;
        EXPECT_ANY_THROW(U_ReportError(0, U_Sev_PROBLEM, Units(u"first")));
        if (one.status)
            EXPECT_EQ(Up_ReportErrString(0, U_Sev_PROBLEM, "first"), one.status);
        else
            EXPECT_THROW(Up_ReportErrString(0, U_Sev_PROBLEM, "first"), std::string);
        mHeard.mAction = nullptr;
        mAlerts.Clear();
        U_ReportError(0, U_Sev_PROBLEM, Units(u"second"));
        EXPECT_EQ(mAlerts.Texts(), Texts{"Test Host error: second\n\n"});
    }
}

TEST_F(Report, APresenterThatAlwaysThrowsEndsTheReport)
{
    mAlerts.mWhileUp = [](const platform::Alert&) { throw std::runtime_error("no screen"); };
    EXPECT_EQ(Up_ReportErrString(0, U_Sev_WARNING, "text"), 0);
    EXPECT_LE(mAlerts.All().size(), 2u);
    mAlerts.mWhileUp = nullptr;
    mAlerts.Clear();
    U_DisplayPostedErrors(); // neither is lost
    EXPECT_EQ(mAlerts.Texts().front(), "Test Host warning: text\n\n");
}

TEST_F(Report, AReportInsideAReportLeavesNoTrace)
{
    mHeard.mAction = [] {
        Up_ReportErrString(0, U_Sev_FATAL, "inner");
        U_ReportError(0, U_Sev_FATAL, Units(u"inner"));
        EXPECT_EQ(Up_ReportNuloErrString(0, U_Sev_FATAL, 4, "inner"), 4);
    };
    U_ReportError(0, U_Sev_WARNING, Units(u"outer"));
    EXPECT_EQ(Logged(), Texts{"U_Sev_WARNING: Test Host warning: outer\t"});
    EXPECT_EQ(mHeard.mTexts, Texts{"Test Host warning: outer"});
    EXPECT_EQ(mAlerts.Texts(), Texts{"Test Host warning: outer\n\n"});
    EXPECT_STREQ(Up_GetThreadLoggingBuffer(), "outer");
    EXPECT_FALSE(U_Die());
}

TEST_F(Report, MayBeMadeInsideWhatTheLibraryCalls)
{
    const auto report = [] { U_ReportError(0, U_Sev_MESSAGE, Units(u"inside")); };
    const U_u32 translator =
        U_RegisterExceptionTranslatorImpl([&](std::exception*, int* code) -> bool {
            report();
            *code = 50;
            return true;
        });
    std::runtime_error exception("broken");
    EXPECT_EQ(U_TranslateAndReportException(exception), 50);
    U_UnregisterExceptionTranslator(translator);
    EXPECT_EQ(mAlerts.Texts(), Texts{"inside"});

    mAlerts.Clear();
    U_SetPurgeRequestCallback(
        [](void* refcon, U_u64, U_u64, bool*) {
            (*static_cast<decltype(report)*>(refcon))();
            return 0;
        },
        const_cast<void*>(static_cast<const void*>(&report)));
    SetLimitsAboveUse(0, 64 * kMiB);
    void* block = U_AllocatePtrQuiet(kMiB);
    EXPECT_NE(block, nullptr);
    U_FreePtr(block);
    EXPECT_EQ(mAlerts.Texts(), Texts{"inside"});

    mAlerts.Clear();
    mAlerts.mWhileUp = [&](const platform::Alert&) { report(); }; // within a report: ignored
    U_ReportError(0, U_Sev_MESSAGE, Units(u"outside"));
    EXPECT_EQ(mAlerts.Texts(), Texts{"outside"});
}

TEST_F(Report, ALogThatThrowsDoesNotStopTheReport)
{
    const std::function<void()> kThrows[] = {[] { throw 9; },
                                             [] { throw std::runtime_error("disk full"); }};
    for (const auto& fail : kThrows)
    {
        platform::SetLogSink([&](int, const char*, const char*, const char*) { fail(); });
        EXPECT_EQ(Up_ReportErrString(0, U_Sev_PROBLEM, "text"), 0);
    }
    platform::SetLogSink(platform::LogSink());
    EXPECT_EQ(mHeard.mTexts.size(), 2u);
    EXPECT_EQ(mAlerts.All().size(), 2u);
}

TEST_F(Report, AHostBoxThatFailsGivesWayToTheSystems)
{
    Supplier supplier;
    U_SetPencartValuesForUErrors(&supplier, new kroview::ui::UI_Node);
    const struct
    {
        std::function<void()> fail;
        std::size_t boxes;
    } kFailures[] = {
        {[] { throw 8; }, 2},
        {[] { throw 0; }, 1}, // no failure
        {[] { throw std::runtime_error("no window"); }, 2},
    };
    for (const auto& failure : kFailures)
    {
        mAlerts.Clear();
        mAlerts.mWhileUp = [&](const platform::Alert& alert) {
            if (alert.throughHost)
                failure.fail();
        };
        U_ReportError(0, U_Sev_WARNING, Units(u"text"));
        EXPECT_EQ(mAlerts.All().size(), failure.boxes);
    }
}

TEST_F(Report, WithoutAHostsNameTheBoxesHaveTheirOwnTitles)
{
    Supplier supplier;
    const ScDamagedRecord damaged(FindMagicNumbers().at(0));
    U_ReportError(0, U_Sev_WARNING, Units(u"first"));
    U_SetPencartValuesForUErrors(&supplier, new kroview::ui::UI_Node);
    U_ReportError(0, U_Sev_WARNING, Units(u"second"));
    EXPECT_EQ(mAlerts.Texts(), (Texts{"first\n\n", "second\n\n"}));
    EXPECT_FALSE(mAlerts.All()[0].hasTitle);
    EXPECT_EQ(Narrow(mAlerts.All()[1].title), "Quillon");
}

TEST_F(Report, AnAlertEndsTheInputCaptureAndCopiesWithShift)
{
    int ended = 0;
    kroview::ui::UI_NodeManager::Get(false)->BeginInputCapture([&](bool) { ++ended; });
    U_ReportError(0, U_Sev_WARNING, Units(u"first"));
    EXPECT_EQ(ended, 1);
    EXPECT_EQ(Narrow(platform::ClipboardText()), "");
    platform::SetModifierKeys(512);
    U_ReportError(0, U_Sev_WARNING, Units(u"second \x2206 \x4E00"));
    EXPECT_EQ(Narrow(platform::ClipboardText()), "Test Host warning: second \xE2\x88\x86 ?\n\n");
}

TEST_F(Report, AnAsyncReportIsOnlyPosted)
{
    U_ReportError(0, U_Sev_WARNING, Units(u"earlier"));
    mAlerts.Clear();
    mHeard.mTexts.clear();
    mLog.Clear();
    const U_u32 counted = Count();
    U_AsyncReport(kLocation, U_Sev_PROBLEM, Units(u"text"));
    U_AsyncReport(kLocation, U_Sev_DETAIL, Units(u"masked"));
    U_StartQuietErrorsOnCurrentThread(true);
    U_AsyncReport(kLocation, U_Sev_PROBLEM, Units(u"quiet"));
    U_EndQuietErrorsOnCurrentThread();
    EXPECT_EQ(mLog.Texts(), Texts());
    EXPECT_EQ(mHeard.mTexts, Texts());
    EXPECT_EQ(Count(), counted);
    EXPECT_STREQ(Up_GetThreadLoggingBuffer(), "earlier");
    EXPECT_EQ(mAlerts.Texts(), Texts());
    U_DisplayPostedErrors();
    EXPECT_EQ(mAlerts.Texts(), Texts{"Test Host error: text\n\n( 18 :: 52 )"});
}

TEST_F(Report, AFatalErrorMarksTheProcessAsDyingAndLeaksStayQuiet)
{
    EXPECT_FALSE(U_Die());
    U_ReportError(0, U_Sev_FATAL, Units(u"text"));
    EXPECT_TRUE(U_Die());
    EXPECT_TRUE(platform::MemDialogsQuieted());
    mAlerts.Clear();
    U_ReportError(0, U_Sev_LEAK, Units(u"leak"));
    EXPECT_TRUE(mAlerts.All().empty());
}

TEST_F(Report, OutsideALifeReportsEndInAlertsOrSilence)
{
    EXPECT_EQ(U_Death(), 0);
    mAlerts.Clear();
    EXPECT_EQ(Up_ReportErrString(0, U_Sev_WARNING, "text"), 0); // the mask outlives the life
    EXPECT_EQ(mAlerts.Texts(), Texts{"text\n\n"});
    std::thread([] { Up_ReportErrString(0, U_Sev_WARNING, "posted nowhere"); }).join();
    U_AsyncReport(0, U_Sev_WARNING, Units(u"posted nowhere"));
    U_DisplayPostedErrors();
    U_IncrementPostErrors();
    EXPECT_EQ(mAlerts.Texts().size(), 1u);
    mAlerts.Clear();
    char name[31];
    EXPECT_EQ(U_GetName(name), 5889);
    EXPECT_EQ(mAlerts.Texts(), Texts{"null internal structures.\n\n( 23 :: 9 )"});
    EXPECT_EQ(U_Birth("Test Host", nullptr), 0);
}
