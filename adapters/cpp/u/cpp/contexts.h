// Contexts for a scope, and suspended calls with a std::future.
//
//     const U::cpp::ThreadPool decoders(1, U::cpp::Role::None, "decoder");
//     const U::cpp::ContextScope task;
//     std::future<U_i64> id = U::cpp::CallSuspended(decoders.Executor(), [] {
//         return U_Context::GetCurrent()->GetContextID(); // on the decoder's thread
//     });
//     const bool isSameTask = id.get() == task->GetContextID(); // true
//
// Thread safety: any thread may call all functions. A scope begins and ends on one thread.

#ifndef U_CPP_CONTEXTS_H
#define U_CPP_CONTEXTS_H

#include <future>
#include <memory>
#include <optional>
#include <utility>

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>

#include <krobase/executor.h>

#include <U_Context.h>
#include <U_Suspend.h>

#include <u/cpp/errors.h>
#include <u/cpp/threads.h>

namespace U::cpp
{
// Activates a context for a scope, as U_ContextSetter does.
class ContextScope
{
public:
    // Activates a new context.
    //
    // Throws: std::bad_alloc; the exceptions of the factories and the states; StatusError with 3
    // if the thread has another context.
    ContextScope() : ContextScope(Checked(&U_Context::MakeNewContext)) {}

    // Activates `context`; for null, the thread's context once more.
    explicit ContextScope(const boost::shared_ptr<U_Context>& context)
    {
        Checked([&] { mSetter.emplace(context); });
    }

    // Return the context.
    U_Context& operator*() const noexcept { return *mSetter->operator->(); }
    U_Context* operator->() const noexcept { return mSetter->operator->(); }

private:
    std::optional<U_ContextSetter> mSetter;
};

namespace detail
{
inline U_Status CallOn(U_SuspendContext& suspended,
                       const boost::shared_ptr<krobase::threads::AsyncThreadedExecutor>& executor,
                       const boost::function<int()>& function)
{
    return suspended.CallOnThreadedExecutor(executor, function);
}

inline U_Status CallOn(U_SuspendContext& suspended,
                       const boost::shared_ptr<krobase::threads::AsyncEventLoopAdaptor>& executor,
                       const boost::function<int()>& function)
{
    return suspended.CallOnEventLoopAdaptorExecutor(executor, function);
}
} // namespace detail

// Suspends the thread's context, calls `function` within the context on a thread of the executor,
// an AsyncThreadedExecutor or an AsyncEventLoopAdaptor, and waits (U_Suspend.h).
//
// Returns: the future of the result or of the exception of `function`. An int that the function
// throws becomes the exception of the status code.
// - The future is ready, unless all calls were given up while the function ran. Then the future
//   becomes ready when the function ends.
// - If the function never runs, the future has the exception of U_Err_SuspendTerminated, or of the
//   code with which the context could not become current.
//
// Throws: StatusError with 3 for a null executor, and for a context that is not active;
// std::bad_alloc; the exception of an executor that cannot queue the function.
// REQUIRES: `function` owns all that it uses, if a host may give up calls.
template <class ExecutorType, class Function>
auto CallSuspended(const boost::shared_ptr<ExecutorType>& executor, Function function)
{
    const auto call = std::make_shared<detail::PromisedCall<Function>>(std::move(function));
    auto future = call->Future();
    Checked([&] {
        const boost::shared_ptr<U_SuspendContext> suspended = U_SuspendContext::NewSuspendContext();
        const U_Status failure = detail::CallOn(*suspended, executor, [call] {
            call->Run();
            return 0;
        });
        if (failure != 0)
            call->SetFailure(failure);
    });
    return future;
}
} // namespace U::cpp

#endif
