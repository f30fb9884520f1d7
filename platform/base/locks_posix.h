// The mutexes and the condition of locks.h on POSIX systems: those of the standard library.

#ifndef PLATFORM_BASE_LOCKS_POSIX_H
#define PLATFORM_BASE_LOCKS_POSIX_H

#include <condition_variable>
#include <mutex>

namespace platform
{
typedef std::mutex NativeMutex;
typedef std::recursive_mutex NativeRecursiveMutex;

class NativeCondition
{
public:
    void Wait(NativeMutex& mutex)
    {
        Held held(mutex);
        mCondition.wait(held);
    }

    template <class Time> bool WaitUntil(NativeMutex& mutex, const Time& due)
    {
        Held held(mutex);
        return mCondition.wait_until(held, due) == std::cv_status::no_timeout;
    }

    void NotifyOne() { mCondition.notify_one(); }
    void NotifyAll() { mCondition.notify_all(); }

private:
    // The caller's lock in the standard library's form. The mutex stays locked at the end.
    struct Held : std::unique_lock<std::mutex>
    {
        explicit Held(std::mutex& mutex) : std::unique_lock<std::mutex>(mutex, std::adopt_lock) {}
        ~Held() { release(); }
    };

    std::condition_variable mCondition;
};
} // namespace platform

#endif
