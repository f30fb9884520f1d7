#include "indep/contexts/Resume.h"

#include <thread>
#include <utility>

#include <platform/base/rethrow.h>
#include <win32/threads.h>

#include "U_Threads.h"
#include "indep/contexts/CurrentContext.h"
#include "indep/errors/Report.h"
#include "indep/frame/Guard.h"

namespace
{
const int kAttempts = 50; // before a caller sleeps
} // namespace

void U_SuspendContext::PostedCall::Run()
{
    if (!Decide(kExecutorThread))
        return;
    ExecuteStatic([this] { return RunFunction(); }, mGate, mContext, mResult);
    // The caller waits for mLeft, so that the context is not destroyed on this thread because the
    // caller's thread has released its reference first.
    mContext.reset();
    mLeft.Open();
    // The function is still set if it began too late to run. It is destroyed after mLeft is open:
    // the caller does not wait for its destructors, which may end the suspension.
    mFunction.clear();
}

bool U_SuspendContext::PostedCall::Cancel()
{
    if (!Decide(kCaller))
        return IsCancelled();
    // The executor may keep the posted closure for a long time.
    mContext.reset();
    mFunction.clear();
    return true;
}

bool U_SuspendContext::PostedCall::HasReleasedContext(int timeout) const
{
    // The executor's thread mostly needs a few more instructions: a sleep would take longer.
    for (int attempt = 0; attempt < kAttempts && !mLeft.PassThrough(0); ++attempt)
        std::this_thread::yield();
    // If the result gate is open, the context has left, even if mLeft is not open yet.
    return (mLeft.PassThrough(timeout) || HasEnded(0)) && mHolder != kLost;
}

int U_SuspendContext::PostedCall::RunFunction()
{
    // Destroyed before the gate opens: so the caller owns the last reference to all that the
    // function owns, and a suspension in it does not own itself through this call.
    boost::function<int()> function;
    function.swap(mFunction);
    if (!mContext)
        return function();
    const ScLoan loan(*mContext, mHolder);
    return function();
}

PLATFORM_THREAD_LOCAL(U_SuspendContext::ScLoan*, U_SuspendContext::ScLoan::tInnermost);

U_SuspendContext::ScLoan::ScLoan(const U_Context& context, std::atomic<Holder>& holder)
    : mContext(context), mHolder(holder), mOuter(tInnermost)
{
    tInnermost = this;
}

U_SuspendContext::ScLoan::~ScLoan()
{
    tInnermost = mOuter;
}

void U_SuspendContext::ScLoan::MarkLost(const U_Context& context)
{
    for (const ScLoan* loan = tInnermost; loan; loan = loan->mOuter)
    {
        if (&loan->mContext == &context)
            loan->mHolder = kLost;
    }
}

// One more activation of an active context: the context stays active when other threads
// deactivate it meanwhile.
class U_SuspendContext::U_ResumeContext::ScKeptActive : private boost::noncopyable
{
public:
    explicit ScKeptActive(U_Context& context) : mContext(context)
    {
        U_i64 count = context.mActiveCount.load();
        while (count > 0 && !mIsKept)
            mIsKept = context.mActiveCount.compare_exchange_weak(count, count + 1);
    }

    ~ScKeptActive()
    {
        if (mIsKept)
            GuardedNoexcept([this] { mContext.U_Context::Deactivate(); });
    }

private:
    U_Context& mContext;
    bool mIsKept = false;
};

U_SuspendContext::U_ResumeContext::U_ResumeContext(const boost::shared_ptr<U_Context>& context)
    : mContext(context)
{
    if (!context)
        throw BadArgument("resumed context is null");
    // A trace below may run longer than a caller that has given up waits. The setters of the
    // caller must not call the states while the context moves to this thread.
    const ScKeptActive kept(*context);
    if (const boost::weak_ptr<U_Context>* const thread = ThreadContext())
        mPrevious = thread->lock();
    context->mThreadID.store(win32::GetCurrentThreadId(), std::memory_order_relaxed);
    try
    {
        AttachContextTLS(context);
        context->Activate();
    }
    catch (...)
    {
        Detach();
        platform::Rethrow();
    }
}

U_SuspendContext::U_ResumeContext::~U_ResumeContext()
{
    GuardedNoexcept([&] { mContext->Deactivate(); });
    Detach();
}

void U_SuspendContext::U_ResumeContext::Detach()
{
    // Once all calls are given up, another function may still have the context on its thread.
    U_u32 own = win32::GetCurrentThreadId();
    if (S_terminated.Get())
        mContext->mThreadID.compare_exchange_strong(own, U_NoThreadID, std::memory_order_relaxed);
    else
        mContext->mThreadID.store(U_NoThreadID, std::memory_order_relaxed);
    DetachContextTLS("~U_ResumeContext", kAnyContext);
}
