// Threads with roles, and pools of such threads.
//
//     U::cpp::ThreadPool pool(2, U::cpp::Role::Render, "render");
//     std::future<int> frame = pool.Submit([] { return U_IsOnRenderThread() ? 1 : 0; });
//     U::cpp::Thread loader(U::cpp::Role::None, "loader", [] { U::cpp::Check(0); });
//     const int number = frame.get();          // 1
//     const U_Status status = loader.Join();   // 0
//
// Thread safety: a pool may be used on any thread. A Thread object is for one thread at a time.
//
// REQUIRES: threads that use the library end before its death.

#ifndef U_CPP_THREADS_H
#define U_CPP_THREADS_H

#include <atomic>
#include <exception>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>

#include <boost/shared_ptr.hpp>

#include <krobase/executor.h>

#include <U_Suspend.h>
#include <U_Threads.h>

#include <u/cpp/errors.h>

namespace U::cpp
{
// The roles of U_Threads.h. Any number of threads may be Main and Render. PSL and PR have one
// thread each, the last one to register: the end of a thread leaves the role of another thread as
// it is.
enum class Role
{
    None,
    Main,
    Render,
    PSL,
    PR
};

namespace detail
{
struct RoleFunctions
{
    void (*mRegister)();
    void (*mDeregister)();
    bool (*mHasRole)(); // of the calling thread
};

// REQUIRES: a role other than None.
inline const RoleFunctions& FunctionsOf(Role role)
{
    // In the order of the enumerators after None.
    static const RoleFunctions kFunctions[] = {
        {&U_RegisterMainThread, &U_DeregisterMainThread, &U_IsOnMainThread},
        {&U_RegisterRenderThread, &U_DeregisterRenderThread, &U_IsOnRenderThread},
        {&U_RegisterPSLThread, &U_DeregisterPSLThread, &U_IsOnPSLThread},
        {&U_RegisterPRThread, &U_DeregisterPRThread, &U_IsOnPRThread},
    };
    return kFunctions[static_cast<int>(role) - 1];
}

inline void RegisterRole(Role role)
{
    if (role != Role::None)
        FunctionsOf(role).mRegister();
}

// Deregisters the calling thread. The check is needed for PSL and PR: their functions would also
// deregister another thread that has registered since.
inline void DeregisterRole(Role role)
{
    if (role != Role::None && FunctionsOf(role).mHasRole())
        FunctionsOf(role).mDeregister();
}
} // namespace detail

// Registers the calling thread for a role in a scope. If another thread has registered for PSL or
// PR meanwhile, the end of the scope changes nothing.
//
// REQUIRES: no other thread registers for PSL or PR while the scope of such a role ends.
class RoleGuard
{
public:
    // Throws: std::bad_alloc, with nothing registered.
    explicit RoleGuard(Role role) : mRole(role) { detail::RegisterRole(role); }
    ~RoleGuard() { detail::DeregisterRole(mRole); }
    RoleGuard(const RoleGuard&) = delete;
    RoleGuard& operator=(const RoleGuard&) = delete;

private:
    const Role mRole;
};

// A thread with a role and a name. The destructor waits for the end of the thread. Move-only.
class Thread
{
public:
    Thread() noexcept = default;

    // Starts a thread that registers for the role and calls `function`, which returns a status
    // code or nothing. `name` is UTF-8. A thread with a null or empty name keeps the system's name.
    //
    // Throws: std::bad_alloc; std::system_error if the system refuses a thread.
    template <class Function>
    Thread(Role role, const char* name, Function function) : mStatus(new U_Status(0))
    {
        mThread = std::thread([role, name = std::string(name ? name : ""), status = mStatus.get(),
                               function = std::move(function)]() mutable {
            *status = Guard([&] {
                const RoleGuard guard(role);
                if (!name.empty())
                    U_SetCurrentThreadName(name.c_str());
                return function();
            });
        });
    }
    Thread(Thread&&) noexcept = default;
    Thread& operator=(Thread&& other) noexcept
    {
        Join();
        mThread = std::move(other.mThread);
        mStatus = std::move(other.mStatus);
        return *this;
    }
    ~Thread() { Join(); }

    // Waits for the end of the thread. All that the function owned is destroyed then.
    //
    // Returns: the result of the function, or of its exception as Guard returns it; 0 for an
    // object without a thread. 4 if there was no memory for the role.
    U_Status Join()
    {
        if (mThread.joinable())
            mThread.join();
        return mStatus ? *mStatus : 0;
    }

private:
    std::unique_ptr<U_Status> mStatus; // written by the thread
    std::thread mThread;
};

namespace detail
{
// A function whose result goes to a future. If the object ends before Run, the future gets the
// exception of a status code. The function is destroyed before the future is ready.
template <class Function> class PromisedCall
{
public:
    typedef std::invoke_result_t<Function&> Result;

    explicit PromisedCall(Function function) : mFunction(std::move(function)) {}
    PromisedCall(const PromisedCall&) = delete;
    PromisedCall& operator=(const PromisedCall&) = delete;

    ~PromisedCall()
    {
        if (mFunction)
        {
            mFunction.reset();
            Settle([this]() -> Result { Throw(mFailure.load()); });
        }
    }

    std::future<Result> Future() { return mPromise.get_future(); }

    // Sets the code for an end before Run. U_Err_SuspendTerminated at first.
    void SetFailure(U_Status failure) noexcept { mFailure = failure; }

    void Run() noexcept
    {
        Settle([this]() -> Result {
            auto function = std::exchange(mFunction, std::nullopt);
            return Checked(*function);
        });
    }

private:
    template <class Source> void Settle(Source source) noexcept
    {
        try
        {
            if constexpr (std::is_void_v<Result>)
            {
                source();
                mPromise.set_value();
            }
            else
                mPromise.set_value(source());
        }
        catch (...)
        {
            mPromise.set_exception(std::current_exception());
        }
    }

    std::optional<Function> mFunction; // none after Run
    std::promise<Result> mPromise;
    std::atomic<U_Status> mFailure{U_Err_SuspendTerminated};
};
} // namespace detail

// A pool of threads with a role. An executor of krobase with the same threads may also run
// suspended calls (contexts.h).
//
// End: the destructor waits until the functions that were submitted have run, unless a copy of
// Executor's pointer is left: the threads end with the last copy.
class ThreadPool
{
public:
    // Throws: std::bad_alloc; std::invalid_argument for less than one thread;
    // boost::thread_resource_error if the system refuses a thread.
    // Failures: a thread without memory for the registration logs the failure and runs without
    // the role.
    ThreadPool(int threadCount, Role role, const char* name)
        : mExecutor(krobase::threads::CreateAsyncThreadedExecutor(
              name, threadCount, krobase::threads::kThreadPriorityNormal,
              [role] { detail::RegisterRole(role); }, [role] { detail::DeregisterRole(role); }))
    {
    }
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;

    // Queues a function, which runs on a thread of the pool. Functions begin in the order in
    // which they were submitted.
    //
    // Returns: the future of the result or of the exception. An int that the function throws
    // becomes the exception of the status code. The function has been destroyed when the future
    // is ready.
    // Throws: std::bad_alloc, with nothing queued.
    template <class Function> auto Submit(Function function)
    {
        const auto call = std::make_shared<detail::PromisedCall<Function>>(std::move(function));
        auto future = call->Future();
        mExecutor->Post([call] { call->Run(); }, 0);
        return future;
    }

    // Returns the executor, for suspended calls.
    const boost::shared_ptr<krobase::threads::AsyncThreadedExecutor>& Executor() const noexcept
    {
        return mExecutor;
    }

private:
    boost::shared_ptr<krobase::threads::AsyncThreadedExecutor> mExecutor;
};
} // namespace U::cpp

#endif
