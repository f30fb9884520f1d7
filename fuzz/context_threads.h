// Threads, states and hooks of contexts.

#ifndef FUZZ_CONTEXT_THREADS_H
#define FUZZ_CONTEXT_THREADS_H

#include <atomic>
#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <tuple>
#include <typeinfo>
#include <vector>

#include <boost/make_shared.hpp>
#include <cxxabi.h>

#include <krobase/executor.h>
#include <krobase/gate.h>
#include <krobase/threads.h>

#include "U_Context.h"
#include "U_Suspend.h"
#include "code_thrown.h"
#include "library.h"
#include "model.h"
#include "second_thread.h"

using krobase::utility::ImmutableString;
typedef boost::shared_ptr<krobase::threads::AsyncThreadedExecutor> ExecutorPtr;
typedef boost::shared_ptr<U_Context> ContextPtr;

const int kNone = -1; // no thread, or no context
const int kThreads = 3;
const int kKeys = 3;
const int kThrown = 9; // by hooks
const int kRefused = 3;

// The key of a hook, whether it is OnActivate, the context, and whether the context was active.
typedef std::tuple<int, bool, U_i64, bool> HookCall;

inline std::vector<HookCall> sHookCalls;
inline bool sThrows[kKeys];
inline std::atomic<int> sStates{0};
inline ExecutorPtr sExecutors[kThreads]; // none for the first thread
inline U_u32 sThreadIds[kThreads];

// In the order in which hooks run, which is that of the keys' addresses.
inline std::vector<ImmutableString>& Keys()
{
    static std::vector<ImmutableString> keys{ImmutableString("a"), ImmutableString("b"),
                                             ImmutableString("c")};
    return keys;
}

class State : public U_State
{
public:
    State(U_Context* context, int key) : U_State(context), mKey(key) { ++sStates; }
    ~State() override { --sStates; }
    ImmutableString GetKey() const override { return Keys()[static_cast<std::size_t>(mKey)]; }
    void OnActivate() override { Hook(true); }
    void OnDeactivate() override { Hook(false); }

    int mValue = 0;
    int mHooks = 0;
    bool mIsQuiet = false; // of a thread that runs beside another one

private:
    void Hook(bool activates)
    {
        ++mHooks;
        if (mIsQuiet)
            return;
        sHookCalls.push_back({mKey, activates, mContext->GetContextID(), mContext->IsActive()});
        if (sThrows[mKey])
            throw kThrown;
    }

    const int mKey;
};

struct Neighbour : U_Context
{
    static State* Find(U_Context& context, int key)
    {
        return static_cast<State*>(
            (context.*&Neighbour::GetState)(Keys()[static_cast<std::size_t>(key)]).get());
    }
};

struct Reviver : U_SuspendContext
{
    static void Revive() { S_terminated.CompareExchange(true, false); }
};

inline void Register(int key, bool isNull)
{
    U_Context::RegisterState(
        Keys()[static_cast<std::size_t>(key)], [key, isNull](U_Context* context) {
            return isNull ? boost::shared_ptr<U_State>() : boost::make_shared<State>(context, key);
        });
}

// Runs the body on the thread, and waits for its end.
inline void RunOn(int thread, const std::function<void()>& body)
{
    if (!thread)
        return body();
    krobase::threads::Gate done(false);
    sExecutors[thread]->Post(
        [&] {
            body();
            done.Open();
        },
        0);
    while (!done.PassThrough(1000))
    {
    }
}

inline void StartThreads()
{
    for (int thread = 0; thread < kThreads; ++thread)
    {
        if (thread)
            sExecutors[thread] = krobase::threads::CreateAsyncThreadedExecutor(
                "fuzz", 1, krobase::threads::kThreadPriorityNormal, {}, {});
        RunOn(thread, [=] { sThreadIds[thread] = krobase::threads::GetCurrentThreadID(); });
    }
}

enum StateKind
{
    kAbsent,
    kNull,
    kThere
};

// A context as the model knows it.
struct Task
{
    ContextPtr mOwner; // one of the references
    U_Context* mContext = nullptr;
    U_i64 mId = 0;
    int mReferences = 1;
    int mActive = 0;
    int mThread = kNone;
    StateKind mStates[kKeys] = {};
    int mValues[kKeys] = {};
};

// The exception of a function that a suspended call runs, the code that a posted call returns for
// the exception, and the number of its reports.
struct Ending
{
    void (*mThrow)();
    const std::type_info* mType;
    int mCode;
    U_u32 mReports;
};
const Ending kEndings[] = {{[] {}, nullptr, 0, 0},
                           {[] { throw 6; }, &typeid(int), 6, 0},
                           {[] { throw std::exception(); }, &typeid(std::exception), 14, 1},
                           {[] { throw std::bad_cast(); }, &typeid(std::bad_cast), 3, 1},
                           {[] { throw std::bad_alloc(); }, &typeid(std::bad_alloc), 4, 0},
                           {[] { throw 1.5; }, &typeid(double), 14, 1}};

// Returns the type of the exception that the body throws, or null.
template <class Body> const std::type_info* TypeThrown(Body body)
{
    try
    {
        body();
        return nullptr;
    }
    catch (...)
    {
        return abi::__cxa_current_exception_type();
    }
}

// A scoped object of a thread.
struct Scope
{
    int mTask = kNone;
    std::unique_ptr<U_ContextSetter> mSetter;
    std::unique_ptr<U_WeakContextSetter> mWeak;
    boost::shared_ptr<U_SuspendContext> mSuspended;
    int mSavedThread = kNone;
    bool mHasPosted = false;
    int mResult = 0;      // of the first posted call
    bool mIsHere = false; // a call on the own thread has attached the context
};

// A thread with tasks of its own, which lends them to an executor that another thread uses, too.
// Either thread may give all calls up, of which one may wait on the other thread.
inline void RunBeside(Choices choices)
{
    const ContextPtr task = U_Context::MakeNewContext();
    bool hasTerminated = false;
    int hooks = 0;
    State* const state = Neighbour::Find(*task, 0);
    state->mIsQuiet = true;
    if (State* const other = Neighbour::Find(*task, 1))
        other->mIsQuiet = true;
    while (!choices.Empty())
    {
        const U_ContextSetter setter(task);
        ++hooks;
        for (std::size_t depth = choices.Below(4); depth; --depth)
        {
            const U_ContextSetter nested;
            Require(U_Context::GetCurrent() == task);
        }
        const std::uint8_t sort = choices.Byte();
        if (sort % 16 == 14)
        {
            hasTerminated = true;
            U_SuspendContext::TerminateAndFailAllSuspendedContexts();
        }
        if (sort % 2)
        {
            const int before = state->mValue;
            boost::shared_ptr<U_SuspendContext> suspended = U_SuspendContext::NewSuspendContext();
            Require(!U_Context::HasCurrent());
            const int result = suspended->CallOnThreadedExecutor(
                sExecutors[1 + choices.Below(kThreads - 1)], [task, state] {
                    Require(U_Context::GetCurrent() == task);
                    return ++state->mValue;
                });
            suspended.reset(); // waits for a function that has begun
            const bool isGivenUp = result == U_Err_SuspendTerminated;
            const int runs = state->mValue - before;
            Require(isGivenUp || (!hasTerminated && result == before + 1 && runs == 1));
            Require(runs == 1 || (isGivenUp && runs == 0));
            Require(!hasTerminated || runs == 0);
        }
        Require(U_Context::GetCurrent() == task && state->mHooks == 2 * hooks - 1);
    }
    Require(!U_Context::HasCurrent() && state->mHooks == 2 * hooks);
}

inline SecondThread& Second()
{
    static SecondThread second;
    return second;
}

// Removes destroyed contexts from the threads, which would refuse other contexts in the next input.
// A call on an executor's thread removes a destroyed context, and the end of an active context on
// the first thread does, too.
inline void ClearThreads(bool isFirst)
{
    const auto clear = [](int begin, int end) {
        Second().RunBoth({}, [=] {
            const U_ContextSetter setter(U_Context::MakeNewContext());
            for (int thread = begin; thread < end; ++thread)
                U_SuspendContext::NewSuspendContext()->CallOnThreadedExecutor(sExecutors[thread],
                                                                              [] { return 0; });
        });
    };
    clear(1, kThreads);
    if (isFirst)
    {
        ContextPtr active = U_Context::MakeNewContext();
        std::unique_ptr<U_WeakContextSetter> setter;
        RunOn(1, [&] { setter.reset(new U_WeakContextSetter(active)); });
        active.reset();
        clear(1, 2);
    }
    sHookCalls.clear();
    Require(CodeThrown([] { U_ContextSetter none(U_Context::MakeNewContext()); }) == 0);
    sHookCalls.clear();
}

#endif
