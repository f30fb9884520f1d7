// The entry points of the report path, and the latest report of each thread.

#include "U_Report.h"

#include <platform/base/per_thread.h>
#include <platform/base/quiet_new.h>
#include <platform/base/thread_local.h>

#include "U_Encoding.h"
#include "U_String.h"
#include "U_ZString.h"
#include "indep/errors/Globals.h"
#include "indep/errors/QuietStack.h"
#include "indep/errors/Report.h"
#include "indep/errors/ReportPipeline.h"
#include "indep/errors/UserMessages.h"
#include "indep/frame/Guard.h"
#include "indep/frame/ReentrancyGuard.h"

namespace
{
struct LoggingBuffer
{
    char mText[U_ReportTextSize];
};

LoggingBuffer sEmergencyBuffer = {};

PLATFORM_THREAD_LOCAL(Up_LastErrorState, tLastError);

Up_LastErrorState LastError()
{
    return tLastError;
}

// Marks that the thread is inside a report: an inner report must not change the thread's text
// and last error.
typedef ReentrancyGuard<struct InReport> ScReporting;

// Returns the buffer that has the text. The report keeps using that buffer: a second
// Up_GetThreadLoggingBuffer may return another one, if there is memory again.
char* PutIntoLoggingBuffer(const char* text)
{
    char* const buffer = Up_GetThreadLoggingBuffer();
    U_CopyString(text ? text : "", U_ReportTextSize, buffer);
    return buffer;
}

enum LogLine
{
    kLogLine,
    kNoLogLine // the log has the line already
};

void SendReport(U_u32 location, U_u16 severity, const U_UTF16String& text, Grouping grouping,
                LogLine line)
{
    Up_SetThreadLastError(0);
    const bool isFatal = severity == U_Sev_FATAL;
    const bool mayDisplay = isFatal || !Up_IsQuiet(false);
    const bool mayLog = mayDisplay || !Up_IsQuiet(true);
    const ScReporting reporting;
    if (!reporting.IsFirst())
        return;
    if (isFatal)
        Up_MarkDying();

    Report report(location, severity, text);
    if (mayLog && line == kLogLine)
        report.Log();
    if (mayLog)
        report.CallBack();
    if (mayDisplay)
        report.Display(grouping);
}

// A failing new is not reported while a text is prepared: the thread is not inside a report yet,
// so the report of the failure would overwrite the buffer with the text.
U_UTF16String TextOf(const char* buffer)
{
    const platform::ScQuietNew quiet;
    return U_MBToUTF16String(buffer);
}

U_Status SendBuffer(U_u32 location, U_u16 severity, const char* buffer, LogLine line)
{
    return Guarded([&] {
        const U_UTF16String text = TextOf(buffer);
        SendReport(location, severity, text, Grouping::byText, line);
    });
}

U_Status SendText(U_u32 location, U_u16 severity, const char* text, LogLine line)
{
    if (ScReporting::IsInside())
        return 0;
    Up_SetThreadLastError(0);
    return SendBuffer(location, severity, PutIntoLoggingBuffer(text), line);
}

// `append` appends the code's meaning to the text in a buffer.
template <class Append>
U_Status ReportWithCode(U_u32 location, U_u16 severity, U_u32 code, const char* text, Append append)
{
    const U_Status status = static_cast<U_Status>(code);
    if (ScReporting::IsInside())
        return status;
    Up_SetThreadLastError(code);
    if (!code)
        return 0;
    char* const buffer = PutIntoLoggingBuffer(text);
    {
        const platform::ScQuietNew quiet;
        append(buffer);
    }
    SendBuffer(location, severity, buffer, kLogLine);
    Up_SetThreadLastError(code);
    return status;
}
} // namespace

U_u32 Up_GetThreadLastError()
{
    return LastError().mLastError;
}

U_u16 Up_GetThreadLastSeverity()
{
    return LastError().mLastSeverity;
}

U_u32 Up_GetThreadLastLocation()
{
    return LastError().mLastLocation;
}

U_u32 Up_SetThreadLastError(U_u32 code)
{
    const Up_LastErrorState last = LastError();
    tLastError = {code, last.mLastSeverity, last.mLastLocation};
    return code;
}

void Up_SetThreadLastReport(U_u16 severity, U_u32 location)
{
    tLastError = {Up_GetThreadLastError(), severity, location};
}

char* Up_GetThreadLoggingBuffer()
{
    LoggingBuffer* const buffer = platform::PerThread<LoggingBuffer>::Make();
    return buffer ? buffer->mText : sEmergencyBuffer.mText;
}

char* Up_FindThreadLoggingBuffer()
{
    LoggingBuffer* const buffer = platform::PerThread<LoggingBuffer>::Find();
    return buffer ? buffer->mText : nullptr;
}

U_Status U_GetLastError(char* text, U_u16* severity, U_u32* location, U_u32* error)
{
    if (text)
    {
        const char* const latest = Up_FindThreadLoggingBuffer();
        U_CopyString(latest ? latest : "", U_ReportTextSize, text);
    }
    if (severity)
        *severity = Up_GetThreadLastSeverity();
    if (location)
        *location = Up_GetThreadLastLocation();
    if (error)
        *error = Up_GetThreadLastError();
    return 0;
}

void Up_Report16(U_u32 location, U_u16 severity, const U_UTF16String& text, bool grouped)
{
    SendReport(location, severity, text, grouped ? Grouping::yes : Grouping::no, kLogLine);
}

void U_ReportError(U_u32 location, U_u16 severity, const U_UTF16String& text)
{
    if (ScReporting::IsInside())
        return;
    char* const buffer = PutIntoLoggingBuffer("");
    Guarded([&] {
        const platform::ScQuietNew quiet;
        CopyReportText(text, buffer);
    });
    SendReport(location, severity, text, Grouping::byText, kLogLine);
}

void U_AsyncReport(U_u32 location, U_u16 severity, const U_UTF16String& text)
{
    Guarded([&] {
        const platform::ScQuietNew
            quiet; // the report of a failing allocation would change the thread's state
        if (!IsDisplayOn(severity) || (severity != U_Sev_FATAL && Up_IsQuiet(false)))
            return;
        Report(location, severity, text).Post();
    });
}

U_Status Up_ReportError(U_u32 location, U_u16 severity)
{
    return SendBuffer(location, severity, Up_GetThreadLoggingBuffer(), kLogLine);
}

U_Status Up_RepeatReport(U_u32 location, U_u16 severity, const char* text, bool isLogged)
{
    return SendText(location, severity, text, isLogged ? kNoLogLine : kLogLine);
}

U_Status Up_ReportErrString(U_u32 location, U_u16 severity, const char* text)
{
    return SendText(location, severity, text, kLogLine);
}

U_Status Up_ReportNuloErrString(U_u32 location, U_u16 severity, U_u32 code, const char* text)
{
    return ReportWithCode(location, severity, code, text,
                          [&](char* buffer) { AppendStatusText(code, buffer); });
}

U_Status Up_ReportSyserrString(U_u32 location, U_u16 severity, U_i32 code, const char* text)
{
    return ReportWithCode(location, severity, static_cast<U_u32>(code), text,
                          [&](char* buffer) { AppendSystemText(code, buffer); });
}

void Up_ErrorsBirth()
{
    MakePostedErrors();
    Up_GetThreadLoggingBuffer();
    MakeQuietStack();
}

void Up_ErrorsDeath()
{
    FreePostedErrors();
    FreeQuietStack();
}

void Up_HDT_ReportErr(unsigned short severity, const U_UTF16String& text)
{
    U_ReportError(0, severity, text);
}
