// Suspend and resume: one call on another thread, within the same task.
//
// Some work belongs to a task but must run on a particular thread. A suspend object detaches the
// current context from the calling thread, a call runs a function on an executor's thread with
// that context current there, and the destructor attaches the context to the calling thread
// again. None of this calls the hooks of the context's states.
//
//     const auto executor = krobase::threads::CreateAsyncThreadedExecutor(
//         "decoder", 1, krobase::threads::kThreadPriorityNormal, {}, {});
//     const U_ContextSetter setter(U_Context::MakeNewContext());
//     const boost::shared_ptr<U_SuspendContext> suspended = U_SuspendContext::NewSuspendContext();
//     const int code = suspended->CallOnThreadedExecutor(
//         executor, [] { return U_Context::HasCurrent() ? 0 : 1; }); // 0
//
// Thread safety: a suspend object is made, used and destroyed on one thread.
// TerminateAndFailAllSuspendedContexts may be called on any thread.
//
// Ordering: the context belongs to the calling thread until the object is made, to the
// executor's thread while the function runs, and to the calling thread again after the
// destructor. The writes of each thread happen before the next one continues. The destructor
// describes the exceptions: a third thread that took the context over within the function, and
// a call that was given up.

#ifndef U_SUSPEND_H
#define U_SUSPEND_H

#include <atomic>

#include <boost/function.hpp>
#include <boost/noncopyable.hpp>
#include <boost/shared_ptr.hpp>

#include <krobase/atomic.h>
#include <krobase/executor.h>
#include <krobase/gate.h>

#include "U_Context.h"

// The result of a call that was given up by TerminateAndFailAllSuspendedContexts.
const U_Status U_Err_SuspendTerminated = 517;

// One suspension.
//
// REQUIRES: made, used and destroyed on the same thread, and destroyed before the setter under
// which it was made. If the setter ends first, the context is attached to a thread without an
// activation of it, and stays there.
class U_EXPORT U_SuspendContext : private boost::noncopyable
{
public:
    // Detaches the current context from the calling thread. Also serves a thread without a
    // current context: the function then runs without a context of the caller.
    //
    // Throws: 3, after a report, for a context that is not active; std::bad_alloc. The context
    // is unchanged then.
    static boost::shared_ptr<U_SuspendContext> NewSuspendContext();

    // Waits until the functions of all calls have ended or will never run, and attaches the
    // context to the calling thread again. Allocates nothing.
    //
    // Failures:
    // - A call was given up while its function ran: the destructor waits up to a second for the
    //   function. A function that takes longer keeps the context, and the calling thread
    //   continues without one, as does each thread that lent the context to a further call on
    //   the way to that function. Their setters may end as usual; the last setter to end calls
    //   the states.
    // - A third thread has activated the context within the function: the calling thread takes
    //   the context over. The context also stays current on the third thread: even if the third
    //   thread's setter ended within the function, since other activations remained, and even
    //   after the calling thread's setter has ended. While the context lives, that thread serves
    //   no other context: a U_ContextSetter of another context throws 3 there, and a
    //   U_WeakContextSetter does nothing.
    // - The object is destroyed on another thread: the context is not attached to any thread.
    virtual ~U_SuspendContext();

    // Runs the function on the executor's thread within the context and waits for its end.
    //
    // Returns: the value that the function returns or throws as an int. For a std::exception the
    // code of U_TranslateAndReportException (U_Threads.h), for an exception of another type 14.
    //
    // - On the executor's own thread the function runs at once, within the context, and its
    //   exceptions pass through.
    // - The call destroys its copy of the function, with all that the copy owns, when the
    //   function has ended or will never run, and before a caller that waits for the function
    //   continues.
    // - One object is for one call to another thread. The function of a later call is queued
    //   too, but the call returns at once, with the result of the first call. The next call and
    //   the destructor wait until that function has ended or its executor has dropped it.
    // - If the caller has a context, a context of the executor's own thread is kept alive during
    //   the call, but is not current there, during the call and after it.
    //
    // Throws: 3, after a report, for a null executor, and on the executor's own thread if the
    // function of an earlier call keeps the context: a function that was given up, or one that
    // lost the context in a call of its own; std::bad_alloc; the exception of an executor that
    // cannot queue the function.
    //
    // Failures:
    // - The context cannot become current on the executor's thread: the function does not run,
    //   the result is the code of that failure, and the copy of the function may be destroyed a
    //   little after the call returns.
    // - All calls were given up: the result is U_Err_SuspendTerminated, within about 50
    //   milliseconds. A function that has not begun by then never runs; its copy may be destroyed
    //   on the executor's thread a little after the call returns. A function that has begun
    //   continues alone, so it must own all that it uses, and the context may be destroyed on the
    //   executor's thread.
    // - The thread of an event loop ends before the function has run, or an executor of the host
    //   drops the function: the caller waits until all calls are given up.
    int CallOnThreadedExecutor(
        const boost::shared_ptr<krobase::threads::AsyncThreadedExecutor>& executor,
        const boost::function<int()>& function);
    int CallOnEventLoopAdaptorExecutor(
        const boost::shared_ptr<krobase::threads::AsyncEventLoopAdaptor>& executor,
        const boost::function<int()>& function);

    // Gives up all calls that wait for another thread, and all later ones, until the process
    // ends: for a host that shuts down. Calls on an executor's own thread still run their
    // functions.
    //
    // Thread safety: may be called on any thread.
    static void TerminateAndFailAllSuspendedContexts();

protected:
    U_SuspendContext();

    // The part of the executor's thread: runs the function within the context, stores the
    // result and opens the gate. Does nothing once all calls were given up.
    static void ExecuteStatic(const boost::function<int()>& function,
                              const boost::shared_ptr<krobase::threads::OpenOnceGate>& gate,
                              const boost::shared_ptr<U_Context>& context,
                              boost::shared_ptr<int>& result);

    // True once TerminateAndFailAllSuspendedContexts was called.
    static krobase::threads::AtomicWrapper<bool> S_terminated;

private:
    class PostedCall;
    class ScLoan;
    class U_ResumeContext;

    // The thread that has the suspended context. Each posted call has a holder of its own. The
    // object has the holder of its latest call; a call that is made after all calls were given
    // up does not change the object's holder.
    enum Holder
    {
        // Object: no call has been made, or the executor refused the call.
        // Posted call: the function has not begun.
        kNobody,
        // Object: the latest call ran on the thread that made the object.
        // Posted call: the call was cancelled before its function began; the function never
        // runs.
        kCaller,
        // Object: the latest call was posted, from before the post until the next call. The
        // posted call's own holder shows whether its function has begun.
        // Posted call: the function has begun; also after the function has ended.
        kExecutorThread,
        // Both: the function suspended the context again, and that inner call was given up
        // while its function ran. The thread of the inner function keeps the context.
        kLost
    };

    int Call(const boost::shared_ptr<krobase::threads::AsyncExecutor>& executor,
             const boost::function<int()>& function);
    int CallHere(const boost::function<int()>& function);
    int CallThere(krobase::threads::AsyncExecutor& executor,
                  const boost::function<int()>& function);
    int WaitForResult(PostedCall& call) const;
    void AwaitLatest() const;
    static void RunWithin(const boost::shared_ptr<U_Context>& context,
                          const boost::function<int()>& function, int& result);
    bool IsContextFree() const;
    void RequireContext() const;
    void Detach();
    void Attach();

    boost::shared_ptr<U_Context> mContext; // null if the thread had none
    U_u32 mSavedThreadID;
    // The gate of the first posted call: closed until its function has ended.
    boost::shared_ptr<krobase::threads::OpenOnceGate> inGate;
    boost::shared_ptr<int> mResult;
    boost::shared_ptr<PostedCall> mPosted; // the latest call, null before the first
    std::atomic<Holder> mHolder{kNobody};
    const U_u32 mOwnThreadID; // of the thread that made the object
};

#endif
