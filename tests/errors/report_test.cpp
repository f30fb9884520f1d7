// The report path: its decisions, its texts, and the reports that reach the log, the callbacks
// and the user.

#include <cstring>
#include <stdexcept>
#include <tuple>

#include <gmock/gmock.h>

#include <kroview/ui.h>

#include "U_Interact.h"
#include "U_Lifecycle.h"
#include "U_Posted.h"
#include "U_Report.h"
#include "U_String.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/DamagedRecord.h"
#include "tests/support/OnThreads.h"
#include "tests/support/Text.h"

namespace
{
struct Callback
{
    static U_Status Run(void* refcon, U_u32, U_u16, const char* text)
    {
        Callback& callback = *static_cast<Callback*>(refcon);
        callback.mTexts.push_back(text);
        return callback.mAction ? callback.mAction() : 0;
    }

    Texts mTexts;
    std::function<U_Status()> mAction;
};

typedef std::tuple<std::string, int, U_u32, U_u32> LastError; // text, severity, location, code

// Returns the answer of U_GetLastError, which must replace the values before.
LastError GetLast()
{
    char text[U_ReportTextSize] = "before";
    U_u16 severity = 99;
    U_u32 location = 99;
    U_u32 error = 99;
    EXPECT_EQ(U_GetLastError(text, &severity, &location, &error), 0);
    EXPECT_EQ(Up_GetThreadLastSeverity(), severity);
    EXPECT_EQ(Up_GetThreadLastLocation(), location);
    EXPECT_EQ(Up_GetThreadLastError(), error);
    return {text, severity, location, error};
}

class Report : public BornLibrary
{
protected:
    void SetUp() override
    {
        BornLibrary::SetUp();
        U_AddLoggingCallback(&Callback::Run, &mCallback);
    }

    Callback mCallback;
};
} // namespace

TEST_F(Report, EverySeverityHasItsTextAndNoLeakIsShownAfterAFatalReport)
{
    const std::tuple<U_u16, const char*, unsigned int, int> kTexts[] = {
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
    Up_SetInteract(0xFFFFFFFF);
    mCallback.mAction = [] {
        U_ReportError(0, U_Sev_FATAL, Units(u"inner"));
        Up_ReportSyserrString(0, U_Sev_FATAL, -1, "inner");
        return Up_ReportErrString(0, U_Sev_FATAL, "inner");
    };
    U_ReportError(0, U_Sev_MESSAGE, Units(u"outer"));
    mCallback.mAction = nullptr;
    U_AsyncReport(0, U_Sev_FATAL, Units(u"posted"));
    U_DisplayPostedErrors();
    EXPECT_FALSE(U_Die());
    for (const auto& [severity, text, boxIcon, hostIcon] : kTexts)
    {
        mAlerts.Clear();
        U_ReportError(kLocation, severity, Units(u"text"));
        U_SetPencartValuesForUErrors(&supplier, new kroview::ui::UI_Node);
        U_ReportError(kLocation, severity, Units(u"text"));
        U_SetPencartValuesForUErrors(nullptr, nullptr);

        const std::vector<platform::Alert> alerts = mAlerts.All();
        ASSERT_EQ(alerts.size(), 2u);
        EXPECT_EQ(mAlerts.Texts(), Texts(2, text));
        EXPECT_EQ(alerts[0].flags, boxIcon | 0x42000);
        EXPECT_FALSE(alerts[0].throughHost);
        EXPECT_EQ(alerts[1].icon, hostIcon);
        EXPECT_TRUE(alerts[1].throughHost);
        EXPECT_EQ(Narrow(alerts[1].title), "Test Host");
    }
    EXPECT_TRUE(U_Die());
    EXPECT_TRUE(platform::MemDialogsQuieted());
    mAlerts.Clear();
    U_ReportError(0, U_Sev_LEAK, Units(u"leak"));
    EXPECT_TRUE(mAlerts.All().empty());
}

TEST_F(Report, ATranslationOrdersNameAndWord)
{
    DictionaryImage image = BinaryImage(
        {{"/QX/U/qx_err_msg_order", u"@1, sagt @0"}, {"/QX/UOverride/LStr/0002", u"Fehler"}});
    U_ReportError(0, U_Sev_PROBLEM, Units(u"Text")); // the thread keeps the English texts
    ASSERT_EQ(U_ZStringSetCurrentDictionary(image.units.data(), image.size), 0);
    U_ReportError(0, U_Sev_PROBLEM, Units(u"Text"));
    ASSERT_EQ(U_ZStringSetEnglish(), 0);
    U_ReportError(0, U_Sev_PROBLEM, Units(u"Text"));
    EXPECT_EQ(mCallback.mTexts, (Texts{"Test Host error: Text", "Fehler, sagt Test Host: Text",
                                       "Test Host error: Text"}));
}

TEST_F(Report, TheNameIsThatOfThePresentLifeInThePresentCodePage)
{
    const std::tuple<const char*, unsigned int, const char*> kRows[] = {
        // the name in a code page, and the report in UTF-8
        {"Caf\xE9", 1252, "Caf\xC3\xA9: text\n\n"},
        {"Caf\xE9", 1251, "Caf\xD0\xB9: text\n\n"},
        {"Caf", 1251, "Caf: text\n\n"},
        {"a name of thirty bytes, no less", 1251, "a name of thirty bytes, no les: text\n\n"},
    };
    for (const auto& [name, codePage, expected] : kRows)
    {
        ASSERT_EQ(U_Death(), 0);
        const ScActiveCodePage active(codePage);
        ASSERT_EQ(U_Birth(name, nullptr), 0);
        U_ReportError(0, U_Sev_INFO, Units(u"text"));
        U_ReportError(0, U_Sev_INFO, Units(u"text"));
        EXPECT_EQ(mAlerts.Texts(), Texts(2, expected));
        mAlerts.Clear();
    }
}

TEST_F(Report, LongTextsAreCutAtACharacterInBuffersOnly)
{
    const ScActiveCodePage japanese(932);
    U_UTF16String text(600, 0x3042); // two bytes each
    U_ReportError(0, U_Sev_MESSAGE, text);
    ASSERT_EQ(mCallback.mTexts.size(), 1u);
    EXPECT_EQ(mCallback.mTexts[0].size(), 510u);
    EXPECT_EQ(std::string(Up_GetThreadLoggingBuffer()).size(), 510u);
    EXPECT_EQ(mAlerts.All().at(0).text, text);

    EXPECT_EQ(Up_ReportErrString(0, U_Sev_MESSAGE, std::string(511, 'x').c_str()), 0);
    EXPECT_EQ(mCallback.mTexts[1].size(), 511u);
    for (const std::size_t length : {511, 512, 600})
    {
        U_ReportError(0, U_Sev_MESSAGE, U_UTF16String(length, 0x7F));
        EXPECT_EQ(mCallback.mTexts.back(), std::string(511, 0x7F)) << length;
        EXPECT_EQ(Up_GetThreadLoggingBuffer(), std::string(511, 0x7F)) << length;
    }
    U_ReportError(0, U_Sev_MESSAGE, Units(u"\u3042a\u0080"));
    EXPECT_EQ(mCallback.mTexts.back(), "\x82\xA0"
                                       "a\x80");
}

TEST_F(Report, ASystemCodeIsRememberedAndNoCodeReportsNothing)
{
    EXPECT_EQ(Up_ReportSyserrString(kLocation, U_Sev_WARNING, -43, "reading"), -43);
    EXPECT_EQ(GetLast(),
              LastError("reading -- file not found (-43).", U_Sev_WARNING, kLocation, U_u32(-43)));
    EXPECT_EQ(Up_ReportSyserrString(kLocation, U_Sev_PROBLEM, 0, "nothing"), 0);
    EXPECT_EQ(mCallback.mTexts.size(), 1u);
    EXPECT_EQ(Up_ReportErrString(kLocation, U_Sev_PROBLEM, nullptr), 0);
    EXPECT_EQ(GetLast(), LastError("", U_Sev_PROBLEM, kLocation, 0));
}

TEST_F(Report, EachThreadRemembersItsOwnReportAndNoneAtFirst)
{
    OnFreshThread([] {
        EXPECT_EQ(GetLast(), LastError("", 0, 0, 0));
        char* const buffer = Up_GetThreadLoggingBuffer();
        const std::string full(U_ReportTextSize - 1, 'x');
        std::memcpy(buffer, full.c_str(), U_ReportTextSize);
        EXPECT_EQ(Up_SetThreadLastError(5889), 5889u);
        OnFreshThread([] {
            EXPECT_EQ(GetLast(), LastError("", 0, 0, 0));
            Up_SetThreadLastError(3);
            U_CopyString("writing", U_ReportTextSize, Up_GetThreadLoggingBuffer());
            EXPECT_EQ(GetLast(), LastError("writing", 0, 0, 3));
        });
        EXPECT_EQ(GetLast(), LastError(full, 0, 0, 5889));
        EXPECT_EQ(Up_GetThreadLoggingBuffer(), buffer);
        EXPECT_EQ(U_GetLastError(nullptr, nullptr, nullptr, nullptr), 0);
    });
}

TEST_F(Report, AnExceptionOfACallbackEndsThisReportAlone)
{
    const std::pair<std::function<U_Status()>, U_Status> kAnswers[] = {
        {[]() -> U_Status { throw std::runtime_error("broken"); }, 14},
        {[]() -> U_Status { throw std::bad_cast(); }, 3},
    };
    for (const auto& [action, status] : kAnswers)
    {
        mCallback.mAction = action;
        EXPECT_EQ(Up_ReportErrString(0, U_Sev_INFO, "first"), status);
        EXPECT_ANY_THROW(U_ReportError(0, U_Sev_INFO, Units(u"first")));
    }
    mCallback.mAction = []() -> U_Status { throw std::string("broken"); };
    EXPECT_THROW(Up_ReportErrString(0, U_Sev_INFO, "first"), std::string);
    mCallback.mAction = nullptr;
    U_ReportError(0, U_Sev_INFO, Units(u"second"));
    EXPECT_EQ(mAlerts.Texts(), Texts{"Test Host: second\n\n"});
}

TEST_F(Report, TheBufferOfTheThreadIsReported)
{
    U_CopyString("buffer", U_ReportTextSize, Up_GetThreadLoggingBuffer());
    EXPECT_EQ(Up_ReportError(kLocation, U_Sev_WARNING), 0);
    EXPECT_EQ(GetLast(), LastError("buffer", U_Sev_WARNING, kLocation, 0));
}

TEST_F(Report, ALogThatThrowsDoesNotStopTheReport)
{
    int lines = 0; // a failure ends the log step, so there is no stack trace
    platform::SetLogSink([&](int, const char*, const char*, const char*) {
        if (++lines == 1)
            throw 9;
        throw std::runtime_error("disk full");
    });
    EXPECT_EQ(Up_ReportErrString(0, U_Sev_PROBLEM, "text"), 0);
    EXPECT_EQ(Up_ReportErrString(0, U_Sev_PROBLEM, "text"), 0);
    EXPECT_EQ(lines, 2 + 1) << "the std::exception is logged";
    platform::SetLogSink(platform::LogSink());
    EXPECT_EQ(mCallback.mTexts.size(), 2u);
    EXPECT_EQ(mAlerts.All().size(), 2u);
}

TEST_F(Report, AFailingHostBoxIsReplacedByTheSystemBox)
{
    Supplier supplier;
    U_SetPencartValuesForUErrors(&supplier, new kroview::ui::UI_Node);
    const std::pair<std::function<void()>, bool> kFailures[] = {
        {[] { throw 8; }, true},
        {[] { throw 0; }, false}, // no failure
        {[] { throw std::runtime_error("no window"); }, true},
    };
    for (const auto& [fail, isReplaced] : kFailures)
    {
        mAlerts.Clear();
        mAlerts.mWhileUp = [fail = fail](const platform::Alert& alert) {
            if (alert.throughHost)
                fail();
        };
        U_ReportError(0, U_Sev_WARNING, Units(u"text"));
        EXPECT_EQ(mAlerts.All().size(), isReplaced ? 2u : 1u);
    }
}

TEST_F(Report, AlertsWithoutAHostNameHaveTheirOwnTitles)
{
    Supplier supplier;
    const ScDamagedRecord damaged(FindMagicNumbers().at(0));
    U_ReportError(0, U_Sev_WARNING, Units(u"first"));
    EXPECT_TRUE(platform::MemDialogsQuieted());
    U_SetPencartValuesForUErrors(&supplier, new kroview::ui::UI_Node);
    U_ReportError(0, U_Sev_WARNING, Units(u"second"));
    EXPECT_EQ(mAlerts.Texts(), (Texts{"first\n\n", "second\n\n"}));
    EXPECT_FALSE(mAlerts.All()[0].hasTitle);
    EXPECT_EQ(Narrow(mAlerts.All()[1].title), "Quillon");
}

TEST_F(Report, AnAlertEndsTheInputCaptureAndCopiesWithShift)
{
    int ended = 0;
    kroview::ui::UI_NodeManager::Get(false)->BeginInputCapture(
        [&](bool cancelled) { ended += cancelled; });
    U_ReportError(0, U_Sev_WARNING, Units(u"first"));
    EXPECT_EQ(ended, 1);
    EXPECT_EQ(Narrow(platform::ClipboardText()), "");
    platform::SetModifierKeys(512);
    U_ReportError(0, U_Sev_WARNING, Units(u"second \x2206 \x4E00"));
    EXPECT_EQ(Narrow(platform::ClipboardText()), "Test Host warning: second \xE2\x88\x86 ?\n\n");
    EXPECT_EQ(ended, 1) << "the capture ends once";
}

TEST_F(Report, ReportsOutsideALifeEndInAlertsOrSilence)
{
    EXPECT_EQ(U_Death(), 0);
    mAlerts.Clear();
    EXPECT_EQ(Up_ReportErrString(0, U_Sev_WARNING, "text"), 0); // the mask outlives the life
    EXPECT_EQ(mAlerts.Texts(), Texts{"text\n\n"});
    OnFreshThread([] { Up_ReportErrString(0, U_Sev_WARNING, "posted nowhere"); });
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

TEST_F(Report, AStackTraceFollowsProblemsAndFatalErrors)
{
    U_ReportError(0, U_Sev_WARNING, Units(u"text"));
    EXPECT_TRUE(mLog.Texts("StackCrawl").empty());
    for (U_u16 severity : {U_Sev_PROBLEM, U_Sev_FATAL})
    {
        mLog.Clear();
        U_ReportError(0, severity, Units(u"text"));
        EXPECT_THAT(mLog.Texts("StackCrawl"),
                    testing::ElementsAre(testing::AllOf(testing::HasSubstr("FatalErrors_Test"),
                                                        testing::HasSubstr("  (Line: "),
                                                        testing::HasSubstr("report_test.cpp)\n"))));
    }
}
