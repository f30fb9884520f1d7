#include "U_Suspend.h"

#include <boost/make_shared.hpp>

#include <win32/threads.h>

#include "U_Threads.h"
#include "indep/contexts/CurrentContext.h"
#include "indep/contexts/Resume.h"
#include "indep/errors/Refuse.h"
#include "indep/frame/Guard.h"
#include "indep/frame/Trace.h"

using krobase::threads::AsyncEventLoopAdaptor;
using krobase::threads::AsyncExecutor;
using krobase::threads::AsyncThreadedExecutor;
using krobase::threads::OpenOnceGate;

namespace
{
const int kPoll = 50;          // milliseconds between two looks at whether to give up
const int kLongestWait = 1000; // milliseconds for a function that was given up to end

U_i64 ShownID(const boost::shared_ptr<U_Context>& context)
{
    return context ? context->GetContextID() : -1;
}

// Opens a gate whatever comes: the caller waits for it.
struct ScOpening
{
    ~ScOpening() { mGate.Open(); }
    OpenOnceGate& mGate;
};
} // namespace

krobase::threads::AtomicWrapper<bool> U_SuspendContext::S_terminated(false);

boost::shared_ptr<U_SuspendContext> U_SuspendContext::NewSuspendContext()
{
    return boost::shared_ptr<U_SuspendContext>(new U_SuspendContext);
}

U_SuspendContext::U_SuspendContext()
    : mSavedThreadID(U_NoThreadID), inGate(boost::make_shared<OpenOnceGate>()),
      mResult(boost::make_shared<int>(0)), mOwnThreadID(win32::GetCurrentThreadId())
{
    if (!U_Context::HasCurrent())
        return;
    mContext = U_Context::GetCurrent();
    if (!mContext)
        throw BadArgument("suspended context is null");
    if (!mContext->IsActive())
        throw BadArgument("suspended context not active");
    mSavedThreadID = mContext->GetThreadID();
    Detach();
}

U_SuspendContext::~U_SuspendContext()
{
    static TraceSite sTrace(kContextTrace, kContextTraceLevel);
    if (win32::GetCurrentThreadId() == mOwnThreadID)
    {
        AwaitLatest();
        if (mContext && IsContextFree())
            GuardedNoexcept([&] { Attach(); });
        else if (mContext)
            ScLoan::MarkLost(*mContext);
    }
    sTrace.Trace("~U_SuspendContext for ", ShownID(mContext));
}

int U_SuspendContext::CallOnThreadedExecutor(
    const boost::shared_ptr<AsyncThreadedExecutor>& executor,
    const boost::function<int()>& function)
{
    return Call(executor, function);
}

int U_SuspendContext::CallOnEventLoopAdaptorExecutor(
    const boost::shared_ptr<AsyncEventLoopAdaptor>& executor,
    const boost::function<int()>& function)
{
    return Call(executor, function);
}

void U_SuspendContext::TerminateAndFailAllSuspendedContexts()
{
    S_terminated.CompareExchange(false, true);
}

int U_SuspendContext::Call(const boost::shared_ptr<AsyncExecutor>& executor,
                           const boost::function<int()>& function)
{
    if (!executor)
        throw BadArgument("executor is null");
    AwaitLatest();
    return executor->IsExecutorThread() ? CallHere(function) : CallThere(*executor, function);
}

int U_SuspendContext::CallHere(const boost::function<int()>& function)
{
    if (!mContext)
        return function();
    RequireContext();
    Attach();
    mHolder = kCaller;
    const ScLoan loan(*mContext, mHolder);
    return function();
}

int U_SuspendContext::CallThere(AsyncExecutor& executor, const boost::function<int()>& function)
{
    // Too late to run. It is queued all the same, but doesn't stand for where the context
    // is: a function that was given up may have that.
    const bool isTooLate = S_terminated.Get();
    if (mContext && !isTooLate)
        RequireContext();
    // A later call writes nothing that this thread reads on its way past the open gate.
    const boost::shared_ptr<PostedCall> earlier = mPosted;
    const boost::shared_ptr<PostedCall> call = boost::make_shared<PostedCall>(
        function, earlier ? boost::make_shared<OpenOnceGate>() : inGate, mContext,
        earlier ? boost::make_shared<int>(0) : mResult);
    if (!isTooLate)
    {
        if (mHolder == kCaller)
            Detach(); // again
        mHolder = kExecutorThread;
        mPosted = call; // before it is queued: it may begin, whatever else Post does
    }
    try
    {
        // An executor that drops the closure gives the call up.
        const boost::shared_ptr<PostedCall> posted(call.get(),
                                                   [call](PostedCall*) { call->Cancel(); });
        executor.Post([posted] { posted->Run(); }, 0);
    }
    catch (...)
    {
        if (call->Cancel() && mPosted == call)
        {
            mPosted = earlier;
            mHolder = kNobody;
        }
        throw;
    }
    return WaitForResult(*call);
}

int U_SuspendContext::WaitForResult(PostedCall& call) const
{
    for (;;)
    {
        if (S_terminated.Get())
        {
            call.Cancel();
            return U_Err_SuspendTerminated;
        }
        if (inGate->PassThrough(kPoll))
            return *mResult;
    }
}

// Until the latest function has ended, which may be one that its call didn't wait for;
// until its executor has dropped it, or all calls are given up.
void U_SuspendContext::AwaitLatest() const
{
    while (mPosted && !mPosted.unique() && !mPosted->IsCancelled() && !S_terminated.Get() &&
           !mPosted->HasEnded(kPoll))
    {
    }
}

// Returns true if no function of a call runs within the context, now or later. A thread that
// has activated the context on its own doesn't count: the suspension takes the context back.
bool U_SuspendContext::IsContextFree() const
{
    if (mHolder == kExecutorThread)
        return mPosted->Cancel() || mPosted->HasReleasedContext(kLongestWait);
    return mHolder != kLost;
}

void U_SuspendContext::RequireContext() const
{
    if (!IsContextFree())
        throw BadArgument("suspended context active in another thread");
}

void U_SuspendContext::Detach()
{
    mContext->mThreadID.store(U_NoThreadID, std::memory_order_relaxed);
    DetachContextTLS("U_SuspendContext", mContext->GetContextID());
}

void U_SuspendContext::Attach()
{
    mContext->mThreadID.store(mSavedThreadID, std::memory_order_relaxed);
    AttachContextTLS(mContext);
}

void U_SuspendContext::RunWithin(const boost::shared_ptr<U_Context>& context,
                                 const boost::function<int()>& function, int& result)
{
    if (!context)
    {
        result = function();
        return;
    }
    const U_ResumeContext resumed(context);
    result = function();
}

void U_SuspendContext::ExecuteStatic(const boost::function<int()>& function,
                                     const boost::shared_ptr<OpenOnceGate>& gate,
                                     const boost::shared_ptr<U_Context>& context,
                                     boost::shared_ptr<int>& result)
{
    static TraceSite sTrace(kContextTrace, kContextTraceLevel);
    if (S_terminated.Get())
        return;
    const ScOpening opening{*gate};
    *result = 0;
    if (const U_Status code = GuardedNoexcept([&] { RunWithin(context, function, *result); }))
        *result = code;
    sTrace.Trace("inGate opened for ", ShownID(context));
}
