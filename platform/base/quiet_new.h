// Stretches in which no handler hears of an operator new that fails.

#ifndef PLATFORM_BASE_QUIET_NEW_H
#define PLATFORM_BASE_QUIET_NEW_H

#include <mutex>
#include <new>

#include "export.h"

namespace platform
{
// What an operator new that fails throws, in the words of the C runtime.
class BadAllocation : public std::bad_alloc
{
public:
    const char* what() const noexcept override { return "bad allocation"; }
};

// While one stands, an operator new that fails on its thread calls no handler of
// win32::_set_new_handler: std::bad_alloc comes at once. For stretches that hold a lock,
// since a handler may show an alert, which runs anything for as long as the user lets it
// stand, and for those that promise to fail in silence. They nest.
class PLATFORM_EXPORT ScQuietNew
{
public:
    ScQuietNew();
    ~ScQuietNew();
    ScQuietNew(const ScQuietNew&) = delete;
    ScQuietNew& operator=(const ScQuietNew&) = delete;
};

// Holds a lock under which memory is allocated.
template <class Mutex> class ScQuietLock
{
public:
    explicit ScQuietLock(Mutex& mutex) : mLock(mutex) {}
    ScQuietLock(const ScQuietLock&) = delete;
    ScQuietLock& operator=(const ScQuietLock&) = delete;

private:
    const ScQuietNew mQuiet; // until the lock is free
    const std::lock_guard<Mutex> mLock;
};
} // namespace platform

#endif
