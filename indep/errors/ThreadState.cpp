#include "indep/errors/ThreadState.h"

#include <exception>
#include <memory>
#include <new>

#include <boost/thread/tss.hpp>

#include "U_Report.h"
#include "U_String.h"

namespace
{
struct LoggingBuffer
{
    char mText[U_ReportTextSize];
};

LoggingBuffer sEmergencyBuffer = {};

// Never destroyed: threads may report until the process ends.
template <class Piece> boost::thread_specific_ptr<Piece>& ThreadPiece()
{
    static boost::thread_specific_ptr<Piece>& piece = *new boost::thread_specific_ptr<Piece>;
    return piece;
}

// Zeroed if new. Null without memory.
template <class Piece> Piece* MakeThreadPiece()
{
    try
    {
        boost::thread_specific_ptr<Piece>& slot = ThreadPiece<Piece>();
        if (Piece* present = slot.get())
            return present;
        auto piece = std::make_unique<Piece>();
        slot.reset(piece.get()); // needs memory itself
        return piece.release();
    }
    catch (const std::exception&)
    {
        return nullptr; // a report goes on without what it would remember
    }
}

// Null if the thread has none.
template <class Piece> const Piece* FindThreadPiece()
{
    return ThreadPiece<Piece>().get();
}

template <class Field> Field LastErrorField(Field Up_LastErrorState::*field)
{
    const Up_LastErrorState* const state = FindThreadPiece<Up_LastErrorState>();
    return state ? state->*field : Field();
}
} // namespace

Up_LastErrorState* Up_MakeLastErrorState()
{
    return MakeThreadPiece<Up_LastErrorState>();
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
    LoggingBuffer* const buffer = MakeThreadPiece<LoggingBuffer>();
    return buffer ? buffer->mText : sEmergencyBuffer.mText;
}

U_Status U_GetLastError(char* text, U_u16* severity, U_u32* location, U_u32* error)
{
    if (text)
    {
        const LoggingBuffer* const buffer = FindThreadPiece<LoggingBuffer>();
        U_CopyString(buffer ? buffer->mText : "", U_ReportTextSize, text);
    }
    if (severity)
        *severity = Up_GetThreadLastSeverity();
    if (location)
        *location = Up_GetThreadLastLocation();
    if (error)
        *error = Up_GetThreadLastError();
    return 0;
}
