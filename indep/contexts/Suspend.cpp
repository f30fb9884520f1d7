#include "U_Suspend.h"

#include <boost/make_shared.hpp>

#include <platform/base/rethrow.h>
#include <win32/threads.h>

#include "U_Threads.h"
#include "indep/contexts/CurrentContext.h"
#include "indep/contexts/Resume.h"
#include "indep/errors/Report.h"
#include "indep/frame/Guard.h"
#include "indep/frame/Trace.h"

using krobase::threads::AsyncEventLoopAdaptor;
using krobase::threads::AsyncExecutor;
using krobase::threads::AsyncThreadedExecutor;
using krobase::threads::OpenOnceGate;

namespace
{
const int kPoll = 50;          // milliseconds between two checks of S_terminated
const int kLongestWait = 1000; // milliseconds that a destructor waits for a given-up function

U_i64 ShownID(const boost::shared_ptr<U_Context>& context)
{
    return context ? context->GetContextID() : -1;
}

// Opens a gate at the end of the scope, also after an exception: the caller waits for the gate.
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
    // After all calls were given up the function is posted, but never runs. mPosted and mHolder
    // stay those of the earlier call, whose function may have the context.
    const bool isTooLate = S_terminated.Get();
    if (mContext && !isTooLate)
        RequireContext();
    // A later call has a gate and a result of its own: the first gate is open, and this thread
    // reads the first result without waiting.
    const boost::shared_ptr<PostedCall> earlier = mPosted;
    const boost::shared_ptr<PostedCall> call = boost::make_shared<PostedCall>(
        function, earlier ? boost::make_shared<OpenOnceGate>() : inGate, mContext,
        earlier ? boost::make_shared<int>(0) : mResult);
    if (!isTooLate)
    {
        if (mHolder == kCaller)
            Detach(); // CallHere has attached the context
        mHolder = kExecutorThread;
        mPosted = call; // before Post: the function may begin, and Post may throw
    }
    try
    {
        // The last copy of the closure to be destroyed cancels the call.
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
        platform::Rethrow();
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

// Waits until the function of the latest call has ended or its executor has dropped it, or all
// calls are given up. A later call does not wait for its own function.
void U_SuspendContext::AwaitLatest() const
{
    while (mPosted && !mPosted.unique() && !mPosted->IsCancelled() && !S_terminated.Get() &&
           !mPosted->HasEnded(kPoll))
    {
    }
}

// Returns true if no function of a call runs within the context, now or later. A third thread
// that has activated the context does not count: the suspension takes the context over.
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
