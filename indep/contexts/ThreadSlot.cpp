#include "indep/contexts/ThreadSlot.h"

#include <memory>

#include <boost/thread/tss.hpp>

#include "U_Assert.h"
#include "indep/frame/Guard.h"
#include "indep/frame/Trace.h"

namespace
{
typedef boost::thread_specific_ptr<boost::weak_ptr<U_Context>> ContextSlot;

// Never destroyed: threads end until the process does.
ContextSlot& sThreadContext = *new ContextSlot;
} // namespace

const boost::weak_ptr<U_Context>* ThreadSlot()
{
    return sThreadContext.get();
}

void AttachContextTLS(const boost::shared_ptr<U_Context>& context)
{
    static TraceSite sTrace(kContextTrace, kContextTraceLevel);
    DetachContextTLS("AttachContextTLS", kAnyContext);
    sTrace.Trace("sThreadContext set ", context->GetContextID());
    auto held = std::make_unique<boost::weak_ptr<U_Context>>(context);
    sThreadContext.reset(held.get()); // needs memory itself
    held.release();
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
        sThreadContext.reset();
}

void FailCheck(int line, const char* message)
{
    Guarded([&] { U_ReportFailedVerification(0, line, nullptr, message); });
    throw static_cast<int>(U_Err_BadParameter);
}
