// Operations that show alerts, or that need a language, a locale or a provider of their own.

#include <atomic>
#include <stdexcept>
#include <string>
#include <utility>

#include <platform/control.h>
#include <tolv/profile.h>
#include <win32/errors.h>

#include "U_Alloc.h"
#include "U_Assert.h"
#include "U_Format.h"
#include "U_Interact.h"
#include "U_Machine.h"
#include "U_Posted.h"
#include "U_Report.h"
#include "U_Telemetry.h"
#include "U_Threads.h"
#include "tests/operations/Operations.h"
#include "tests/operations/Texts.h"
#include "tests/support/RecordingProvider.h"
#include "tests/support/Text.h"

namespace
{
const U_u32 kLocation = 0x120034;
const char kText[] = "a report that is too long for a string object";
const U_UTF16String kWideText = Units(u"a report that is too long for a string object");
const U_UTF16String kUseControl = Units(u"UseControlFPKey64_2");
const U_UTF16String kRefused = Units(u"Memory allocation of 2");
const U_UTF16String kGrouped =
    Units(u"Grouped_Message_{Several|||One###@0 files:}a report that is too long for a string "
          u"object");

std::atomic<int> sShown{0}; // alerts with one of the texts
std::atomic<int> sHeard{0}; // calls of Listen

// Shows the posted reports, and those again whose alert has failed.
void ShowPosted()
{
    U_DisplayPostedErrors();
    U_DisplayPostedErrors();
}

void BeginAnew()
{
    ShowPosted();
    U_ClearLastReportedError();
    sShown = 0;
}

// Runs a report and shows the posted reports: the report must be shown once. A thread that has to
// post the report may lose it.
template <class Report> Outcome Shown(Report report)
{
    BeginAnew();
    const Outcome outcome = report();
    ShowPosted();
    if (sShown > 1)
        return kWrong;
    if (outcome != kRight || sShown == 1)
        return outcome;
    return U_IsOnUIThread() ? kLost : kLess;
}

// A warning logs no stack trace, which has many points.
Outcome Report()
{
    U_ReportError(kLocation, U_Sev_WARNING, kWideText);
    return kRight;
}

Outcome ReportGroup(Own&)
{
    BeginAnew();
    U_ReportError(kLocation, U_Sev_WARNING, kGrouped);
    U_ReportError(kLocation, U_Sev_WARNING, kGrouped);
    ShowPosted();
    if (sShown == 2)
        return kLess; // one by one
    return RightIf(sShown == 1, sShown == 0 ? kLost : kWrong);
}

U_Status Listen(void*, U_u32, U_u16, const char*)
{
    ++sHeard;
    return 0;
}

Outcome ReportToCallback(Own&)
{
    sHeard = 0;
    if (U_AddLoggingCallback(&Listen, nullptr))
        return kWrong;
    const Outcome outcome = Shown(&Report);
    return U_RemoveLoggingCallback(&Listen, nullptr) || !sHeard ? kWrong : outcome;
}

struct ScProvider : RecordingProvider
{
    ScProvider() { U::telemetry::RegisterTelemetryProvider(this); }
    ~ScProvider() override { U::telemetry::RegisterTelemetryProvider(nullptr); }
};

Outcome ReportToTelemetry(Own&)
{
    const ScProvider provider;
    Up_HDT_ReportPluginErrorTelemetry(kWideText, 1);
    const bool isWhole = provider.mCalls.size() == 3;
    return isWhole ? Shown(&Report) : kWrong;
}

// Without memory for the system's text, nothing is reported.
Outcome ReportResultCode(Own&)
{
    ATL::CAtlException exception(static_cast<int>(0x80070002));
    try
    {
        TranslateAndThrowATLException(exception, __FILE__, __LINE__);
    }
    catch (int code)
    {
        return RightIf(code == 1);
    }
    return kLess;
}

// The error differs from the alert of a failed allocation, which is shown too.
Outcome Defer(bool repeats, bool async)
{
    const U_u32 mask = Up_GetInteract();
    U_u32 before = 0;
    U_u32 after = 0;
    BeginAnew();
    U_GetHowManyErrors(&before);
    U_DeferredState state;
    const U_Status started = U_DeferredReportingStart(0xFFFF0000, &state);
    Report();
    const U_Status ended = U_DeferredReportingEndAsync(repeats, async, nullptr, &state);
    U_GetHowManyErrors(&after);
    ShowPosted();
    const bool isBack = Up_GetInteract() == mask && !state.mSavedMessage;
    if (!isBack || sShown > (started ? 2 : 1))
        return kWrong;
    if (started || ended)
        return OfCode(started ? started : ended, false);
    return RightIf(repeats ? sShown == 1 : after == before && sShown == 0, kLess);
}

// Numbers are converted through UTF-16 if a mark is not ASCII.
template <class Body> Outcome InUTF8(std::string_view before, Body body)
{
    const ScActiveCodePage active(65001);
    return InBuffer(before, "1\302\240234\302\240567,5", body);
}

Outcome ScanNumber(Own&)
{
    const ScActiveCodePage active(65001);
    char text[] = "1234567,5\302\240";
    double number = 7;
    const int code = U_ScanNum(text, 0, &number);
    return OfCode(code, number == 1234567.5, number == 7);
}
} // namespace

void DropAlertsAndLogLines()
{
    platform::SetAlertPresenter([](const platform::Alert& alert) {
        sShown += alert.text.find(kWideText) != U_UTF16String::npos ||
                  alert.text.find(kRefused) != U_UTF16String::npos;
    });
    platform::SetLogSink([](int, const char*, const char*, const char*) {});
}

Operations SoleOperations()
{
    const auto shown = [](auto report) { return [=](Own&) { return Shown(report); }; };
    const auto ifRoom = [](auto report) {
        return [=](Own&) {
            const Outcome outcome = Shown(report);
            return outcome == kLost ? kLess : outcome;
        };
    };
    const auto ofCode = [=](auto report) {
        return ifRoom([=] {
            const U_Status code = report(kLocation, U_Sev_WARNING, 3, kText);
            return RightIf(code == 3 && Up_GetThreadLastError() == 3);
        });
    };
    // Loads a dictionary and looks a text up.
    const auto load = [](DictionaryImage from, const char* zstring, const char* text) {
        return [image = std::move(from), zstring, text](Own&) mutable {
            return OfTextFrom(image, zstring, text);
        };
    };
    return {
        {"U_ReportError", kLess | kLost, shown(&Report)},
        {"U_AsyncReport", kLess, ifRoom([] {
             U_AsyncReport(kLocation, U_Sev_WARNING, kWideText);
             return kRight;
         })},
        {"Up_ReportErrString", kLess | kLost | kCode4,
         shown([] { return OfCode(Up_ReportErrString(kLocation, U_Sev_PROBLEM, kText), true); })},
        {"Up_ReportNuloErrString", kLess, ofCode(&Up_ReportNuloErrString)},
        {"Up_ReportSyserrString", kLess, ofCode(&Up_ReportSyserrString)},
        {"Up_Report16", kLess | kLost, shown([] {
             Up_Report16(kLocation, U_Sev_WARNING, kWideText, false);
             return kRight;
         })},
        {"TranslateAndThrowATLException", kLess | kBadAlloc, &ReportResultCode},
        {"U_RegisterPSLThread and U_RegisterPRThread", 0,
         [](Own&) {
             U_RegisterPSLThread();
             U_RegisterPRThread();
             const bool isRight = U_IsOnPSLThread() && U_IsOnPRThread();
             U_DeregisterPSLThread();
             U_DeregisterPRThread();
             return RightIf(isRight && !U_IsOnPSLThread() && !U_IsOnPRThread());
         }},
        {"U_InitFPControl", kLess,
         [](Own&) {
             int use = 0;
             platform::ClearProfile();
             U_InitFPControl();
             U_TerminateFPControl();
             return RightIf(TOLV_GetRequiredProfileInt(kUseControl.c_str(), &use) == 0, kLess);
         }},
        {"U_ReportFailedVerification", kLess | kLost | kCode4, shown([] {
             return OfCode(U_ReportFailedVerification(kLocation, 1, nullptr, kText), true);
         })},
        {"a refused block", kLess,
         ifRoom([] { return RightIf(!U_AllocatePtr(kLocation, "disk cache", 0x80000000)); })},
        {"a group of two", kLess | kLost, &ReportGroup},
        {"U_AddLoggingCallback", kLess | kLost, &ReportToCallback},
        {"a provider of telemetry", kBadAlloc | kLess | kLost, &ReportToTelemetry},
        {"a deferred error, dropped", kCode4 | kLess, [](Own&) { return Defer(false, false); }},
        {"a deferred error, repeated", kCode4 | kLess, [](Own&) { return Defer(true, false); }},
        {"a deferred error, posted", kCode4 | kLess, [](Own&) { return Defer(true, true); }},
        {"Up_AssertFailed", 0,
         [](Own&) { return RightIf(Up_AssertFailed("a == b", "some/file.cpp", 12) == 0); }},
        {"Up_AssertImpl", 0,
         [](Own&) {
             bool flag = false;
             return RightIf(Up_AssertImpl("a == b", "some/file.cpp", 12, &flag) == 0);
         }},
        {"U_TranslateAndReportException", 0,
         [error = std::runtime_error("an exception with a text of some length")](Own&) mutable {
             return RightIf(U_TranslateAndReportException(error) == 14);
         }},
        {"Up_SetInteractTemp and Up_SetInteract", kBadAlloc,
         [](Own&) {
             const U_u32 before = Up_GetInteract();
             const auto isBack = [&] { return Up_GetInteract() == before; };
             RunOrLeaveIntact([] { Up_SetInteractTempComplete(Up_SetInteractTemp(0)); }, isBack);
             RunOrLeaveIntact([&] { Up_SetInteract(before); }, isBack);
             return RightIf(isBack());
         }},
        {"U_FormatNum", kCode4,
         [](Own&) {
             return InUTF8("before",
                           [](char* text) { return U_FormatNum(1234567.5, 8, 1, 1, text); });
         }},
        {"U_ScanNum", kCode4, &ScanNumber},
        {"U_InternationalizeNum", kCode4,
         [](Own&) { return InUTF8("1,234,567.5", &U_InternationalizeNum); }},
        {"an image", kCode4 | kBadAlloc,
         load(BinaryImage({{"/faults/text", u"ein Text, der lang genug ist"},
                           {"/faults/other", u"noch ein Text von solcher L\u00E4nge"}}),
              "$$$/faults/text=x", "ein Text, der lang genug ist"),
         true},
        {"lines", kCode4 | kBadAlloc,
         load(TextImage(u"\"$$$/faults/line=eine Zeile mit einem langen Text\"\r\n"),
              "$$$/faults/line=x", "eine Zeile mit einem langen Text"),
         true},
    };
}
