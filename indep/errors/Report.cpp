// The report path: every report of the library and of the modules above it.

#include "U_Report.h"

#include "U_Encoding.h"
#include "U_String.h"
#include "indep/errors/Group.h"
#include "indep/errors/QuietStack.h"
#include "indep/errors/Repeat.h"
#include "indep/errors/Stations.h"
#include "indep/frame/Globals.h"
#include "indep/frame/Guard.h"
#include "indep/frame/ThreadPiece.h"

namespace
{
struct InReport
{
    int mEntered;
};

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
        if (!IsDisplayOn(severity) || (severity != U_Sev_FATAL && Up_IsQuiet(false)))
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
