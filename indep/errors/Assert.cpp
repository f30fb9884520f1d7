#include "U_Assert.h"

#include <cstdio>

#include <krobase/debug.h>
#include <platform/base/locks.h>
#include <platform/base/quiet_new.h>
#include <win32/process.h>

#include "U_Encoding.h"
#include "U_Format.h"
#include "U_Report.h"
#include "U_String.h"
#include "indep/errors/Report.h"
#include "indep/frame/Guard.h"
#include "text/OwnTexts.h"

namespace
{
struct Injection
{
    U_RandErrFilter mFilter = nullptr;
    U_u32 mValue = 0;
};

platform::Mutex sInjectionLock;
Injection sInjection PLATFORM_GUARDED_BY(sInjectionLock);

typedef char VerificationText[U_ReportTextSize];

// Fills the text; with the message alone if the look-up or the formatting fails.
void FillVerification(VerificationText& text, const char* detail, const char* message)
{
    const platform::ScQuietNew quiet; // a report in here would change the thread's latest report
    const U_Status failure = Guarded(
        [&] {
            const U_UTF16String format = U_ZStringToFormat(
                Up_ZStringOf(detail ? kTextVerificationFailedDetail : kTextVerificationFailed));
            const U_UTF16String filled =
                detail ? U_SubString16(format, detail, message) : U_SubString16(format, message);
            U_CopyString(U_UTF16ToMBString(filled, false).c_str(), sizeof(text), text);
        },
        &Up_TranslateUnreported);
    if (failure)
        U_CopyString(message, sizeof(text), text);
}
} // namespace

U_Status Up_AssertImpl(const char* expression, const char* file, int line, bool* flag)
{
    bool answer = false;
    bool breaks = false;
    Guarded([&] {
        breaks = krobase::debug::BreakAfterAssertDialog(answer, expression, "", file, line,
                                                        "Up_AssertImpl");
    });
    if (breaks && krobase::debug::IsDebuggerAttached())
        krobase::debug::BreakIntoDebugger();
    if (flag)
        *flag = answer;
    return 0;
}

U_Status Up_AssertFailed(const char* expression, const char* file, int line)
{
    char text[U_ReportTextSize];
    Up_FormatText(text, sizeof(text), "assertion failed\n%s\nline: %d of file: %s.",
                  expression ? expression : "", line, file ? file : "");
    Up_ReportErrString(0, U_Sev_PROBLEM, text);
    return 0;
}

U_Status U_ReportFailedVerification(U_u32 location, int line, const char* detail,
                                    const char* message)
{
    char number[16];
    if (!message)
    {
        std::snprintf(number, sizeof(number), "%d", line);
        message = number;
    }
    VerificationText text;
    FillVerification(text, detail, message);
    return Up_ReportErrString(location, U_Sev_PROBLEM, text);
}

U_Status BadArgument(const char* why, U_u32 location)
{
    U_ReportFailedVerification(location, 0, nullptr, why);
    return U_Err_BadParameter;
}

U_Status U_SetRandErrFilter(U_RandErrFilter filter, U_u32 value)
{
    const platform::ScLock lock(sInjectionLock);
    sInjection = {filter, value};
    return 0;
}

bool U_RandErr(U_u32 first, U_u32 second)
{
    Injection injection;
    {
        const platform::ScLock lock(sInjectionLock);
        injection = sInjection;
    }
    return injection.mFilter && injection.mFilter(first, second, injection.mValue);
}

void Up_DebugCStr(const char* text)
{
    win32::OutputDebugStringA(text);
    win32::OutputDebugStringA("\n");
}
