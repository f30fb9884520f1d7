// Contexts, suspensions, roles and handlers, while allocations fail.

#include <new>

#include "U_Context.h"
#include "U_Fatal.h"
#include "U_Machine.h"
#include "U_Suspend.h"
#include "U_Threads.h"
#include "tests/contexts/Suspensions.h"
#include "tests/faults/Faults.h"

using krobase::utility::ImmutableString;

namespace
{
class ContextFaults : public Faults
{
protected:
    void SetUp() override
    {
        Faults::SetUp();
        U_Context::RegisterState(mKey, &CountingState::Make);
    }

    void TearDown() override
    {
        U_Context::UnregisterState(mKey);
        EXPECT_EQ(CountingState::sLiving, 0);
        Faults::TearDown();
    }

    const ImmutableString mKey{CountingState::kKey};
};
} // namespace

TEST_F(ContextFaults, Contexts)
{
    const ImmutableString key("a key of its own, longer than a string object");
    const ContextPtr context = U_Context::MakeNewContext();
    const auto registerState = [&] {
        U_Context::RegisterState(key, &CountingState::Make);
        const ContextPtr made = U_Context::MakeNewContext();
        const bool right = Neighbour::Find(*made, key.Text()) != nullptr;
        U_Context::UnregisterState(key);
        return RightIf(right);
    };
    const auto activate = [&] {
        try
        {
            const U_ContextSetter setter(context);
            const U_ContextSetter nested;
            if (CountingState::Of(*context).mActivations != 1)
                return kWrong;
        }
        catch (const std::bad_alloc&)
        {
            if (U_Context::HasCurrent() || context->IsActive())
                return kWrong;
            throw;
        }
        return RightIf(!U_Context::HasCurrent() && !context->IsActive());
    };
    const auto activateWeakly = [&] {
        const U_WeakContextSetter setter(context);
        return RightIf(U_Context::GetCurrent() == context);
    };
    Walk({{"U_Context::RegisterState", kBadAlloc, registerState},
          {"U_Context::MakeNewContext", kBadAlloc,
           [] { return RightIf(U_Context::MakeNewContext()->GetContextID() > 0); }},
          {"U_ContextSetter", kBadAlloc, activate},
          {"U_WeakContextSetter", kBadAlloc, activateWeakly},
          {"U_Context::CheckAbortAndFlushCompletionRoutines", kBadAlloc,
           [] { return RightIf(!U_Context::CheckAbortAndFlushCompletionRoutines()); }}});
    EXPECT_FALSE(context->IsActive());
}

TEST_F(ContextFaults, Suspensions)
{
    const ExecutorPtr executor = MakeExecutor();
    const auto suspendedCall = [&] {
        const ContextPtr context = U_Context::MakeNewContext();
        const U_ContextSetter setter(context);
        int result = 0;
        try
        {
            const SuspendPtr suspended = U_SuspendContext::NewSuspendContext();
            const auto look = [context] {
                return U_Context::GetCurrent() == context
                           ? CountingState::Of(*context).mActivations + 41
                           : 0;
            };
            result = suspended->CallOnThreadedExecutor(executor, look);
            if (suspended->CallOnThreadedExecutor(executor, [] { return 7; }) != result)
                return kWrong;
        }
        catch (const std::bad_alloc&)
        {
            if (U_Context::GetCurrent() != context || CountingState::Of(*context).mActivations != 1)
                return kWrong;
            throw;
        }
        return RightIf(result == 42 && U_Context::GetCurrent() == context);
    };
    Walk({{"U_SuspendContext", kBadAlloc, suspendedCall}});
    Drain(executor);
}

TEST_F(ContextFaults, Threads)
{
    const auto role = [](void (*enter)(), void (*leave)(), bool (*isOn)()) {
        const bool before = isOn();
        try
        {
            enter();
        }
        catch (const std::bad_alloc&)
        {
            if (isOn() != before)
                return kWrong;
            throw;
        }
        const bool right = isOn();
        leave();
        return RightIf(right && isOn() == before);
    };
    static int sRefcon = 0;
    const auto handler = [](void*) {};
    const auto localHandler = [&] {
        U_FatalHandler found = nullptr;
        void* refcon = nullptr;
        {
            const U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler set(handler, &sRefcon);
            U_GetLocalUnhandledExceptionOrHardwareErrorHandler(&found, &refcon);
        }
        U_FatalHandler left = nullptr;
        U_GetLocalUnhandledExceptionOrHardwareErrorHandler(&left, nullptr);
        return RightIf(found == handler && refcon == &sRefcon && !left);
    };
    Walk({{"U_RegisterMainThread", kBadAlloc,
           [&] { return role(&U_RegisterMainThread, &U_DeregisterMainThread, &U_IsOnMainThread); }},
          {"U_RegisterRenderThread", kBadAlloc,
           [&] {
               return role(&U_RegisterRenderThread, &U_DeregisterRenderThread, &U_IsOnRenderThread);
           }},
          {"a local handler", kBadAlloc, localHandler}});
}
