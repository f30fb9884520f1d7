// How a suspended context passes between two threads.

#ifndef INDEP_CONTEXTS_RESUME_H
#define INDEP_CONTEXTS_RESUME_H

#include <atomic>

#include <platform/base/thread_local.h>

#include "U_Suspend.h"
#include "indep/contexts/CurrentContext.h"

// A function on its way to an executor's thread, and who may have the context for
// it: whoever comes first, that thread or the caller that has given up.
class U_SuspendContext::PostedCall : private boost::noncopyable
{
public:
    PostedCall(const boost::function<int()>& function,
               const boost::shared_ptr<krobase::threads::OpenOnceGate>& gate,
               const boost::shared_ptr<U_Context>& context, const boost::shared_ptr<int>& result)
        : mFunction(function), mGate(gate), mContext(context), mResult(result)
    {
    }

    // For the executor's thread. Touches nothing if the caller came first.
    void Run();

    // For the caller, and for an executor that drops the call. True if the function hasn't
    // begun; then it never will, and nobody holds the context for it.
    bool Cancel();

    bool IsCancelled() const { return mHolder == kCaller; }

    // Waits up to timeout milliseconds for the function to end. It doesn't if it began
    // too late to run.
    bool HasEnded(int timeout) const { return mGate->PassThrough(timeout); }

    // Waits as long for the executor's thread to be done with the context. False also
    // if the function has lost the context.
    bool HasReleasedContext(int timeout) const;

private:
    bool Decide(Holder holder)
    {
        Holder expected = kNobody;
        return mHolder.compare_exchange_strong(expected, holder);
    }

    int RunFunction();

    std::atomic<Holder> mHolder{kNobody};
    krobase::threads::Gate mLeft{false}; // open once the executor's thread holds no context
    boost::function<int()> mFunction;    // until it runs or is known never to
    const boost::shared_ptr<krobase::threads::OpenOnceGate> mGate;
    boost::shared_ptr<U_Context> mContext; // until it is left or taken back
    boost::shared_ptr<int> mResult;
};

// A function that the calling thread runs for a call within a suspended context. The scopes
// of a thread nest.
class U_SuspendContext::ScLoan : private boost::noncopyable
{
public:
    // The holder of the call, as the object or the posted call keeps it.
    ScLoan(const U_Context& context, std::atomic<Holder>& holder);
    ~ScLoan();

    // For a suspension that ends on the calling thread and can't put its context back: all
    // calls whose functions run on the thread within the context have lost the context.
    static void MarkLost(const U_Context& context);

private:
    const U_Context& mContext;
    std::atomic<Holder>& mHolder;
    ScLoan* const mOuter;

    static PLATFORM_THREAD_LOCAL ScLoan* tInnermost;
};

// A suspended context is current on the calling thread until the scope ends. What
// was current there before is kept alive, and isn't current after.
class U_SuspendContext::U_ResumeContext : private boost::noncopyable
{
public:
    // Throws 3, after a report, for null, and what U_Context::Activate throws; then
    // the context is suspended as before and the thread has none.
    explicit U_ResumeContext(const boost::shared_ptr<U_Context>& context);
    virtual ~U_ResumeContext();

private:
    class ScKeptActive;

    void Detach();

    const boost::shared_ptr<U_Context> mContext;
    boost::shared_ptr<U_Context> mPrevious; // null if there was none
};

#endif
