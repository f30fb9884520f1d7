#include "private/work_queue.h"

#include <exception>
#include <utility>

#include <platform/base/thread_local.h>
#include <wril/wril.h>

namespace krobase
{
namespace threads
{
namespace
{
PLATFORM_THREAD_LOCAL const WorkQueue* tRunning = nullptr;

// A log that fails mustn't end the thread either.
void TellThrown(const char* what)
{
    try
    {
        WRIL_sprintf(0, "krobase", "EXECUTOR", "A function of an executor threw: %s", what);
    }
    catch (...)
    {
    }
}
} // namespace

void RunContained(const boost::function<void()>& function)
{
    try
    {
        function();
    }
    catch (const std::exception& exception)
    {
        TellThrown(exception.what());
    }
    catch (...)
    {
        TellThrown("not a std::exception");
    }
}

void WorkQueue::Post(const Function& function, int delay)
{
    Functions ready{function};
    std::multimap<Clock::time_point, Functions> delayed;
    if (delay > 0)
        delayed.emplace(Clock::now() + std::chrono::milliseconds(delay), std::move(ready));

    const platform::ScLock lock(mLock);
    if (delay > 0)
        mDelayed.insert(delayed.extract(delayed.begin()));
    else
        mReady.splice(mReady.end(), ready);
    mChanged.NotifyOne();
}

void WorkQueue::Run(const Function& atStart, const Function& atEnd)
{
    tRunning = this;
    if (atStart)
        RunContained(atStart);
    RunFunctions();
    if (atEnd)
        RunContained(atEnd);
    tRunning = nullptr;
}

void WorkQueue::RunFunctions()
{
    Functions next;
    while (TakeNext(next))
    {
        RunContained(next.front());
        next.clear(); // what it owns may post again as it ends
    }
}

void WorkQueue::Close()
{
    const platform::ScLock lock(mLock);
    mClosed = true;
    mChanged.NotifyAll();
}

bool WorkQueue::RunsHere() const
{
    return tRunning == this;
}

bool WorkQueue::TakeNext(Functions& next)
{
    const platform::ScLock lock(mLock);
    while (!TakeDue(next))
    {
        if (mClosed)
            return false;
        if (mDelayed.empty())
        {
            mChanged.Wait(mLock);
            continue;
        }
        const Clock::time_point due = mDelayed.begin()->first;
        mChanged.WaitUntil(mLock, due);
    }
    // One call that wakes this thread may have stood for more than one function.
    if (!mReady.empty() || !mDelayed.empty())
        mChanged.NotifyOne();
    return true;
}

bool WorkQueue::TakeDue(Functions& next)
{
    const auto first = mDelayed.begin();
    if (first != mDelayed.end() && first->first <= Clock::now())
    {
        next.splice(next.end(), first->second);
        mDelayed.erase(first);
        return true;
    }
    if (mReady.empty())
        return false;
    next.splice(next.end(), mReady, mReady.begin());
    return true;
}
} // namespace threads
} // namespace krobase
