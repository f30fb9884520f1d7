#include "indep/contexts/ThreadSlot.h"

#include <memory>

#include <boost/thread/tss.hpp>

#include "indep/frame/Trace.h"

namespace
{
// Stays with its thread once made, so that a context comes back to where it has been
// without any need of memory.
struct ContextSlot
{
    boost::weak_ptr<U_Context> mContext;
    bool mIsSet; // if not, empty
};

// Never destroyed: threads end until the process does.
boost::thread_specific_ptr<ContextSlot>& sThreadContext =
    *new boost::thread_specific_ptr<ContextSlot>;
} // namespace

const boost::weak_ptr<U_Context>* ThreadSlot()
{
    const ContextSlot* const slot = sThreadContext.get();
    return slot && slot->mIsSet ? &slot->mContext : nullptr;
}

void AttachContextTLS(const boost::shared_ptr<U_Context>& context)
{
    static TraceSite sTrace(kContextTrace, kContextTraceLevel);
    DetachContextTLS("AttachContextTLS", kAnyContext);
    sTrace.Trace("sThreadContext set ", context->GetContextID());
    if (!sThreadContext.get())
    {
        auto made = std::make_unique<ContextSlot>();
        sThreadContext.reset(made.get()); // needs memory itself
        static_cast<void>(made.release());
    }
    *sThreadContext = {context, true};
}

void DetachContextTLS(const char* reason, U_i64 contextId)
{
    static TraceSite sTrace(kContextTrace, kContextTraceLevel);
    const boost::weak_ptr<U_Context>* const slot = ThreadSlot();
    const boost::shared_ptr<U_Context> context = slot ? slot->lock() : nullptr;
    const bool isMeant = context ? context->GetContextID() == contextId : slot != nullptr;
    if (contextId != kAnyContext && !isMeant)
        return;
    sTrace.Trace("sThreadContext unset ", contextId, " from ", reason);
    if (slot)
        *sThreadContext = {};
}
