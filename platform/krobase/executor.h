// Executors: functions posted from any thread run on a thread of their own.

#ifndef KROBASE_EXECUTOR_H
#define KROBASE_EXECUTOR_H

#include <boost/function.hpp>
#include <boost/noncopyable.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/thread.hpp>

#include <platform/base/export.h>

namespace krobase
{
namespace threads
{
// Any thread may ask and post.
class PLATFORM_EXPORT AsyncExecutor : private boost::noncopyable
{
public:
    // Whether the calling thread is the executor's.
    virtual bool IsExecutorThread() const = 0;

    // Queues a copy of the function to run on the executor's thread, once delay
    // milliseconds have passed, and returns without waiting. Functions without a
    // delay begin in the order of their posting. Throws std::bad_alloc, with
    // nothing queued.
    virtual void Post(const boost::function<void()>& function, int delay) = 0;

    virtual ~AsyncExecutor();
};

// An executor with threads of its own. An exception out of a function that is
// posted, or that a thread runs first or last, is logged and goes no further.
// With its last owner it runs what is due, drops what is delayed, and waits for
// its threads, but for the one that this happens on.
class PLATFORM_EXPORT AsyncThreadedExecutor : public AsyncExecutor
{
public:
    ~AsyncThreadedExecutor() override;
};

// An executor on a thread that pumps its message queue: each function runs when
// its message, WM_USER, is dispatched, or WM_TIMER after a delay. An exception
// out of a function passes to whoever dispatches.
// What hasn't run when the last owner lets go is dropped. What hasn't run when the
// thread ends never will; posting throws std::runtime_error from then on.
class PLATFORM_EXPORT AsyncEventLoopAdaptor : public AsyncExecutor
{
public:
    ~AsyncEventLoopAdaptor() override;
};

// As far as the system lets a process choose; seen from the process's first
// thread.
enum ThreadPriority
{
    kThreadPriorityIdle,
    kThreadPriorityLowest,
    kThreadPriorityBelowNormal,
    kThreadPriorityNormal,
    kThreadPriorityAboveNormal,
    kThreadPriorityHighest,
    kThreadPriorityTimeCritical
};

// Starts an executor of threadCount threads, which share the functions among
// them. Each runs atStart first and atEnd last, unless they are empty. Throws
// std::invalid_argument for less than one thread, std::bad_alloc, or
// boost::thread_resource_error if the system gives no thread.
PLATFORM_EXPORT boost::shared_ptr<AsyncThreadedExecutor> CreateAsyncThreadedExecutor(
    const char* name, int threadCount, ThreadPriority priority,
    const boost::function<void()>& atStart, const boost::function<void()>& atEnd,
    const boost::thread::attributes& attributes = boost::thread::attributes());

// An adaptor of the calling thread's message queue. Throws std::bad_alloc.
PLATFORM_EXPORT boost::shared_ptr<AsyncEventLoopAdaptor> CreateAsyncEventLoopAdaptor();
} // namespace threads
} // namespace krobase

#endif
