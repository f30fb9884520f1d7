#include "U_Context.h"
#include "U_Suspend.h"
#include "tests/contexts/CountingState.h"
#include "tests/soak/Soak.h"

namespace
{
typedef boost::shared_ptr<U_Context> ContextPtr;

const int kExecutors = 3;

boost::shared_ptr<krobase::threads::AsyncThreadedExecutor> sExecutors[kExecutors];
boost::shared_ptr<krobase::threads::AsyncEventLoopAdaptor> sMainLoop;

// Suspends a context for a call that checks and changes its state.
template <class Call> void Suspend(Worker& worker, Call call)
{
    const ContextPtr context = U_Context::MakeNewContext();
    {
        const U_ContextSetter setter(context);
        CountingState& value = CountingState::Of(*context);
        const U_u64 before = value.mValue = worker.random();
        const int result = call(boost::function<int()>([context, before] {
            Check(U_Context::GetCurrent() == context, "the context on the other thread");
            CountingState& there = CountingState::Of(*context);
            Check(there.mValue == before && there.mActivations == 1,
                  "its state on the other thread");
            ++there.mValue;
            return 42;
        }));
        Check(result == 42, "the result of a suspended call");
        Check(U_Context::GetCurrent() == context, "the context back");
        Check(value.mValue == before + 1 && value.mActivations == 1, "its state back");
    }
    Check(!U_Context::HasCurrent() && CountingState::Of(*context).mActivations == 0,
          "no current context after the setter");
}
} // namespace

void Suspensions(Worker& worker)
{
    const auto executor = sExecutors[worker.Below(kExecutors)];
    Suspend(worker, [&](const boost::function<int()>& function) {
        return U_SuspendContext::NewSuspendContext()->CallOnThreadedExecutor(executor, function);
    });
}

void MainLoopCalls(Worker& worker)
{
    Suspend(worker, [](const boost::function<int()>& function) {
        return U_SuspendContext::NewSuspendContext()->CallOnEventLoopAdaptorExecutor(sMainLoop,
                                                                                     function);
    });
}

void StartContexts()
{
    U_Context::RegisterState(krobase::utility::ImmutableString(CountingState::kKey),
                             &CountingState::Make);
    for (auto& executor : sExecutors)
        executor = krobase::threads::CreateAsyncThreadedExecutor(
            "soak", 1, krobase::threads::kThreadPriorityNormal, {}, {});
    sMainLoop = krobase::threads::CreateAsyncEventLoopAdaptor();
}

void EndContexts()
{
    for (auto& executor : sExecutors)
        executor.reset();
    sMainLoop.reset();
    U_Context::UnregisterState(krobase::utility::ImmutableString(CountingState::kKey));
    Check(CountingState::sLiving == 0, "no context left");
}
