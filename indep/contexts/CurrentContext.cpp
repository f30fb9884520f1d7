#include "indep/contexts/CurrentContext.h"

#include <platform/base/per_thread.h>

#include "indep/errors/Report.h"
#include "indep/frame/Guard.h"
#include "indep/frame/Trace.h"

namespace
{
// Stays allocated until the thread ends, so that a context can become current again without
// an allocation.
struct CurrentContext
{
    boost::weak_ptr<U_Context> mContext; // empty while mIsSet is false
    const U_Context* mAddress;           // of the object of mContext
    bool mIsSet;
};

typedef platform::PerThread<CurrentContext> ThreadCurrentContext;
} // namespace

const boost::weak_ptr<U_Context>* ThreadContext()
{
    const CurrentContext* const thread = ThreadCurrentContext::Find();
    return thread && thread->mIsSet ? &thread->mContext : nullptr;
}

// A context that has not ended has its address alone.
bool IsThreadContext(const U_Context* context)
{
    const CurrentContext& thread = *ThreadCurrentContext::Find();
    return thread.mAddress == context && !thread.mContext.expired();
}

void AttachContextTLS(const boost::shared_ptr<U_Context>& context)
{
    static TraceSite sTrace(kContextTrace, kContextTraceLevel);
    DetachContextTLS("AttachContextTLS", kAnyContext);
    sTrace.Trace("sThreadContext set ", context->GetContextID());
    ThreadCurrentContext::MakeOrThrow() = {context, context.get(), true};
}

void DetachContextTLS(const char* reason, U_i64 contextId)
{
    static TraceSite sTrace(kContextTrace, kContextTraceLevel);
    const boost::weak_ptr<U_Context>* const current = ThreadContext();
    const boost::shared_ptr<U_Context> context = current ? current->lock() : nullptr;
    const bool isMeant = context ? context->GetContextID() == contextId : current != nullptr;
    if (contextId != kAnyContext && !isMeant)
        return;
    sTrace.Trace("sThreadContext unset ", contextId, " from ", reason);
    if (current)
        *ThreadCurrentContext::Find() = {};
}

boost::shared_ptr<U_Context> U_Context::GetCurrent()
{
    static TraceSite sTrace(kContextTrace, 1);
    const boost::weak_ptr<U_Context>* const current = ThreadContext();
    if (!current)
    {
        sTrace.Trace("Damnit");
        throw BadArgument("no current context");
    }
    boost::shared_ptr<U_Context> context = current->lock();
    if (!context)
        throw BadArgument("current context is gone");
    return context;
}

bool U_Context::HasCurrent()
{
    const boost::weak_ptr<U_Context>* const current = ThreadContext();
    return current && !current->expired();
}

U_ContextSetter::U_ContextSetter() : U_ContextSetter(nullptr) {}

U_ContextSetter::U_ContextSetter(const boost::shared_ptr<U_Context>& context)
    : mContext(context ? context : U_Context::GetCurrent())
{
    mContext->Activate();
}

U_ContextSetter::~U_ContextSetter()
{
    GuardedNoexcept([&] { mContext->Deactivate(); });
}

U_WeakContextSetter::U_WeakContextSetter(const boost::shared_ptr<U_Context>& context)
{
    if (!context || U_Context::HasCurrent())
        return;
    mContext = context;
    context->Activate();
}

U_WeakContextSetter::~U_WeakContextSetter()
{
    if (const boost::shared_ptr<U_Context> context = mContext.lock())
        GuardedNoexcept([&] { context->Deactivate(); });
}
