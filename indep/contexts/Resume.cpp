#include "indep/contexts/Resume.h"

#include <thread>
#include <utility>

#include <win32/threads.h>

#include "U_Threads.h"
#include "indep/contexts/CurrentContext.h"
#include "indep/errors/Refuse.h"
#include "indep/frame/Guard.h"

namespace
{
const int kLooks = 50; // of a caller that could go on at once
} // namespace

void U_SuspendContext::PostedCall::Run()
{
    if (!Decide(kExecutorThread))
        return;
    ExecuteStatic([this] { return RunFunction(); }, mGate, mContext, mResult);
    // The caller waits for this: the context mustn't end here because its last owner
    // there was quicker.
    mContext.reset();
    mLeft.Open();
    // It is still there if it was too late to run. The caller doesn't wait for what it
    // owns, the last of the suspension perhaps.
    mFunction.clear();
}

bool U_SuspendContext::PostedCall::Cancel()
{
    if (!Decide(kCaller))
        return IsCancelled();
    // The closure may lie in the executor's queue for long.
    mContext.reset();
    mFunction.clear();
    return true;
}

bool U_SuspendContext::PostedCall::HasReleasedContext(int timeout) const
{
    // It is mostly a few steps from there: a sleep would take longer.
    for (int look = 0; look < kLooks && !mLeft.PassThrough(0); ++look)
        std::this_thread::yield();
    // With the gate open the context has left, however long the thread is held up there.
    return (mLeft.PassThrough(timeout) || HasEnded(0)) && mHolder != kLost;
}

int U_SuspendContext::PostedCall::RunFunction()
{
    // Ends before the gate opens: the caller's share in what the function owns is the
    // last, and if that is the suspension, it doesn't own itself through this call.
    boost::function<int()> function;
    function.swap(mFunction);
    if (!mContext)
        return function();
    const ScLoan loan(*mContext, mHolder);
    return function();
}

PLATFORM_THREAD_LOCAL U_SuspendContext::ScLoan* U_SuspendContext::ScLoan::tInnermost = nullptr;

U_SuspendContext::ScLoan::ScLoan(const U_Context& context, std::atomic<Holder>& holder)
    : mContext(context), mHolder(holder), mOuter(std::exchange(tInnermost, this))
{
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

// One more activation of an active context: it stays active whatever others take back
// meanwhile.
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
    // A trace may take longer than a caller that has given up waits. Its setters mustn't
    // tell the states while this thread becomes theirs.
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
        throw;
    }
}

U_SuspendContext::U_ResumeContext::~U_ResumeContext()
{
    GuardedNoexcept([&] { mContext->Deactivate(); });
    Detach();
}

void U_SuspendContext::U_ResumeContext::Detach()
{
    // Once calls are given up, a function that runs on may keep the context on its thread.
    U_u32 own = win32::GetCurrentThreadId();
    if (S_terminated.Get())
        mContext->mThreadID.compare_exchange_strong(own, U_NoThreadID, std::memory_order_relaxed);
    else
        mContext->mThreadID.store(U_NoThreadID, std::memory_order_relaxed);
    DetachContextTLS("~U_ResumeContext", kAnyContext);
}
