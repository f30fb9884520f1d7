// The parts of a suspension by which a context passes between two threads.

#ifndef INDEP_CONTEXTS_RESUME_H
#define INDEP_CONTEXTS_RESUME_H

#include <atomic>

#include <platform/base/thread_local.h>

#include "U_Suspend.h"
#include "indep/contexts/CurrentContext.h"

// A function posted to an executor's thread. That thread and a caller that cancels the call
// compete; the first one owns the context.
class U_SuspendContext::PostedCall : private boost::noncopyable
{
public:
    PostedCall(const boost::function<int()>& function,
               const boost::shared_ptr<krobase::threads::OpenOnceGate>& gate,
               const boost::shared_ptr<U_Context>& context, const boost::shared_ptr<int>& result)
        : mFunction(function), mGate(gate), mContext(context), mResult(result)
    {
    }

    // Runs the function, on the executor's thread. Does nothing after Cancel.
    void Run();

    // Called by the caller, and when an executor drops the call. Returns true if the function has
    // not begun. Then the function never runs, and the call holds no context.
    bool Cancel();

    bool IsCancelled() const { return mHolder == kCaller; }

    // Waits up to `timeout` milliseconds. Returns true if the function has ended; false also for a
    // function that was begun after all calls were given up, which never ends.
    bool HasEnded(int timeout) const { return mGate->PassThrough(timeout); }

    // Waits up to `timeout` milliseconds. Returns true if the executor's thread has released the
    // context; false also if the function has lost the context.
    bool HasReleasedContext(int timeout) const;

private:
    bool Decide(Holder holder)
    {
        Holder expected = kNobody;
        return mHolder.compare_exchange_strong(expected, holder);
    }

    int RunFunction();

    std::atomic<Holder> mHolder{kNobody};
    krobase::threads::Gate mLeft{false}; // opened when the executor's thread holds no context
    boost::function<int()> mFunction;    // empty once it runs or will never run
    const boost::shared_ptr<krobase::threads::OpenOnceGate> mGate;
    boost::shared_ptr<U_Context> mContext; // null once released or cancelled
    boost::shared_ptr<int> mResult;
};

// The scope of a function that the calling thread runs within a suspended context. The scopes of
// a thread nest.
class U_SuspendContext::ScLoan : private boost::noncopyable
{
public:
    // `holder` belongs to the suspend object or to the posted call.
    ScLoan(const U_Context& context, std::atomic<Holder>& holder);
    ~ScLoan();

    // Called by a suspension that ends on the calling thread and cannot attach its context. Marks
    // the context as lost for all calls whose functions run on the thread within the context.
    static void MarkLost(const U_Context& context);

private:
    const U_Context& mContext;
    std::atomic<Holder>& mHolder;
    ScLoan* const mOuter;

    static PLATFORM_THREAD_LOCAL(ScLoan*, tInnermost);
};

// Makes a suspended context current on the calling thread for a scope. The context that was
// current before is kept alive, and is not current after the scope.
class U_SuspendContext::U_ResumeContext : private boost::noncopyable
{
public:
    // Throws: 3, after a report, for null; as U_Context::Activate. The context is suspended as
    // before then, and the thread has no current context.
    explicit U_ResumeContext(const boost::shared_ptr<U_Context>& context);
    virtual ~U_ResumeContext();

private:
    class ScKeptActive;

    void Detach();

    const boost::shared_ptr<U_Context> mContext;
    boost::shared_ptr<U_Context> mPrevious; // null if the thread had none
};

#endif
