// Contexts: which context does each thread have, which hooks run in which order, and what do
// suspended calls return and throw?
//
// Three threads take turns: the first one and those of two executors. So the model knows the
// effects of each call, also while a thread lends its context to another one.

#include <algorithm>
#include <cstdlib>
#include <vector>

#include <platform/control.h>

#include "U_Context.h"
#include "U_Interact.h"
#include "U_Suspend.h"
#include "code_thrown.h"
#include "context_threads.h"
#include "library.h"
#include "model.h"

namespace
{
class Model
{
public:
    Model() { U_GetHowManyErrors(&mErrors); }

    // Ends all contexts. Only the ids that they had are used up.
    ~Model()
    {
        std::fill(sThrows, sThrows + kKeys, false);
        for (int thread = 0; thread < kThreads; ++thread)
        {
            const auto leave = [this, thread] {
                while (!mScopes[thread].empty())
                    Leave(thread);
            };
            if (!mScopes[thread].empty())
                RunOn(thread, leave);
        }
        for (Task& task : mTasks)
            Drop(0, task);
        Check();
        Require(sStates == 0);
        Reviver::Revive();
        U_Context::UnregisterState(Keys()[kKeys - 1]);
        if (mSlots[0] != kNone || mSlots[1] != kNone || mSlots[2] != kNone)
            ClearThreads(mSlots[0] != kNone);
    }

    void Check()
    {
        Require(sHookCalls == mHookCalls);
        sHookCalls.clear();
        mHookCalls.clear();
        U_u32 errors = 0;
        Require(U_GetHowManyErrors(&errors) == 0 && errors == mErrors);
        for (const Task& task : mTasks)
        {
            if (!task.mContext)
                continue;
            Require(task.mContext->GetContextID() == task.mId);
            Require(task.mContext->IsActive() == (task.mActive > 0));
            Require(task.mContext->GetThreadID() ==
                    (task.mThread == kNone ? 0xFFFFFFFF : sThreadIds[task.mThread]));
        }
        CheckCurrent(0);
    }

    // Calls a function on one of the threads.
    void Call(Choices& choices)
    {
        const int number = static_cast<int>(choices.Below(32));
        const int thread = std::max(number - 29, 0); // a change of threads takes long
        RunOn(thread, [&] { One(thread, choices, 0); });
    }

private:
    typedef std::vector<Scope> Scopes;

    // One call on this thread. Scopes below `bottom` are another function's.
    void One(int thread, Choices& choices, std::size_t bottom)
    {
        static void (Model::*const kCalls[])(int, Choices&, std::size_t) = {
            &Model::Make,          &Model::Enter,    &Model::Enter,   &Model::EnterWeakly,
            &Model::LeaveOne,      &Model::LeaveOne, &Model::Suspend, &Model::CallSuspended,
            &Model::CallSuspended, &Model::DropOne,  &Model::Visit,   &Model::Change};
        mIsBusy[thread] = true;
        CheckCurrent(thread);
        (this->*choices.Of(kCalls))(thread, choices, bottom);
        CheckCurrent(thread);
        mIsBusy[thread] = bottom != 0;
    }

    bool IsAlive(int task) const { return task != kNone && Of(task).mContext; }
    Task& Of(int task) { return mTasks[static_cast<std::size_t>(task)]; }
    const Task& Of(int task) const { return mTasks[static_cast<std::size_t>(task)]; }

    void CheckCurrent(int thread) const
    {
        const bool has = IsAlive(mSlots[thread]);
        Require(U_Context::HasCurrent() == has);
        Require(!has || U_Context::GetCurrent().get() == Of(mSlots[thread]).mContext);
    }

    // Returns a context that the model owns; null if the choice is none.
    Task* Chosen(Choices& choices)
    {
        const std::size_t number = choices.Below(kTasks + 1);
        return number < mTasks.size() && mTasks[number].mOwner ? &mTasks[number] : nullptr;
    }

    bool CallHooks(const Task& task, bool activates, bool isActive, bool all = false)
    {
        for (int key = 0; key < kKeys; ++key)
        {
            if (task.mStates[key] != kThere)
                continue;
            mHookCalls.push_back({key, activates, task.mId, isActive});
            if (sThrows[key] && !all)
                return false;
        }
        return true;
    }

    // Returns the code that the activation throws, or 0.
    int Activate(int thread, int number)
    {
        Task& task = Of(number);
        int& slot = mSlots[thread];
        if (slot != kNone && (slot != number || task.mThread != thread))
        {
            ++mErrors;
            return kRefused;
        }
        slot = number;
        task.mThread = thread;
        if (task.mActive <= 0 && !CallHooks(task, true, false))
            return kThrown;
        ++task.mActive;
        return 0;
    }

    void Deactivate(int thread, int number)
    {
        Task& task = Of(number);
        int& slot = mSlots[thread];
        --task.mActive;
        if (slot != kNone && (slot != number || task.mThread != thread))
            return;
        if (task.mActive == 0 && CallHooks(task, false, false) && slot == number)
            slot = kNone;
    }

    void Release(int thread, int number)
    {
        Task& task = Of(number);
        if (--task.mReferences)
            return;
        int& slot = mSlots[thread];
        task.mContext = nullptr;
        if (task.mActive > 0)
        {
            CallHooks(task, false, true, true);
            if (slot != kNone && !IsAlive(slot))
                slot = kNone;
        }
    }

    void Make(int, Choices&, std::size_t)
    {
        if (mTasks.size() == kTasks)
            return;
        Task task;
        task.mOwner = U_Context::MakeNewContext();
        task.mContext = task.mOwner.get();
        task.mId = task.mContext->GetContextID();
        Require(task.mId > sLastId);
        sLastId = task.mId;
        std::copy(mRegistered, mRegistered + kKeys, task.mStates);
        mTasks.push_back(task);
    }

    void Drop(int thread, Task& task)
    {
        if (!task.mOwner)
            return;
        Release(thread, static_cast<int>(&task - mTasks.data()));
        task.mOwner.reset();
    }

    void DropOne(int thread, Choices& choices, std::size_t)
    {
        if (Task* const task = Chosen(choices))
            Drop(thread, *task);
    }

    void Enter(int thread, Choices& choices, std::size_t)
    {
        const Task* const chosen = Chosen(choices);
        int task = chosen ? static_cast<int>(chosen - mTasks.data()) : mSlots[thread];
        int code = kRefused;
        if (IsAlive(task))
            code = Activate(thread, task);
        else
            ++mErrors; // without a current context
        Scope scope;
        scope.mTask = task;
        const ContextPtr context = chosen ? chosen->mOwner : ContextPtr();
        const bool isNested = !chosen && choices.Flag();
        Require(code == CodeThrown([&] {
                    scope.mSetter.reset(isNested ? new U_ContextSetter
                                                 : new U_ContextSetter(context));
                }));
        if (code)
            return;
        ++Of(task).mReferences;
        mScopes[thread].push_back(std::move(scope));
    }

    void EnterWeakly(int thread, Choices& choices, std::size_t)
    {
        const Task* const chosen = Chosen(choices);
        Scope scope;
        int code = 0;
        if (chosen && !IsAlive(mSlots[thread]))
        {
            scope.mTask = static_cast<int>(chosen - mTasks.data());
            code = Activate(thread, scope.mTask);
        }
        Require(code == CodeThrown([&] {
                    scope.mWeak.reset(
                        new U_WeakContextSetter(chosen ? chosen->mOwner : ContextPtr()));
                }));
        if (!code)
            mScopes[thread].push_back(std::move(scope));
    }

    void Leave(int thread)
    {
        Scope scope = std::move(mScopes[thread].back());
        mScopes[thread].pop_back();
        if (scope.mSuspended && scope.mTask != kNone)
        {
            mSlots[thread] = scope.mTask;
            Of(scope.mTask).mThread = scope.mSavedThread;
        }
        else if (IsAlive(scope.mTask) && !scope.mSuspended)
            Deactivate(thread, scope.mTask);
        if (scope.mTask != kNone && !scope.mWeak)
            Release(thread, scope.mTask);
    }

    void LeaveOne(int thread, Choices&, std::size_t bottom)
    {
        if (mScopes[thread].size() > bottom)
            Leave(thread);
    }

    void Suspend(int thread, Choices&, std::size_t)
    {
        Scope scope;
        int code = 0;
        if (IsAlive(mSlots[thread]))
        {
            scope.mTask = mSlots[thread];
            Task& task = Of(scope.mTask);
            if (task.mActive <= 0)
            {
                code = kRefused;
                ++mErrors;
            }
            else
            {
                scope.mSavedThread = task.mThread;
                task.mThread = kNone;
                mSlots[thread] = kNone;
                ++task.mReferences;
            }
        }
        Require(code ==
                CodeThrown([&] { scope.mSuspended = U_SuspendContext::NewSuspendContext(); }));
        if (!code)
            mScopes[thread].push_back(std::move(scope));
    }

    void EndLoan(int thread, int task)
    {
        Of(task).mThread = kNone;
        mSlots[thread] = kNone;
    }

    // The function of a later posted call is queued, and the call returns the first result.
    void CallAgain(const Scope& top, int there)
    {
        const U_Context* const lent = top.mTask == kNone ? nullptr : Of(top.mTask).mContext;
        const bool hasContext = lent || IsAlive(mSlots[there]);
        int calls = 0;
        const auto function = [&] {
            Require(U_Context::HasCurrent() == hasContext);
            Require(!lent || U_Context::GetCurrent().get() == lent);
            return ++calls - 2;
        };
        Require(top.mResult == top.mSuspended->CallOnThreadedExecutor(sExecutors[there], function));
        RunOn(there, [&] { Require(calls == 1); });
        if (lent)
            EndLoan(there, top.mTask);
    }

    void CallSuspended(int thread, Choices& choices, std::size_t bottom)
    {
        if (mScopes[thread].size() <= bottom)
            return;
        const int there = 1 + static_cast<int>(choices.Below(kThreads - 1));
        const std::size_t inner = choices.Below(5);
        const int result = static_cast<int>(choices.Below(3)) * 5;
        const Ending& ending = choices.Of(kEndings);
        const std::size_t place = mScopes[thread].size() - 1;
        const Scope& top = mScopes[thread][place];
        const bool isHere = there == thread;
        if (!top.mSuspended || (!isHere && (mIsBusy[there] || top.mIsHere)) ||
            (isHere && top.mHasPosted))
            return;
        const int task = top.mTask;
        if (task != kNone && Of(task).mActive <= 0)
            return; // its setters have ended on other threads
        if (inner == 4)
        {
            ++mErrors;
            return Require(kRefused == CodeThrown([&] {
                               top.mSuspended->CallOnThreadedExecutor(nullptr, [] { return 0; });
                           }));
        }
        if (top.mHasPosted && !mIsTerminated)
            return CallAgain(top, there);
        const boost::shared_ptr<U_SuspendContext> suspended = top.mSuspended;
        const auto function = [&] {
            const std::size_t before = mScopes[there].size();
            for (std::size_t i = 0; i < inner && !choices.Empty(); ++i)
                One(there, choices, std::max<std::size_t>(before, 1));
            while (mScopes[there].size() > before)
                Leave(there);
            if (task != kNone && !isHere)
            {
                Deactivate(there, task);
                EndLoan(there, task);
            }
            ending.mThrow();
            return result;
        };
        int returned = -1; // no result
        if (isHere)
        {
            if (task != kNone)
            {
                mSlots[there] = task;
                Of(task).mThread = top.mSavedThread;
            }
            mScopes[thread][place].mIsHere = true;
            const std::type_info* const thrown = TypeThrown(
                [&] { returned = suspended->CallOnThreadedExecutor(sExecutors[there], function); });
            Require(returned == (ending.mType ? -1 : result));
            return Require(ending.mType ? thrown && *thrown == *ending.mType : !thrown);
        }
        mScopes[thread][place].mHasPosted = true;
        if (mIsTerminated)
            return Require(suspended->CallOnThreadedExecutor(sExecutors[there], function) ==
                           U_Err_SuspendTerminated);
        if (task != kNone)
        {
            Of(task).mThread = there;
            mSlots[there] = task;
            Require(Activate(there, task) == 0);
        }
        returned = suspended->CallOnThreadedExecutor(sExecutors[there], function);
        Require(returned == (ending.mType ? ending.mCode : result));
        mErrors += ending.mReports;
        mScopes[thread][place].mResult = returned;
        mIsBusy[there] = false;
    }

    // Looks at the states of the current context, and changes a value.
    void Visit(int thread, Choices& choices, std::size_t)
    {
        const int slot = mSlots[thread];
        ContextPtr current;
        const int code = CodeThrown([&] { current = U_Context::GetCurrent(); });
        Require(code == (IsAlive(slot) ? 0 : kRefused));
        mErrors += code != 0;
        if (code)
            return;
        Task& task = Of(slot);
        Require(current.get() == task.mContext);
        for (int key = 0; key < kKeys; ++key)
        {
            State* state = nullptr;
            const int missing = CodeThrown([&] { state = Neighbour::Find(*current, key); });
            Require(missing == (task.mStates[key] == kAbsent));
            Require((state != nullptr) == (task.mStates[key] == kThere));
            if (!state)
                continue;
            Require(state->mValue == task.mValues[key]);
            task.mValues[key] = state->mValue = choices.Byte();
        }
    }

    void Change(int, Choices& choices, std::size_t bottom)
    {
        const bool isOn = choices.Flag();
        switch (choices.Below(4))
        {
        case 0:
            if (isOn && mRegistered[kKeys - 1] == kAbsent)
                mRegistered[kKeys - 1] = choices.Flag() ? kNull : kThere;
            Register(kKeys - 1, mRegistered[kKeys - 1] == kNull);
            if (isOn)
                return;
            U_Context::UnregisterState(Keys()[kKeys - 1]);
            mRegistered[kKeys - 1] = kAbsent;
            return;
        case 1:
            // In a suspended call, the model does not know when the caller gives the function up.
            // Two threads that run at once do this, in RunBeside.
            if (!choices.Below(4) && !bottom)
            {
                mIsTerminated = true;
                U_SuspendContext::TerminateAndFailAllSuspendedContexts();
            }
            return;
        case 2:
            return Register(0, true); // the first factory stays
        default:
            sThrows[choices.Below(kKeys)] = isOn;
        }
    }

    static const std::size_t kTasks = 5;
    static U_i64 sLastId;

    std::vector<Task> mTasks;
    Scopes mScopes[kThreads];
    int mSlots[kThreads] = {kNone, kNone, kNone};
    bool mIsBusy[kThreads] = {true, false, false};
    bool mIsTerminated = false;
    StateKind mRegistered[kKeys] = {kThere, kThere, kAbsent};
    std::vector<HookCall> mHookCalls;
    U_u32 mErrors = 0;
};

U_i64 Model::sLastId = 0;

constexpr void (Model::*kCalls[])(Choices&) = {&Model::Call};
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    BeBorn();
    std::sort(Keys().begin(), Keys().end());
    Register(0, false);
    Register(1, false);
    StartThreads();
    std::atexit([] {
        for (ExecutorPtr& executor : sExecutors)
            executor.reset();
        U_Context::UnregisterState(Keys()[0]);
        U_Context::UnregisterState(Keys()[1]);
    });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Choices choices(data, size);
    if (choices.Below(32) == 31)
    {
        const Choices own = choices.Half();
        Second().RunBoth([&] { RunBeside(own); }, [&] { RunBeside(choices); });
        // A function that was given up may own its context until its executor has destroyed it.
        for (int thread = 1; thread < kThreads; ++thread)
            RunOn(thread, [] {});
        Reviver::Revive();
        Require(sStates == 0);
        return 0;
    }
    Model model;
    RunCalls(choices, model, kCalls);
    return 0;
}
