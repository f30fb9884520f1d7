// The functions of an executor with threads of its own.

#ifndef KROBASE_WORK_QUEUE_H
#define KROBASE_WORK_QUEUE_H

#include <chrono>
#include <list>
#include <map>

#include <boost/function.hpp>
#include <boost/noncopyable.hpp>

#include <platform/base/locks.h>

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

    void Post(const Function& function, int delay);

    // Runs functions on the calling thread until the queue is closed and nothing
    // is due; before them atStart and behind them atEnd, unless those are empty.
    void Run(const Function& atStart, const Function& atEnd);

    void Close();

    // Whether the calling thread is in Run.
    bool RunsHere() const;

private:
    typedef std::chrono::steady_clock Clock;

    // Functions move in nodes of their own: copied before the lock is taken, and ended
    // after it.
    typedef std::list<Function> Functions;

    void RunFunctions();

    // Waits for a function that is due. False if the queue is closed and none is.
    bool TakeNext(Functions& next) PLATFORM_EXCLUDES(mLock);
    bool TakeDue(Functions& next) PLATFORM_REQUIRES(mLock);

    platform::Mutex mLock;
    platform::Condition mChanged;
    Functions mReady PLATFORM_GUARDED_BY(mLock);
    std::multimap<Clock::time_point, Functions> mDelayed PLATFORM_GUARDED_BY(mLock); // one each
    bool mClosed PLATFORM_GUARDED_BY(mLock) = false;
};
} // namespace threads
} // namespace krobase

#endif
