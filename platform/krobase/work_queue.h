// The functions of an executor with threads of its own.

#ifndef KROBASE_WORK_QUEUE_H
#define KROBASE_WORK_QUEUE_H

#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>

#include <boost/function.hpp>
#include <boost/noncopyable.hpp>

namespace krobase
{
namespace threads
{
// What the function throws is logged and goes no further.
void RunContained(const boost::function<void()>& function);

class WorkQueue : private boost::noncopyable
{
public:
    typedef boost::function<void()> Function;

    // By value: what the function owns is copied before the lock is taken.
    void Post(Function function, int delay);

    // Runs functions on the calling thread until the queue is closed and nothing
    // is due.
    void Run();

    void Close();

    // Whether the calling thread is in Run.
    bool RunsHere() const;

private:
    typedef std::chrono::steady_clock Clock;

    // Waits for a function that is due. False if the queue is closed and none is.
    bool TakeNext(std::unique_lock<std::mutex>& lock, Function& next);
    bool TakeDue(Function& next);

    std::mutex mLock; // guards all below
    std::condition_variable mChanged;
    std::deque<Function> mReady;
    std::multimap<Clock::time_point, Function> mDelayed;
    bool mClosed = false;
};
} // namespace threads
} // namespace krobase

#endif
