// The status code of the exception that a body throws.

#ifndef TESTS_ADAPTERS_THROWN_H
#define TESTS_ADAPTERS_THROWN_H

#include <u/cpp/errors.h>

// Returns 4 for std::bad_alloc and the code of a StatusError; 0 if the body throws nothing. Other
// exceptions pass through.
template <class Body> U_Status Thrown(Body body)
{
    try
    {
        body();
        return 0;
    }
    catch (const std::bad_alloc&)
    {
        return U_Err_OutOfMemory;
    }
    catch (const U::cpp::StatusError& error)
    {
        return error.Status();
    }
}

#endif
