#include "U_Threads.h"

#include <algorithm>
#include <atomic>
#include <list>

#include <krobase/threads.h>
#include <platform/base/locks.h>
#include <win32/exceptions.h>
#include <win32/threads.h>

#include "indep/frame/Trace.h"

namespace
{
// The threads with a role, in the order of registration. A thread that registered twice has two
// entries.
class ThreadList
{
public:
    // Returns the number of entries, with the new one.
    std::size_t Add(U_u32 threadId)
    {
        std::list<U_u32> entry{
            threadId}; // before the lock: a failed new may report, which queries the roles
        const platform::ScLock lock(mLock);
        mThreads.splice(mThreads.end(), entry);
        return mThreads.size();
    }

    void Remove(U_u32 threadId)
    {
        const platform::ScLock lock(mLock);
        const auto found = std::find(mThreads.begin(), mThreads.end(), threadId);
        if (found != mThreads.end())
            mThreads.erase(found);
    }

    bool Holds(U_u32 threadId) const
    {
        const platform::ScLock lock(mLock);
        return std::find(mThreads.begin(), mThreads.end(), threadId) != mThreads.end();
    }

private:
    mutable platform::Mutex mLock; // held for one search or edit
    std::list<U_u32> mThreads PLATFORM_GUARDED_BY(mLock);
};

// Never destroyed: threads may query their roles while the process exits.
ThreadList& sMainThreads = *new ThreadList;
ThreadList& sRenderThreads = *new ThreadList;
std::atomic<U_u32> sUIThread(U_NoThreadID);
std::atomic<U_u32> sPSLThread(U_NoThreadID);
std::atomic<U_u32> sPRThread(U_NoThreadID);

// Traces a change of roles.
class RoleTrace : private TraceSite
{
public:
    constexpr RoleTrace() : TraceSite("U_THREADS", 6) {}

    // `before` and `after` are the texts around the thread's id.
    void Write(const char* before, const char* after)
    {
        Trace(before, win32::GetCurrentThreadId(), after);
    }
};
} // namespace

void U_RegisterMainThread()
{
    const U_u32 threadId = win32::GetCurrentThreadId();
    if (sMainThreads.Add(threadId) == 1)
        sUIThread = threadId;
    win32::KeepStackForFilter();
    static RoleTrace sTrace;
    sTrace.Write("U_RegisterMainThread registered ", " as a main thread");
}

void U_DeregisterMainThread()
{
    sMainThreads.Remove(win32::GetCurrentThreadId());
    static RoleTrace sTrace;
    sTrace.Write("U_RegisterMainThread removed ", " as a main thread");
}

void U_RegisterRenderThread()
{
    sRenderThreads.Add(win32::GetCurrentThreadId());
    win32::KeepStackForFilter();
    static RoleTrace sTrace;
    sTrace.Write("U_RegisterRenderThread registered ", " as a render thread");
}

void U_DeregisterRenderThread()
{
    sRenderThreads.Remove(win32::GetCurrentThreadId());
    static RoleTrace sTrace;
    sTrace.Write("U_RegisterRenderThread removed ", " as a render thread");
}

void U_RegisterPSLThread()
{
    sPSLThread = win32::GetCurrentThreadId();
    win32::KeepStackForFilter();
    static RoleTrace sTrace;
    sTrace.Write("U_RegisterPSLThread registered ", " as the psl thread");
}

void U_DeregisterPSLThread()
{
    sPSLThread = U_NoThreadID;
    static RoleTrace sTrace;
    sTrace.Write("U_RegisterPSLThread removed ", " as the psl thread");
}

void U_RegisterPRThread()
{
    sPRThread = win32::GetCurrentThreadId();
    win32::KeepStackForFilter();
    static RoleTrace sTrace;
    sTrace.Write("U_RegisterPRThread registered ", " as the pr thread");
}

void U_DeregisterPRThread()
{
    sPRThread = U_NoThreadID;
    static RoleTrace sTrace;
    sTrace.Write("U_RegisterPRThread removed ", " as the pr thread");
}

bool U_IsOnMainThread()
{
    return U_IsMainThreadID(win32::GetCurrentThreadId());
}

bool U_IsMainThreadID(U_u32 threadId)
{
    return sMainThreads.Holds(threadId);
}

bool U_IsOnRenderThread()
{
    return U_IsRenderThreadID(win32::GetCurrentThreadId());
}

bool U_IsRenderThreadID(U_u32 threadId)
{
    return sRenderThreads.Holds(threadId);
}

bool U_IsOnUIThread()
{
    return win32::GetCurrentThreadId() == sUIThread;
}

bool U_IsOnPSLThread()
{
    return win32::GetCurrentThreadId() == sPSLThread;
}

bool U_IsOnPRThread()
{
    return win32::GetCurrentThreadId() == sPRThread;
}

U_u32 U_PSLThreadID()
{
    return sPSLThread;
}

U_u32 U_PRThreadID()
{
    return sPRThread;
}

void U_SetCurrentThreadName(const char* name)
{
    krobase::threads::SetCurrentThreadName(name);
}
