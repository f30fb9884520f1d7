// Suspend and resume: one call on another thread, within the same task.
//
// Some work must run on a particular thread and yet belongs to the task that
// asks for it. A suspend object takes the current context off its thread, a call
// runs a function on an executor's thread with that context current there, and
// the end of the object puts the context back. The states of the context aren't
// told of any of this.
//
//     const boost::shared_ptr<U_SuspendContext> suspended =
//         U_SuspendContext::NewSuspendContext();
//     const int code = suspended->CallOnThreadedExecutor(executor, &Decode);
//
// In an ordinary call one thread at a time has the context: the caller's until the object
// has been made, the executor's while it runs the function, and the caller's again
// when the object ends. A third thread that took the context over within the function is
// described at the destructor.

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

// The result of a call that was given up.
const U_Status U_Err_SuspendTerminated = 517;

// One suspension, to be made, used and ended on the same thread, and to be ended
// before the setter is under which it was made: the context would come back to a
// thread that has no activation of it left, and stay.
class U_EXPORT U_SuspendContext : private boost::noncopyable
{
public:
    // Takes the current context off the calling thread. On a thread without one the
    // object serves too, and the function runs without a context of the caller's. Throws
    // 3, after a report, for a context that isn't active, or std::bad_alloc; the context
    // is left as it was then.
    static boost::shared_ptr<U_SuspendContext> NewSuspendContext();

    // Puts the context back, which needs no memory, and takes the activation over from a
    // third thread that has activated the context within the function. On the third thread
    // the context stays current beside the calling thread's: also where the third thread's
    // setter ended within the function, since other activations remained, and also after the
    // calling thread's setter has ended. As long as the context lives, such a thread serves no
    // other context: a U_ContextSetter of another context throws 3 there, and a
    // U_WeakContextSetter does nothing.
    // When a call has been given up while its function was running, this first waits up to a
    // second for the function to end. A function that takes longer keeps the context, and
    // the calling thread goes on without one, as does each thread that lent the context on
    // the way there: the context of a call that was given up is not put back on a second
    // thread. Their setters may end as usual; the last setter to end calls the states.
    // An object that ends on another thread puts nothing back.
    virtual ~U_SuspendContext();

    // Runs the function on the executor's thread and returns its result when it has
    // ended: what it returns, or the int that it throws; for a std::exception the
    // code that U_TranslateAndReportException gives, and 14 for anything else. If
    // that code is 0, so is the result.
    // The call's copy of the function, with what it owns, ends when the function has, or
    // once it never will run, and before the caller goes on that waits for it; a little
    // later where the context can't become current on the executor's thread.
    // Where the context can't become current there, the function doesn't run, and the
    // result is the code of that failure. A context that the executor's thread had of
    // its own lives on, but is no longer current there, also after the call.
    // On the executor's own thread the function runs at once, and what it throws
    // passes through.
    // Only the first function for another thread is waited for. That of a later call
    // is queued too, but the call returns at once, with the result of the first; the
    // next call and the end of the object wait until it has ended, or its executor
    // has dropped it.
    // Once all calls have been given up the result is 517, within some 50
    // milliseconds: a function that hasn't begun by then never runs. One that has
    // begun goes on alone, so it must own what it uses, and the context may end on
    // the executor's thread. An event loop whose thread ends before the function has
    // run leaves its caller waiting until all calls are given up.
    // Throws 3, after a report, for a null executor, and where an earlier call's function
    // keeps the context: one that was given up, or one whose own suspension was lost;
    // std::bad_alloc; and what the executor throws when it can't take the function.
    int CallOnThreadedExecutor(
        const boost::shared_ptr<krobase::threads::AsyncThreadedExecutor>& executor,
        const boost::function<int()>& function);
    int CallOnEventLoopAdaptorExecutor(
        const boost::shared_ptr<krobase::threads::AsyncEventLoopAdaptor>& executor,
        const boost::function<int()>& function);

    // Gives up all calls that wait, and all to come for another thread, for good: the
    // host is going down. On an executor's own thread functions go on running. Any
    // thread.
    static void TerminateAndFailAllSuspendedContexts();

protected:
    U_SuspendContext();

    // What the executor's thread does: runs the function within the context, stores
    // the result and opens the gate.
    static void ExecuteStatic(const boost::function<int()>& function,
                              const boost::shared_ptr<krobase::threads::OpenOnceGate>& gate,
                              const boost::shared_ptr<U_Context>& context,
                              boost::shared_ptr<int>& result);

    static krobase::threads::AtomicWrapper<bool> S_terminated;

private:
    class PostedCall;
    class ScLoan;
    class U_ResumeContext;

    // Which thread has the suspended context. Each posted call keeps a holder of its own.
    // The object keeps the holder of its latest call, except for a call after all calls have
    // been given up, which leaves the object's holder alone.
    enum Holder
    {
        // Object: no call has been made, or the executor refused the call.
        // Posted call: the function has not begun.
        kNobody,
        // Object: the latest call ran on the thread that made the object.
        // Posted call: the call was taken back before its function began; the function never
        // runs.
        kCaller,
        // Object: the latest call was posted, from before the post until the next call. The
        // posted call's holder says how far its function has come.
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
    // Of the first posted call: closed until its function has ended.
    boost::shared_ptr<krobase::threads::OpenOnceGate> inGate;
    boost::shared_ptr<int> mResult;
    boost::shared_ptr<PostedCall> mPosted; // the latest, null before the first
    std::atomic<Holder> mHolder{kNobody};
    const U_u32 mOwnThreadID; // of the thread that made the object
};

#endif
