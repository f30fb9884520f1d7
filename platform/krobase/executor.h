// Executors: functions that any thread posts run on the executor's threads.
//
//     const auto executor = krobase::threads::CreateAsyncThreadedExecutor(
//         "loader", 1, krobase::threads::kThreadPriorityNormal, {}, {});
//     executor->Post([] { krobase::debug::Trace("loaded\n"); }, 0);
//
// (The example also needs <krobase/debug.h>.)
//
// Thread safety: all functions may be called on any thread.

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
class PLATFORM_EXPORT AsyncExecutor : private boost::noncopyable
{
public:
    // Returns whether the calling thread is one of the executor's threads.
    virtual bool IsExecutorThread() const = 0;

    // Queues a copy of the function and returns. The function runs on a thread of the
    // executor after `delay` milliseconds. Functions without a delay, which is 0 or less,
    // begin in the order in which they were posted.
    //
    // Throws: std::bad_alloc; then nothing is queued.
    virtual void Post(const boost::function<void()>& function, int delay) = 0;

    virtual ~AsyncExecutor();
};

// An executor with threads of its own.
//
// - Exceptions: an exception out of a posted function, or out of `atStart` or `atEnd`, is
//   logged, and reaches no caller.
// - End: when the last owner releases the executor, the functions that are due run, and the
//   delayed functions are dropped. The destructor waits for the threads. If the last owner is
//   a thread of the executor, the destructor does not wait for that thread.
class PLATFORM_EXPORT AsyncThreadedExecutor : public AsyncExecutor
{
public:
    ~AsyncThreadedExecutor() override;
};

// An executor on a thread that dispatches its own message queue. A function runs when its
// message is dispatched: WM_USER, or WM_TIMER after a delay.
//
// - Exceptions: an exception out of a function reaches the caller that dispatches.
// - End: when the last owner releases the adaptor, the functions that have not run are
//   dropped. When the thread ends, its functions never run, and Post throws
//   std::runtime_error.
class PLATFORM_EXPORT AsyncEventLoopAdaptor : public AsyncExecutor
{
public:
    ~AsyncEventLoopAdaptor() override;
};

// Relative to the priority of the process's first thread, as far as the system allows a
// change.
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

// Starts an executor of `threadCount` threads. Any of them may run a function. Each thread
// calls `atStart` first and `atEnd` last, unless they are empty.
//
// Throws:
// - std::invalid_argument for less than one thread;
// - std::bad_alloc;
// - boost::thread_resource_error if the system refuses a thread.
PLATFORM_EXPORT boost::shared_ptr<AsyncThreadedExecutor> CreateAsyncThreadedExecutor(
    const char* name, int threadCount, ThreadPriority priority,
    const boost::function<void()>& atStart, const boost::function<void()>& atEnd,
    const boost::thread::attributes& attributes = boost::thread::attributes());

// Returns an adaptor of the calling thread's message queue.
//
// Throws: std::bad_alloc.
PLATFORM_EXPORT boost::shared_ptr<AsyncEventLoopAdaptor> CreateAsyncEventLoopAdaptor();
} // namespace threads
} // namespace krobase

#endif
