#include "indep/contexts/Resume.h"

#include <win32/threads.h>

#include "U_Threads.h"
#include "indep/contexts/ThreadSlot.h"
#include "indep/errors/Refuse.h"
#include "indep/frame/Guard.h"

void U_SuspendContext::PostedCall::Run()
{
    if (!Decide(kEntered))
        return;
    ExecuteStatic([this] { return RunFunction(); }, mGate, mContext, mResult);
    // The caller waits for this: the context mustn't end here because its last owner
    // there was quicker.
    mContext.reset();
    mHolder.store(kLeft);
}

bool U_SuspendContext::PostedCall::TakeBack()
{
    if (!Decide(kTakenBack))
        return false;
    // The closure may lie in the executor's queue for long.
    mContext.reset();
    mFunction.clear();
    return true;
}

bool U_SuspendContext::PostedCall::IsHeldHere(const U_Context& context)
{
    return context.GetThreadID() == win32::GetCurrentThreadId();
}

U_SuspendContext::U_ResumeContext::U_ResumeContext(const boost::shared_ptr<U_Context>& context)
    : mContext(context)
{
    if (!context)
        throw RefuseArgument("resumed context is null");
    if (const boost::weak_ptr<U_Context>* const slot = ThreadSlot())
        mPrevious = slot->lock();
    context->mThreadID.store(win32::GetCurrentThreadId(), std::memory_order_relaxed);
    try
    {
        AttachContextTLS(context);
        context->Activate();
    }
    catch (...)
    {
        LetGo();
        throw;
    }
}

U_SuspendContext::U_ResumeContext::~U_ResumeContext()
{
    Contained([&] { mContext->Deactivate(); });
    LetGo();
}

void U_SuspendContext::U_ResumeContext::LetGo()
{
    // Unless another thread has taken it over meanwhile.
    U_u32 own = win32::GetCurrentThreadId();
    mContext->mThreadID.compare_exchange_strong(own, U_NoThreadID, std::memory_order_relaxed);
    DetachContextTLS("~U_ResumeContext", kAnyContext);
}
