// The mutexes and the condition of locks.h on Windows, over the system's own words: the
// standard library's mutexes have no constant initialiser here.

#ifndef PLATFORM_BASE_LOCKS_NATIVE_H
#define PLATFORM_BASE_LOCKS_NATIVE_H

#include <algorithm>
#include <atomic>
#include <chrono>

#include "export.h"

namespace platform
{
class PLATFORM_EXPORT NativeMutex
{
public:
    constexpr NativeMutex() = default;
    NativeMutex(const NativeMutex&) = delete;
    NativeMutex& operator=(const NativeMutex&) = delete;

    void lock();
    bool try_lock();
    void unlock();

private:
    friend class NativeCondition;

    void* mWord = nullptr; // a slim reader/writer lock
};

class PLATFORM_EXPORT NativeRecursiveMutex
{
public:
    constexpr NativeRecursiveMutex() = default;
    NativeRecursiveMutex(const NativeRecursiveMutex&) = delete;
    NativeRecursiveMutex& operator=(const NativeRecursiveMutex&) = delete;

    void lock();
    bool try_lock();
    void unlock();

private:
    NativeMutex mMutex;
    std::atomic<unsigned long> mOwner{0}; // the id of the thread that has locked the mutex
    unsigned int mDepth = 0;              // the owner's locks
};

class PLATFORM_EXPORT NativeCondition
{
public:
    constexpr NativeCondition() = default;
    NativeCondition(const NativeCondition&) = delete;
    NativeCondition& operator=(const NativeCondition&) = delete;

    void Wait(NativeMutex& mutex);

    template <class Clock, class Duration>
    bool WaitUntil(NativeMutex& mutex, const std::chrono::time_point<Clock, Duration>& due)
    {
        // One wait of the system is at most 49 days long.
        const std::chrono::milliseconds longest = std::chrono::hours(24);
        for (auto now = Clock::now(); now < due; now = Clock::now())
        {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(due - now);
            if (WaitFor(mutex, static_cast<unsigned long>(std::min(left, longest).count())))
                return true;
        }
        return false;
    }

    void NotifyOne();
    void NotifyAll();

private:
    // Returns false if the milliseconds have passed.
    bool WaitFor(NativeMutex& mutex, unsigned long milliseconds);

    void* mWord = nullptr;
};
} // namespace platform

#endif
