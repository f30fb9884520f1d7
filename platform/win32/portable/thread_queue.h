// The message queue of one thread.

#ifndef WIN32_PORTABLE_THREAD_QUEUE_H
#define WIN32_PORTABLE_THREAD_QUEUE_H

#include <atomic>
#include <chrono>
#include <deque>
#include <memory>
#include <vector>

#include <platform/base/locks.h>
#include <win32/message_queue.h>

namespace win32
{
// The messages that a call accepts.
struct MessageFilter
{
    void* mWindow; // null: any
    unsigned int mMinimum;
    unsigned int mMaximum;

    bool Accepts(void* window, unsigned int message) const
    {
        if (mWindow && window != mWindow)
            return false;
        return (!mMinimum && !mMaximum) || (message >= mMinimum && message <= mMaximum);
    }
};

class ThreadQueue
{
public:
    // Returns the queue of the calling thread, and makes one if there is none. Returns null
    // without memory.
    static ThreadQueue* Current();

    // Returns the queue of any thread; null if the thread has none.
    static std::shared_ptr<ThreadQueue> Of(unsigned int threadId);

    // Returns false without memory.
    bool Add(const MSG& message);

    // Stores the first accepted message. Take returns false if there is none; WaitAndTake waits.
    // For the thread of the queue.
    bool Take(const MessageFilter& filter, bool remove, MSG& message);
    void WaitAndTake(const MessageFilter& filter, MSG& message);

    unsigned long long SetTimer(void* window, unsigned long long id, unsigned int interval);
    bool KillTimer(void* window, unsigned long long id);

    // Removes the messages and timers of a window.
    void Drop(void* window);

private:
    typedef std::chrono::steady_clock Clock;

    struct Timer
    {
        void* mWindow;
        unsigned long long mId;
        std::chrono::milliseconds mInterval;
        Clock::time_point mDue;
    };
    typedef std::vector<Timer>::iterator TimerPosition;

    bool TakePosted(const MessageFilter& filter, bool remove, MSG& message)
        PLATFORM_REQUIRES(mLock);
    bool TakeTimer(const MessageFilter& filter, bool remove, MSG& message) PLATFORM_REQUIRES(mLock);
    TimerPosition FirstDue(const MessageFilter& filter) PLATFORM_REQUIRES(mLock);
    TimerPosition FindTimer(void* window, unsigned long long id) PLATFORM_REQUIRES(mLock);
    void UpdateCount() PLATFORM_REQUIRES(mLock);

    platform::Mutex mLock;
    platform::Condition mAdded;
    std::deque<MSG> mMessages PLATFORM_GUARDED_BY(mLock);
    std::vector<Timer> mTimers PLATFORM_GUARDED_BY(mLock);
    unsigned long long mLastTimerId PLATFORM_GUARDED_BY(mLock) = 0;
    std::atomic<std::size_t> mCount{0}; // messages and timers; written under the lock
};

// Destroys the windows of the calling thread, which ends.
void DestroyWindowsOfThread();
} // namespace win32

#endif
