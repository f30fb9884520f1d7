// The message queue of one thread.

#ifndef WIN32_PORTABLE_THREAD_QUEUE_H
#define WIN32_PORTABLE_THREAD_QUEUE_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

#include <win32/message_queue.h>

namespace win32
{
// Which messages a call wants.
struct MessageFilter
{
    void* mWindow; // null for all
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
    // The calling thread's, made if need be; null without memory.
    static ThreadQueue* Current();

    // Another thread's, null if it has none.
    static std::shared_ptr<ThreadQueue> Of(unsigned int threadId);

    // False without memory.
    bool Add(const MSG& message);

    // False if no message fits.
    bool Take(const MessageFilter& filter, bool remove, MSG& message);
    void WaitAndTake(const MessageFilter& filter, MSG& message);

    unsigned long long SetTimer(void* window, unsigned long long id, unsigned int interval);
    bool KillTimer(void* window, unsigned long long id);

    // Drops the messages and timers of a window.
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

    bool TakePosted(const MessageFilter& filter, bool remove, MSG& message);
    bool TakeTimer(const MessageFilter& filter, bool remove, MSG& message);
    TimerPosition FirstDue(const MessageFilter& filter);
    TimerPosition FindTimer(void* window, unsigned long long id);
    void Count();

    std::mutex mLock; // guards all below but mCount, which it is written under
    std::condition_variable mAdded;
    std::deque<MSG> mMessages;
    std::vector<Timer> mTimers;
    unsigned long long mLastTimerId = 0;
    std::atomic<std::size_t> mCount{0}; // messages and timers; spares their reader the lock
};
} // namespace win32

#endif
