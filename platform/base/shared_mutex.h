// A mutex that readers share. Apart from locks.h, since the header of Boost's mutex takes a
// compiler longer than most of our sources.
//
//     static platform::SharedMutex sLock;
//     static int sCount PLATFORM_GUARDED_BY(sLock) = 0;
//     const platform::ScSharedLock lock(sLock);
//     const bool isEmpty = sCount == 0;
//
// Thread safety: all functions may be called on any thread.

#ifndef PLATFORM_BASE_SHARED_MUTEX_H
#define PLATFORM_BASE_SHARED_MUTEX_H

#include <boost/thread/shared_mutex.hpp>

#include "locks.h"

namespace platform
{
// One thread locks the mutex with ScLock, or several threads share the mutex with ScSharedLock.
// A thread that waits in ScLock has priority over later readers. REQUIRES: a thread that shares
// the mutex does not share the mutex a second time.
class PLATFORM_CAPABILITY SharedMutex
{
public:
    void Lock() PLATFORM_ACQUIRE() { mNative.lock(); }
    void Unlock() PLATFORM_RELEASE() { mNative.unlock(); }
    void LockShared() PLATFORM_ACQUIRE_SHARED() { mNative.lock_shared(); }
    void UnlockShared() PLATFORM_RELEASE_SHARED() { mNative.unlock_shared(); }

private:
    boost::shared_mutex mNative;
};

// Shares a mutex for a scope. Operator new is quiet for as long, as with ScLock.
class PLATFORM_SCOPED_CAPABILITY ScSharedLock
{
public:
    explicit ScSharedLock(SharedMutex& mutex) PLATFORM_ACQUIRE_SHARED(mutex) : mMutex(mutex)
    {
        mMutex.LockShared();
    }
    ~ScSharedLock() PLATFORM_RELEASE() { mMutex.UnlockShared(); } // NOLINT: as ~ScLock
    ScSharedLock(const ScSharedLock&) = delete;
    ScSharedLock& operator=(const ScSharedLock&) = delete;

private:
    const ScQuietNew mQuiet; // from before the lock until after the lock
    SharedMutex& mMutex;
};
} // namespace platform

#endif
