#include "thread_queue.h"

#include <algorithm>
#include <exception>
#include <map>
#include <new>

#include <platform/base/locks.h>
#include <platform/base/per_thread.h>
#include <platform/base/thread_local.h>
#include <win32/threads.h>

namespace win32
{
namespace
{
// Never destroyed: threads end until the process does.
platform::Mutex sQueuesLock;
std::map<unsigned int, std::shared_ptr<ThreadQueue>>& sQueues PLATFORM_GUARDED_BY(sQueuesLock) =
    *new std::map<unsigned int, std::shared_ptr<ThreadQueue>>; // by thread

PLATFORM_THREAD_LOCAL(ThreadQueue*, tQueue);

// Destroyed when the thread ends.
struct QueueEnd
{
    ~QueueEnd()
    {
        tQueue = nullptr;
        std::shared_ptr<ThreadQueue> ended;
        DestroyWindowsOfThread();
        const platform::ScLock lock(sQueuesLock);
        const auto found = sQueues.find(GetCurrentThreadId());
        if (found == sQueues.end())
            return;
        ended.swap(found->second);
        sQueues.erase(found);
    }
};

ThreadQueue* MakeQueue()
{
    if (!platform::PerThread<QueueEnd>::Make())
        return nullptr;
    try
    {
        const std::shared_ptr<ThreadQueue> queue = std::make_shared<ThreadQueue>();
        const platform::ScLock lock(sQueuesLock);
        sQueues[GetCurrentThreadId()] = queue;
        return tQueue = queue.get();
    }
    catch (const std::exception&)
    {
        return nullptr;
    }
}
} // namespace

ThreadQueue* ThreadQueue::Current()
{
    return tQueue ? tQueue : MakeQueue();
}

std::shared_ptr<ThreadQueue> ThreadQueue::Of(unsigned int threadId)
{
    const platform::ScLock lock(sQueuesLock);
    const auto found = sQueues.find(threadId);
    return found != sQueues.end() ? found->second : nullptr;
}

bool ThreadQueue::Add(const MSG& message)
{
    try
    {
        const platform::ScLock lock(mLock);
        mMessages.push_back(message);
        UpdateCount();
        mAdded.NotifyAll();
        return true;
    }
    catch (const std::bad_alloc&)
    {
        return false;
    }
}

bool ThreadQueue::Take(const MessageFilter& filter, bool remove, MSG& message)
{
    if (!mCount.load(std::memory_order_acquire))
        return false;
    const platform::ScLock lock(mLock);
    return TakePosted(filter, remove, message) || TakeTimer(filter, remove, message);
}

void ThreadQueue::WaitAndTake(const MessageFilter& filter, MSG& message)
{
    const platform::ScLock lock(mLock);
    while (!TakePosted(filter, true, message) && !TakeTimer(filter, true, message))
    {
        const TimerPosition first = FirstDue(filter);
        if (first == mTimers.end())
        {
            mAdded.Wait(mLock);
            continue;
        }
        const Clock::time_point due = first->mDue;
        mAdded.WaitUntil(mLock, due);
    }
}

unsigned long long ThreadQueue::SetTimer(void* window, unsigned long long id, unsigned int interval)
{
    const unsigned int kShortest = 10;
    const unsigned int kLongest = 0x7FFFFFFF;
    try
    {
        const platform::ScLock lock(mLock);
        TimerPosition timer = FindTimer(window, id);
        if (timer == mTimers.end())
        {
            const unsigned long long ownId = window ? id : ++mLastTimerId;
            timer = mTimers.insert(timer, Timer{window, ownId, {}, {}});
        }
        timer->mInterval = std::chrono::milliseconds(std::clamp(interval, kShortest, kLongest));
        timer->mDue = Clock::now() + timer->mInterval;
        UpdateCount();
        return timer->mId;
    }
    catch (const std::bad_alloc&)
    {
        return 0;
    }
}

bool ThreadQueue::KillTimer(void* window, unsigned long long id)
{
    const platform::ScLock lock(mLock);
    const TimerPosition timer = FindTimer(window, id);
    if (timer == mTimers.end())
        return false;
    mTimers.erase(timer);
    UpdateCount();
    return true;
}

void ThreadQueue::Drop(void* window)
{
    const platform::ScLock lock(mLock);
    mMessages.erase(std::remove_if(mMessages.begin(), mMessages.end(),
                                   [=](const MSG& message) { return message.hwnd == window; }),
                    mMessages.end());
    mTimers.erase(std::remove_if(mTimers.begin(), mTimers.end(),
                                 [=](const Timer& timer) { return timer.mWindow == window; }),
                  mTimers.end());
    UpdateCount();
}

bool ThreadQueue::TakePosted(const MessageFilter& filter, bool remove, MSG& message)
{
    const auto found = std::find_if(mMessages.begin(), mMessages.end(), [&](const MSG& candidate) {
        return filter.Accepts(candidate.hwnd, candidate.message);
    });
    if (found == mMessages.end())
        return false;
    message = *found;
    if (remove)
    {
        mMessages.erase(found);
        UpdateCount();
    }
    return true;
}

bool ThreadQueue::TakeTimer(const MessageFilter& filter, bool remove, MSG& message)
{
    const TimerPosition timer = FirstDue(filter);
    const Clock::time_point now = Clock::now();
    if (timer == mTimers.end() || timer->mDue > now)
        return false;
    message = MSG{timer->mWindow, kWmTimer, timer->mId, 0};
    if (remove)
        timer->mDue = now + timer->mInterval;
    return true;
}

ThreadQueue::TimerPosition ThreadQueue::FirstDue(const MessageFilter& filter)
{
    TimerPosition first = mTimers.end();
    for (TimerPosition timer = mTimers.begin(); timer != mTimers.end(); ++timer)
    {
        if (filter.Accepts(timer->mWindow, kWmTimer) &&
            (first == mTimers.end() || timer->mDue < first->mDue))
            first = timer;
    }
    return first;
}

ThreadQueue::TimerPosition ThreadQueue::FindTimer(void* window, unsigned long long id)
{
    return std::find_if(mTimers.begin(), mTimers.end(), [=](const Timer& timer) {
        return timer.mWindow == window && timer.mId == id;
    });
}

void ThreadQueue::UpdateCount()
{
    mCount.store(mMessages.size() + mTimers.size(), std::memory_order_release);
}
} // namespace win32
