// Failures inside the library: guards of entry points, of log lines, and the location code
// of reports.
//
// Inside the library a failure is a thrown int, the status code. The code that found the
// failure has reported it.

#ifndef INDEP_FRAME_GUARD_H
#define INDEP_FRAME_GUARD_H

#include <exception>

#include "U_Threads.h"

// The library's part of a location code. The low half names a line within the library.
const U_u32 kModule = 0x170000;

// Reports an exception that no translator recognises. Returns 14.
U_Status Up_ReportUnknownException(const char* what, const char* type);

// Calls `body`. Returns 0, the code that `body` has thrown, or the code that `translate`
// returns for a std::exception. Exceptions of other types pass through.
template <class Body>
U_Status Guarded(Body body, U_Status (*translate)(std::exception&) = &U_TranslateAndReportException)
{
    try
    {
        body();
        return 0;
    }
    catch (int& code)
    {
        return code;
    }
    catch (std::exception& exception)
    {
        return translate(exception);
    }
}

// Guarded for callers through which no exception may pass. Reports an exception of any other
// type and returns 14 for that exception.
template <class Body> U_Status GuardedNoexcept(Body body) noexcept
{
    try
    {
        return Guarded(body);
    }
    catch (...)
    {
    }
    try
    {
        Up_ReportUnknownException("", "not a std::exception");
    }
    catch (...)
    {
        // An exception of a logging callback does not replace the failure.
    }
    return U_Err_UnknownException;
}

// Calls `write`, which writes to the log. If `write` throws, the rest of its lines is lost and
// the caller continues.
template <class Write> void LogSafely(Write write) noexcept
{
    try
    {
        write();
    }
    catch (...)
    {
        // The log itself has failed: there is no other place to report to.
    }
}

#endif
