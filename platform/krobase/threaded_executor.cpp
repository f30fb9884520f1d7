// Executors with threads of their own.

#include "executor.h"

#include <chrono>
#include <exception>
#include <list>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <boost/make_shared.hpp>

#include <platform/base/locks.h>
#include <platform/base/thread_local.h>
#include <win32/exceptions.h>
#include <win32/process.h>
#include <win32/threads.h>
#include <wril/wril.h>

#include "threads.h"

namespace krobase
{
namespace threads
{
namespace
{
typedef boost::function<void()> Function;

// Contained as well: a sink that throws must not end the thread.
void LogThrown(const char* what)
{
    try
    {
        WRIL_sprintf(0, "krobase", "EXECUTOR", "A function of an executor threw: %s", what);
    }
    catch (...)
    {
    }
}

// Calls the function, and logs an exception out of it.
void RunContained(const Function& function)
{
    try
    {
        function();
    }
    catch (const std::exception& exception)
    {
        LogThrown(exception.what());
    }
    catch (...)
    {
        LogThrown("not a std::exception");
    }
}

class WorkQueue : private boost::noncopyable
{
public:
    void Post(const Function& function, int delay);

    // Runs functions on the calling thread until the queue is closed and no function is due.
    // Calls `atStart` first and `atEnd` last, unless they are empty.
    void Run(const Function& atStart, const Function& atEnd);

    void Close();

    // Returns whether the calling thread is in Run.
    bool RunsHere() const;

private:
    typedef std::chrono::steady_clock Clock;

    // Functions move in list nodes, so that they are copied before the lock and destroyed after
    // the lock.
    typedef std::list<Function> Functions;

    void RunFunctions();

    // Waits for a function that is due. Returns false if the queue is closed and none is due.
    bool TakeNext(Functions& next) PLATFORM_EXCLUDES(mLock);
    bool TakeDue(Functions& next) PLATFORM_REQUIRES(mLock);

    platform::Mutex mLock;
    platform::Condition mChanged;
    Functions mReady PLATFORM_GUARDED_BY(mLock);
    std::multimap<Clock::time_point, Functions>
        mDelayed PLATFORM_GUARDED_BY(mLock); // one function each
    bool mClosed PLATFORM_GUARDED_BY(mLock) = false;
};

PLATFORM_THREAD_LOCAL(const WorkQueue*, tRunning);

void WorkQueue::Post(const Function& function, int delay)
{
    Functions ready{function};
    std::multimap<Clock::time_point, Functions> delayed;
    if (delay > 0)
        delayed.emplace(Clock::now() + std::chrono::milliseconds(delay), std::move(ready));

    {
        const platform::ScLock lock(mLock);
        if (delay > 0)
            mDelayed.insert(delayed.extract(delayed.begin()));
        else
            mReady.splice(mReady.end(), ready);
    }
    // After the lock, which the woken thread takes first. The caller shares the queue, which a
    // function may end meanwhile.
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
        next.clear(); // before the lock: the captures may post as they are destroyed
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
    // Wakes another thread for the next function: one notification may have been for several
    // functions, as when two delayed functions are due at once.
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

struct ThreadSetUp
{
    std::string mName;
    int mPriority; // the system's
    Function mAtStart;
    Function mAtEnd;
};

int SystemPriority(ThreadPriority priority)
{
    switch (priority)
    {
    case kThreadPriorityIdle:
        return win32::kThreadPriorityIdle;
    case kThreadPriorityTimeCritical:
        return win32::kThreadPriorityTimeCritical;
    default:
        return win32::kThreadPriorityNormal + (priority - kThreadPriorityNormal);
    }
}

void RunThread(const ThreadSetUp& setUp, const std::shared_ptr<WorkQueue>& queue)
{
    SetCurrentThreadName(setUp.mName.c_str());
    unsigned int stack = win32::kLargestStackGuarantee;
    win32::SetThreadStackGuarantee(&stack); // without memory the thread has no signal stack
    if (setUp.mPriority != win32::kThreadPriorityNormal)
        win32::SetThreadPriority(win32::GetCurrentThread(), setUp.mPriority);
    queue->Run(setUp.mAtStart, setUp.mAtEnd);
}

class ThreadedExecutor : public AsyncThreadedExecutor
{
public:
    ~ThreadedExecutor() override
    {
        if (win32::OtherThreadsHaveEnded())
            return;
        try
        {
            End();
        }
        catch (...)
        {
            // A thread that cannot be joined is abandoned. The thread owns the queue, too.
        }
    }

    void Start(const ThreadSetUp& setUp, int threadCount,
               const boost::thread::attributes& attributes)
    {
        mThreads.reserve(static_cast<std::size_t>(threadCount));
        for (int i = 0; i < threadCount; ++i)
        {
            const std::shared_ptr<WorkQueue> queue = mQueue;
            // Boost only reads the attributes. A copy would share their ownership.
            mThreads.emplace_back(const_cast<boost::thread::attributes&>(attributes),
                                  [setUp, queue] { RunThread(setUp, queue); });
        }
    }

    bool IsExecutorThread() const override { return mQueue->RunsHere(); }

    // The function may end the executor before the call returns.
    void Post(const Function& function, int delay) override
    {
        const std::shared_ptr<WorkQueue> queue = mQueue;
        queue->Post(function, delay);
    }

private:
    void End()
    {
        const boost::this_thread::disable_interruption uninterrupted;
        mQueue->Close();
        for (boost::thread& thread : mThreads)
        {
            // This thread released the last reference to its own executor. The thread owns
            // the queue until the thread ends.
            if (thread.get_id() == boost::this_thread::get_id())
                thread.detach();
            else
                thread.join();
        }
    }

    const std::shared_ptr<WorkQueue> mQueue = std::make_shared<WorkQueue>();
    std::vector<boost::thread> mThreads;
};
} // namespace

AsyncExecutor::~AsyncExecutor() = default;
AsyncThreadedExecutor::~AsyncThreadedExecutor() = default;

boost::shared_ptr<AsyncThreadedExecutor>
CreateAsyncThreadedExecutor(const char* name, int threadCount, ThreadPriority priority,
                            const Function& atStart, const Function& atEnd,
                            const boost::thread::attributes& attributes)
{
    if (threadCount < 1)
        throw std::invalid_argument("an executor needs at least one thread");
    const boost::shared_ptr<ThreadedExecutor> executor = boost::make_shared<ThreadedExecutor>();
    executor->Start({name ? name : "", SystemPriority(priority), atStart, atEnd}, threadCount,
                    attributes);
    return executor;
}
} // namespace threads
} // namespace krobase
