#include "U_Context.h"

#include <platform/base/locks.h>
#include <platform/base/quiet_new.h>
#include <platform/base/shared_mutex.h>
#include <win32/threads.h>

#include "U_Threads.h"
#include "indep/contexts/CurrentContext.h"
#include "indep/errors/Report.h"
#include "indep/frame/Guard.h"

using krobase::utility::ImmutableString;

template class boost::enable_shared_from_this<U_Context>;

namespace
{
const int kNoState = 1; // thrown

// Guards S_states_factory. Neither is ever destroyed: threads may make contexts while the
// process exits.
platform::SharedMutex& sStatesLock = *new platform::SharedMutex;

void CallHook(const boost::shared_ptr<U_State>& state, void (U_State::*hook)())
{
    if (state)
        (state.get()->*hook)();
}
} // namespace

std::atomic<U_i64> U_Context::S_ctxt_id(0);
U_Context::StateFactories& U_Context::S_states_factory = *new StateFactories;

U_State::U_State(U_Context* context) : mContext(context) {}

U_State::~U_State() = default;

boost::shared_ptr<U_Context> U_Context::MakeNewContext()
{
    return boost::shared_ptr<U_Context>(new U_Context);
}

U_Context::U_Context() : mContextID(++S_ctxt_id), mThreadID(U_NoThreadID)
{
    const platform::ScSharedLock lock(sStatesLock);
    for (const StateFactories::value_type& factory : S_states_factory)
        mStates.emplace(factory.first, factory.second(this));
}

U_Context::U_Context(const U_Context& other)
    : boost::enable_shared_from_this<U_Context>(other), mStates(other.mStates),
      mActiveCount(other.mActiveCount.load()), mContextID(other.mContextID),
      mThreadID(other.GetThreadID())
{
}

U_Context& U_Context::operator=(const U_Context& other)
{
    mStates = other.mStates;
    mActiveCount = other.mActiveCount.load();
    mContextID = other.mContextID;
    mThreadID = other.GetThreadID();
    return *this;
}

U_Context::~U_Context()
{
    if (!IsActive())
        return;
    for (const States::value_type& state : mStates)
        GuardedNoexcept([&] { CallHook(state.second, &U_State::OnDeactivate); });
    DetachContextTLS("~U_Context", mContextID);
}

void U_Context::RegisterState(const ImmutableString& key, const U_StateFactory& factory)
{
    // The factory is copied before the lock is taken, and a factory that the map refuses is
    // destroyed after the lock is released: both may run code of the host.
    StateFactories added;
    added.emplace(key, factory);
    const auto refused = [&added] {
        const platform::ScLock lock(sStatesLock);
        return S_states_factory.insert(added.extract(added.begin()));
    }();
}

void U_Context::UnregisterState(const ImmutableString& key)
{
    const auto removed = [&key] {
        const platform::ScLock lock(sStatesLock);
        return S_states_factory.extract(key);
    }();
}

boost::shared_ptr<U_State> U_Context::GetState(const ImmutableString& key)
{
    const auto found = mStates.find(key);
    if (found == mStates.end())
        throw kNoState;
    return found->second;
}

void U_Context::CallStates(void (U_State::*hook)())
{
    for (const States::value_type& entry : mStates)
    {
        const boost::shared_ptr<U_State> state = entry.second; // alive during the hook
        CallHook(state, hook);
    }
}

void U_Context::Activate()
{
    const U_u32 threadId = win32::GetCurrentThreadId();
    if (const boost::weak_ptr<U_Context>* const thread = ThreadContext())
    {
        if (!IsThreadContext(this))
        {
            const boost::shared_ptr<U_Context> current = thread->lock();
            if (!current)
                throw BadArgument("current context is gone");
            if (current->mContextID != mContextID) // a copy has the same
                throw BadArgument("another context is already active");
        }
        if (GetThreadID() != threadId)
            throw BadArgument("context already active in another thread");
    }
    else
    {
        AttachContextTLS(shared_from_this());
        mThreadID.store(threadId, std::memory_order_relaxed);
    }
    // The count is raised after the hooks have run: a hook sees its context as not active, and
    // if a hook throws, the activation does not count.
    if (!IsActive())
        CallStates(&U_State::OnActivate);
    ++mActiveCount;
}

void U_Context::Deactivate()
{
    // Before the thread's context is read, since most setters are nested.
    if (--mActiveCount != 0)
        return;
    if (ThreadContext() && (!IsThreadContext(this) || GetThreadID() != win32::GetCurrentThreadId()))
        return;
    CallStates(&U_State::OnDeactivate);
    DetachContextTLS("Deactivate", mContextID);
}
