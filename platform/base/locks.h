// Mutexes, scoped locks, and annotations with which clang proves that a variable is used only
// while its mutex is locked. scripts/lint runs that analysis. Other compilers ignore the
// annotations.
//
//     static platform::Mutex sLock;
//     static int sCount PLATFORM_GUARDED_BY(sLock) = 0;
//     const platform::ScLock lock(sLock);
//     ++sCount;
//
// A static Mutex or RecursiveMutex is constant-initialised and has no destructor, so threads
// may lock it before the library's static constructors and until the process is gone.
//
// Thread safety: all functions may be called on any thread.

#ifndef PLATFORM_BASE_LOCKS_H
#define PLATFORM_BASE_LOCKS_H

#include <type_traits>

#include "quiet_new.h"
#if defined(_WIN32)
#include "locks_native.h"
#else
#include "locks_posix.h"
#endif

#if defined(__clang__)
#define PLATFORM_THREAD_ATTRIBUTE(attribute) __attribute__((attribute))
#else
#define PLATFORM_THREAD_ATTRIBUTE(attribute)
#endif

// On a type: objects are mutexes; objects are scoped locks.
#define PLATFORM_CAPABILITY PLATFORM_THREAD_ATTRIBUTE(capability("mutex"))
#define PLATFORM_SCOPED_CAPABILITY PLATFORM_THREAD_ATTRIBUTE(scoped_lockable)

// On a variable: the mutex that is locked for each use.
#define PLATFORM_GUARDED_BY(mutex) PLATFORM_THREAD_ATTRIBUTE(guarded_by(mutex))

// On a function: the mutex that the caller has locked; has locked, perhaps only shared; has
// not locked.
#define PLATFORM_REQUIRES(mutex) PLATFORM_THREAD_ATTRIBUTE(requires_capability(mutex))
#define PLATFORM_REQUIRES_SHARED(mutex) PLATFORM_THREAD_ATTRIBUTE(requires_shared_capability(mutex))
#define PLATFORM_EXCLUDES(mutex) PLATFORM_THREAD_ATTRIBUTE(locks_excluded(mutex))

// On a function that locks or unlocks a mutex. Without an argument: on a member of the mutex
// or of the scoped lock.
#define PLATFORM_ACQUIRE(...) PLATFORM_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define PLATFORM_ACQUIRE_SHARED(...)                                                               \
    PLATFORM_THREAD_ATTRIBUTE(acquire_shared_capability(__VA_ARGS__))
#define PLATFORM_TRY_ACQUIRE(...) PLATFORM_THREAD_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))
#define PLATFORM_RELEASE(...) PLATFORM_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define PLATFORM_RELEASE_SHARED(...)                                                               \
    PLATFORM_THREAD_ATTRIBUTE(release_shared_capability(__VA_ARGS__))

// On a function whose body clang cannot follow. The comment beside it has the reason.
#define PLATFORM_NO_THREAD_SAFETY_ANALYSIS PLATFORM_THREAD_ATTRIBUTE(no_thread_safety_analysis)

namespace platform
{
// A mutex over one of the system's. Use ScLock; call Lock and Unlock only where a
// lock has no scope.
template <class Native> class PLATFORM_CAPABILITY BasicMutex
{
public:
    constexpr BasicMutex() = default;
    BasicMutex(const BasicMutex&) = delete;
    BasicMutex& operator=(const BasicMutex&) = delete;

    void Lock() PLATFORM_ACQUIRE() { mNative.lock(); }
    bool TryLock() PLATFORM_TRY_ACQUIRE(true) { return mNative.try_lock(); }
    void Unlock() PLATFORM_RELEASE() { mNative.unlock(); }

private:
    friend class Condition;

    Native mNative;
};

typedef BasicMutex<NativeMutex> Mutex;
typedef BasicMutex<NativeRecursiveMutex> RecursiveMutex;
static_assert(std::is_trivially_destructible_v<Mutex>);
static_assert(std::is_trivially_destructible_v<RecursiveMutex>);

// Locks a mutex for a scope, and keeps operator new quiet for as long: a handler of
// win32::_set_new_handler would run with the mutex locked, and may report, show an alert, or
// call the function that holds the mutex.
template <class Lockable> class PLATFORM_SCOPED_CAPABILITY ScLock
{
public:
    explicit ScLock(Lockable& mutex) PLATFORM_ACQUIRE(mutex) : mMutex(mutex) { mMutex.Lock(); }
    ~ScLock() PLATFORM_RELEASE() { mMutex.Unlock(); } // NOLINT: throws nothing if locked
    ScLock(const ScLock&) = delete;
    ScLock& operator=(const ScLock&) = delete;

private:
    const ScQuietNew mQuiet; // from before the lock until after the lock
    Lockable& mMutex;
};

// A condition that threads wait for, under a mutex. The waits end early at random times, so a
// caller waits in a loop. The waits are no interruption points of boost::thread.
class Condition
{
public:
    // Unlocks the mutex, waits for a notification, and locks the mutex again.
    void Wait(Mutex& mutex) PLATFORM_REQUIRES(mutex) { mNative.Wait(mutex.mNative); }

    // Waits like Wait, at the latest until `due`.
    // Returns: whether the wait ended before `due`.
    template <class Time> bool WaitUntil(Mutex& mutex, const Time& due) PLATFORM_REQUIRES(mutex)
    {
        return mNative.WaitUntil(mutex.mNative, due);
    }

    void NotifyOne() { mNative.NotifyOne(); }
    void NotifyAll() { mNative.NotifyAll(); }

private:
    NativeCondition mNative;
};
} // namespace platform

#endif
