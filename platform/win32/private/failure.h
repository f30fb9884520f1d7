// How an operation of the system fails.

#ifndef WIN32_PRIVATE_FAILURE_H
#define WIN32_PRIVATE_FAILURE_H

#include <win32/text.h>

namespace win32
{
// Sets the thread's last error. Returns 0 or null.
template <class Result = int> Result Fail(unsigned int error)
{
    SetLastError(error);
    return Result();
}
} // namespace win32

#endif
