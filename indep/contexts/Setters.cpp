#include "U_Context.h"
#include "indep/frame/Guard.h"

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
