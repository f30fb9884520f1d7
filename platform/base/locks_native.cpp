#include "locks_native.h"

#include <win32/native/windows_api.h>

namespace platform
{
namespace
{
static_assert(sizeof(SRWLOCK) == sizeof(void*) && sizeof(CONDITION_VARIABLE) == sizeof(void*));

PSRWLOCK LockOf(void*& word)
{
    return reinterpret_cast<PSRWLOCK>(&word);
}

PCONDITION_VARIABLE ConditionOf(void*& word)
{
    return reinterpret_cast<PCONDITION_VARIABLE>(&word);
}
} // namespace

void NativeMutex::lock()
{
    ::AcquireSRWLockExclusive(LockOf(mWord));
}

bool NativeMutex::try_lock()
{
    return ::TryAcquireSRWLockExclusive(LockOf(mWord)) != 0;
}

void NativeMutex::unlock()
{
    ::ReleaseSRWLockExclusive(LockOf(mWord));
}

// Only the owner stores its own id, so no other thread can read that id here by chance.
void NativeRecursiveMutex::lock()
{
    const unsigned long self = ::GetCurrentThreadId();
    if (mOwner.load(std::memory_order_relaxed) != self)
    {
        mMutex.lock();
        mOwner.store(self, std::memory_order_relaxed);
    }
    ++mDepth;
}

bool NativeRecursiveMutex::try_lock()
{
    const unsigned long self = ::GetCurrentThreadId();
    if (mOwner.load(std::memory_order_relaxed) != self)
    {
        if (!mMutex.try_lock())
            return false;
        mOwner.store(self, std::memory_order_relaxed);
    }
    ++mDepth;
    return true;
}

void NativeRecursiveMutex::unlock()
{
    if (--mDepth)
        return;
    mOwner.store(0, std::memory_order_relaxed);
    mMutex.unlock();
}

void NativeCondition::Wait(NativeMutex& mutex)
{
    WaitFor(mutex, INFINITE);
}

bool NativeCondition::WaitFor(NativeMutex& mutex, unsigned long milliseconds)
{
    return ::SleepConditionVariableSRW(ConditionOf(mWord), LockOf(mutex.mWord), milliseconds, 0) !=
           0;
}

void NativeCondition::NotifyOne()
{
    ::WakeConditionVariable(ConditionOf(mWord));
}

void NativeCondition::NotifyAll()
{
    ::WakeAllConditionVariable(ConditionOf(mWord));
}
} // namespace platform
