#include "indep/errors/ThreadState.h"

#include <platform/base/per_thread.h>
#include <platform/base/thread_local.h>

#include "U_Report.h"
#include "U_String.h"

namespace
{
struct LoggingBuffer
{
    char mText[U_ReportTextSize];
};

LoggingBuffer sEmergencyBuffer = {};

PLATFORM_THREAD_LOCAL Up_LastErrorState tLastError = {};
} // namespace

Up_LastErrorState& Up_LastErrorStateOfThread()
{
    return tLastError;
}

U_u32 Up_GetThreadLastError()
{
    return tLastError.mLastError;
}

U_u16 Up_GetThreadLastSeverity()
{
    return tLastError.mLastSeverity;
}

U_u32 Up_GetThreadLastLocation()
{
    return tLastError.mLastLocation;
}

U_u32 Up_SetThreadLastError(U_u32 code)
{
    return tLastError.mLastError = code;
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
