// A `throw;` that reaches std::terminate on each system.

#ifndef PLATFORM_BASE_RETHROW_H
#define PLATFORM_BASE_RETHROW_H

#include <exception>

namespace platform
{
// Throws the exception of the current handler again.
[[noreturn]] inline void Rethrow()
{
#if defined(_WIN32)
    // If no function catches the exception, `throw;` aborts here without std::terminate's handler.
    std::rethrow_exception(std::current_exception());
#else
    throw; // also for the forced end of a thread, which std::current_exception does not return
#endif
}
} // namespace platform

#endif
