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

    bool TakePosted(const MessageFilter& filter, bool remove, MSG& message);
    bool TakeTimer(const MessageFilter& filter, bool remove, MSG& message);
    TimerPosition FirstDue(const MessageFilter& filter);
    TimerPosition FindTimer(void* window, unsigned long long id);
    void UpdateCount();

    std::mutex mLock; // guards the members below; mCount is read without it
    std::condition_variable mAdded;
    std::deque<MSG> mMessages;
    std::vector<Timer> mTimers;
    unsigned long long mLastTimerId = 0;
    std::atomic<std::size_t> mCount{0}; // messages and timers
};

// Destroys the windows of the calling thread, which ends.
void DestroyWindowsOfThread();
} // namespace win32

#endif
