// The report path: every report of the library and of the modules above it.

#include "U_Report.h"

#include <wril/wril.h>

#include "U_Encoding.h"
#include "U_Interact.h"
#include "U_Lifecycle.h"
#include "U_Posted.h"
#include "U_String.h"
#include "U_Threads.h"
#include "indep/errors/Compose.h"
#include "indep/errors/Group.h"
#include "indep/errors/LoggingCallbacks.h"
#include "indep/errors/PostedErrors.h"
#include "indep/errors/QuietStack.h"
#include "indep/errors/Repeat.h"
#include "indep/errors/Severity.h"
#include "indep/errors/Show.h"
#include "indep/errors/StackCrawl.h"
#include "indep/errors/ThreadState.h"
#include "indep/frame/Globals.h"
#include "indep/frame/Guard.h"
#include "indep/frame/ThreadPiece.h"

namespace
{
struct InReport
{
    int mEntered;
};

bool IsOn(U_u16 severity)
{
    return Up_GetInteract() & severity;
}

bool IsLoggingOn(U_u16 severity)
{
    return Up_GetInteract() >> 16 & severity;
}

// Within a report the thread's text and last error are those of that report.
bool IsReporting()
{
    const InReport* const flag = ThreadPiece<InReport>::Find();
    return flag && flag->mEntered;
}

void PutIntoLoggingBuffer(const char* text)
{
    U_CopyString(text ? text : "", U_ReportTextSize, Up_GetThreadLoggingBuffer());
}

// Without memory to tell, a text is on its own.
bool IsGrouped(const U_UTF16String& text)
{
    bool grouped = false;
    Guarded([&] { grouped = Up_HasGroupTag(text); });
    return grouped;
}

// One report on its way through the stations.
class Report
{
public:
    Report(U_u32 location, U_u16 severity, const U_UTF16String& text)
        : mLocation(location), mSeverity(severity), mText(severity, text)
    {
    }

    void Log();
    void CallBack();
    void Display(bool grouped);
    U_Status Post() { return Up_PostError(mLocation, mSeverity, mText.Get()); }

private:
    bool MayShowNow(bool grouped) const;
    void ShowNow();

    const U_u32 mLocation;
    const U_u16 mSeverity;
    ComposedText mText;
};

// A log that fails doesn't stop the report.
void Report::Log()
{
    const SeverityTraits& traits = TraitsOf(mSeverity);
    if (!traits.mLogTag || !(IsOn(mSeverity) || IsLoggingOn(mSeverity)))
        return;
    Guarded([&] {
        const LocationText location(mLocation);
        const U_UTF8String text = U_UTF16To8String(mText.Get());
        WRIL_sprintf(0, "U", traits.mLogTag, "%s\t%s", reinterpret_cast<const char*>(text.c_str()),
                     location.mText);
    });
    if (traits.mLogsStack)
        LogStackCrawl();
}

// A callback's code ends the report.
void Report::CallBack()
{
    if (!IsLoggingOn(mSeverity))
        return;
    char text[U_ReportTextSize];
    *text = 0;
    Guarded(
        [&] { U_CopyString(U_UTF16ToMBString(mText.Get(), false).c_str(), sizeof(text), text); });
    if (const U_Status code = Up_CallLoggingCallbacks(mLocation, text, mSeverity))
        throw code;
}

bool Report::MayShowNow(bool grouped) const
{
    const bool heldBack = Up_GlobalsAreGood() && Globals()->mPostErrors;
    return U_IsOnUIThread() && !heldBack && !grouped;
}

void Report::Display(bool grouped)
{
    if (Up_LastErrorState* state = Up_MakeLastErrorState())
    {
        state->mLastSeverity = mSeverity;
        state->mLastLocation = mLocation;
    }
    if (mSeverity != U_Sev_DETAIL && Up_GlobalsAreGood())
        ++Globals()->mErrorCount;
    if (!IsOn(mSeverity))
        return;
    if (mSeverity == U_Sev_LEAK && U_Die())
        return;
    if (!MayShowNow(grouped) && (Post() == 0 || !U_IsOnUIThread()))
        return;
    try
    {
        ShowNow();
    }
    catch (...)
    {
        Post();
        throw;
    }
}

// Behind what waits. What can't be shown waits, too.
void Report::ShowNow()
{
    const U_Status failure = Guarded([&] {
        U_DisplayPostedErrors();
        Up_ShowMessage(mLocation, mSeverity, mText.Get(), 0);
    });
    if (failure)
        Post();
}
enum LogLine
{
    kLogLine,
    kNoLogLine // it has been written already
};

void SendReport(U_u32 location, U_u16 severity, const U_UTF16String& text, bool grouped,
                LogLine line)
{
    Up_SetThreadLastError(0);
    const bool isFatal = severity == U_Sev_FATAL;
    const bool mayDisplay = isFatal || !Up_IsQuiet(false);
    const bool mayLog = isFatal || !Up_IsQuiet(true);
    const ScEntered<InReport> inReport;
    if (!inReport.IsFirst())
        return;
    if (isFatal)
        Up_MarkDying();

    Report report(location, severity, text);
    if (mayLog && line == kLogLine)
        report.Log();
    if (mayLog)
        report.CallBack();
    if (mayDisplay)
        report.Display(grouped);
}

U_Status SendBuffer(U_u32 location, U_u16 severity, LogLine line)
{
    return Guarded([&] {
        const U_UTF16String text = U_MBToUTF16String(Up_GetThreadLoggingBuffer());
        SendReport(location, severity, text, IsGrouped(text), line);
    });
}

// append puts the code's meaning behind the text.
template <class Append>
U_Status ReportWithCode(U_u32 location, U_u16 severity, U_u32 code, const char* text, Append append)
{
    const U_Status status = static_cast<U_Status>(code);
    if (IsReporting())
        return status;
    Up_SetThreadLastError(code);
    if (!code)
        return 0;
    PutIntoLoggingBuffer(text);
    append();
    Up_ReportError(location, severity);
    Up_SetThreadLastError(code);
    return status;
}
} // namespace

void Up_Report16(U_u32 location, U_u16 severity, const U_UTF16String& text, bool grouped)
{
    SendReport(location, severity, text, grouped, kLogLine);
}

void U_ReportError(U_u32 location, U_u16 severity, const U_UTF16String& text)
{
    if (IsReporting())
        return;
    PutIntoLoggingBuffer("");
    Guarded([&] { PutIntoLoggingBuffer(U_UTF16ToMBString(text, false).c_str()); });
    Up_Report16(location, severity, text, IsGrouped(text));
}

void U_AsyncReport(U_u32 location, U_u16 severity, const U_UTF16String& text)
{
    Guarded([&] {
        if (!IsOn(severity) || (severity != U_Sev_FATAL && Up_IsQuiet(false)))
            return;
        Report(location, severity, text).Post();
    });
}

U_Status Up_ReportError(U_u32 location, U_u16 severity)
{
    return SendBuffer(location, severity, kLogLine);
}

U_Status Up_RepeatReport(U_u32 location, U_u16 severity, bool isLogged)
{
    return SendBuffer(location, severity, isLogged ? kNoLogLine : kLogLine);
}

U_Status Up_ReportErrString(U_u32 location, U_u16 severity, const char* text)
{
    if (IsReporting())
        return 0;
    Up_SetThreadLastError(0);
    PutIntoLoggingBuffer(text);
    return Up_ReportError(location, severity);
}

U_Status Up_ReportNuloErrString(U_u32 location, U_u16 severity, U_u32 code, const char* text)
{
    return ReportWithCode(location, severity, code, text, [&] { Up_NuloEnglishError(code); });
}

U_Status Up_ReportSyserrString(U_u32 location, U_u16 severity, U_i32 code, const char* text)
{
    return ReportWithCode(location, severity, static_cast<U_u32>(code), text,
                          [&] { Up_SysEnglishError(code); });
}
