#include "indep/errors/ThreadState.h"

#include "U_Report.h"
#include "U_String.h"
#include "indep/frame/ThreadPiece.h"

namespace
{
struct LoggingBuffer
{
    char mText[U_ReportTextSize];
};

LoggingBuffer sEmergencyBuffer = {};

template <class Field> Field LastErrorField(Field Up_LastErrorState::*field)
{
    const Up_LastErrorState* const state = ThreadPiece<Up_LastErrorState>::Find();
    return state ? state->*field : Field();
}
} // namespace

Up_LastErrorState* Up_MakeLastErrorState()
{
    return ThreadPiece<Up_LastErrorState>::Make();
}

U_u32 Up_GetThreadLastError()
{
    return LastErrorField(&Up_LastErrorState::mLastError);
}

U_u16 Up_GetThreadLastSeverity()
{
    return LastErrorField(&Up_LastErrorState::mLastSeverity);
}

U_u32 Up_GetThreadLastLocation()
{
    return LastErrorField(&Up_LastErrorState::mLastLocation);
}

U_u32 Up_SetThreadLastError(U_u32 code)
{
    if (Up_LastErrorState* state = Up_MakeLastErrorState())
        state->mLastError = code;
    return code;
}

char* Up_GetThreadLoggingBuffer()
{
    LoggingBuffer* const buffer = ThreadPiece<LoggingBuffer>::Make();
    return buffer ? buffer->mText : sEmergencyBuffer.mText;
}

char* Up_FindThreadLoggingBuffer()
{
    LoggingBuffer* const buffer = ThreadPiece<LoggingBuffer>::Find();
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
