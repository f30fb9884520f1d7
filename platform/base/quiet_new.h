// Scopes in which a failed operator new calls no handler.

#ifndef PLATFORM_BASE_QUIET_NEW_H
#define PLATFORM_BASE_QUIET_NEW_H

#include <new>

#include "export.h"

namespace platform
{
// The exception of a failed operator new, with the text of the C runtime.
class BadAllocation : public std::bad_alloc
{
public:
    const char* what() const noexcept override { return "bad allocation"; }
};

// Makes operator new quiet on this thread: a failure throws std::bad_alloc at once, and calls
// no handler of win32::_set_new_handler. Scopes may nest.
//
// For code that holds a lock, since a handler may show an alert, and an alert runs any code
// until the user dismisses it; and for code that promises to fail without a report.
class PLATFORM_EXPORT ScQuietNew
{
public:
    ScQuietNew();
    ~ScQuietNew();
    ScQuietNew(const ScQuietNew&) = delete;
    ScQuietNew& operator=(const ScQuietNew&) = delete;
};
} // namespace platform

#endif
