// The guard: the try block at the boundary.
//
// Inside the library a failure travels as a thrown int that holds the status
// code, reported by whoever found it. Exceptions of types other than int and
// std::exception aren't the library's and pass through.

#ifndef INDEP_FRAME_GUARD_H
#define INDEP_FRAME_GUARD_H

#include <exception>

#include "U_Threads.h"
#include "indep/frame/Translators.h"

// Runs body and returns 0, or the status code of its failure, which translate gives for
// an exception.
template <class Body, class Translate> U_Status GuardedBy(Translate translate, Body body)
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

// The guard as it stands nearly everywhere.
template <class Body> U_Status Guarded(Body body)
{
    return GuardedBy(&U_TranslateAndReportException, body);
}

// The same on the way of a message to the user: of one that can't be shown, a report
// would be one message more that can't be.
template <class Body> U_Status GuardedUnreported(Body body)
{
    return GuardedBy(
        [](std::exception& exception) {
            const ScUnreported unreported;
            return U_TranslateAndReportException(exception);
        },
        body);
}

// Guarded where nothing may pass: an exception of any other type is reported too
// and gives 14.
template <class Body> U_Status Contained(Body body) noexcept
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
        // What a callback throws out of the report doesn't stand for the failure.
    }
    return U_Err_UnknownException;
}

#endif
