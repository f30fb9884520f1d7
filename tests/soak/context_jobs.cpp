#include <thread>

#include "U_Suspend.h"
#include "tests/soak/Soak.h"

namespace
{
boost::shared_ptr<krobase::threads::AsyncEventLoopAdaptor> sMainLoop;
ExecutorPtr sInner; // its thread waits for no other thread

// Adds one to the context's number if the context is current on the calling thread.
int Count(const ContextPtr& context)
{
    CountingState& state = CountingState::Of(*context);
    return U_Context::GetCurrent() == context ? ++state.mValue : -1;
}

// Activates the worker's context, runs a step that counts `most` times, and checks that the context
// is back.
template <class Step> void WithContext(Worker& worker, int most, const char* name, Step step)
{
    const ContextPtr context = worker.own.context;
    const U_ContextSetter setter(context);
    CountingState& state = CountingState::Of(*context);
    const int before = state.mValue;
    Check(step(context) == before + most, name);
    Check(U_Context::GetCurrent() == context && state.mActivations == 1, "its state back");
}

void CallOnMainLoop(Worker& worker)
{
    WithContext(worker, 1, "the context on the main thread", [](const ContextPtr& context) {
        return U_SuspendContext::NewSuspendContext()->CallOnEventLoopAdaptorExecutor(
            sMainLoop, [&] { return Count(context); });
    });
}

// The executor's thread lends the context to another executor's thread.
void CallOnTwoExecutors(Worker& worker)
{
    WithContext(worker, 2, "the context lent twice", [&](const ContextPtr& context) {
        return U_SuspendContext::NewSuspendContext()->CallOnThreadedExecutor(
            worker.own.executor, [&] {
                const int inner = U_SuspendContext::NewSuspendContext()->CallOnThreadedExecutor(
                    sInner, [&] { return Count(context); });
                const int outer = Count(context);
                return outer == inner + 1 ? outer : -1;
            });
    });
}

// A third thread takes the context over from the executor's thread.
void TakeOver(Worker& worker)
{
    if (worker.Below(20) != 0) // a new thread takes long
        return;
    WithContext(worker, 1, "the context on a third thread", [&](const ContextPtr& context) {
        return U_SuspendContext::NewSuspendContext()->CallOnThreadedExecutor(
            worker.own.executor, [&] {
                int result = -1;
                std::thread third([&] {
                    const U_ContextSetter setter(context);
                    result = Count(context);
                });
                third.join();
                return result;
            });
    });
}
} // namespace

Jobs StartContexts()
{
    sMainLoop = krobase::threads::CreateAsyncEventLoopAdaptor();
    sInner = MakeExecutor();
    return {{"main loop calls", &CallOnMainLoop},
            {"calls on two executors", &CallOnTwoExecutors},
            {"contexts taken over", &TakeOver}};
}

void EndContexts()
{
    sInner.reset();
    sMainLoop.reset();
}
