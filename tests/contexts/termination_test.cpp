#include <cstring>

#include <gmock/gmock.h>

#include "U_Threads.h"
#include "tests/contexts/Suspensions.h"

using testing::ElementsAre;

namespace
{
typedef Suspend Termination;

std::thread TerminateOnceBegun(LongFunction& function)
{
    return std::thread([&function] {
        function.AwaitStart();
        U_SuspendContext::TerminateAndFailAllSuspendedContexts();
    });
}
} // namespace

TEST_F(Termination, AFunctionThatHasNotBegunNeverRuns)
{
    Task task;
    std::atomic<int> runs(0);
    const auto run = [&runs] { return ++runs; };
    for (const bool callerLeavesFirst : {false, true})
    {
        LongFunction before;
        mExecutor->Post(before.Function(), 0);
        std::thread terminator = TerminateOnceBegun(before);
        EXPECT_EQ(task.Call(mExecutor, run), 517);
        EXPECT_EQ(task.Call(mExecutor, run), 517);
        terminator.join();
        if (callerLeavesFirst)
        {
            task.suspended.reset();
            Revive(); // the function does not run then either: no caller waits for it
        }
        before.LetEnd();
        Drain(mExecutor);
        task.End();
        EXPECT_EQ(runs, 0);
        Revive();
        task.Suspend();
    }
}

TEST_F(Termination, AFunctionThatEndsSoonGivesTheContextBack)
{
    Register("a");
    Task task;
    int& touches = LoggedState::Of(*task.context, "a").mValue;
    LongFunction function;
    function.mAtEnd = [&] { ++touches; };
    std::thread terminator = TerminateOnceBegun(function);
    EXPECT_EQ(task.Call(mExecutor, function.Function()), 517);
    terminator.join();
    EXPECT_NE(task.context->GetThreadID(), U_NoThreadID) << "the context is still the executor's";
    // Late enough that a destructor that does not wait would end first.
    const ExecutorPtr ender = MakeExecutor();
    ender->Post([&] { function.LetEnd(); }, 300);
    task.End();
    EXPECT_EQ(touches, 2);
    Drain(ender);
    EXPECT_THAT(HookCalls(), ElementsAre("on a"));
}

// The function is stuck in its body, or before that in a trace of the attached context.
TEST_F(Termination, AFunctionThatIsStuckKeepsTheContextForItself)
{
    Register("a");
    for (const bool isOnItsWay : {false, true})
    {
        SCOPED_TRACE(isOnItsWay);
        const ContextPtr context = U_Context::MakeNewContext();
        const U_u32 caller = ThisThread();
        LongFunction stuck;
        U_u32 executorThread = 0;
        const auto end = [&] {
            ExpectBack(context);
            executorThread = ThisThread();
            LoggedState::Of(*context, "a").mThrows =
                true; // in the OnDeactivate of the executor's thread
        };
        boost::function<int()> function = stuck.Function();
        if (isOnItsWay)
        {
            StartTraces("U_Context", 6);
            platform::SetTraceSink([&](const char* line) {
                if (ThisThread() != caller && std::strstr(line, "sThreadContext set"))
                    stuck.Function()();
            });
            function = [end] {
                end();
                return 5;
            };
        }
        else
            stuck.mAtEnd = end;
        {
            const U_ContextSetter setter(context);
            std::thread terminator = TerminateOnceBegun(stuck);
            SuspendPtr suspended = U_SuspendContext::NewSuspendContext();
            EXPECT_EQ(suspended->CallOnThreadedExecutor(mExecutor, function), 517);
            EXPECT_EQ(suspended->CallOnThreadedExecutor(MakeExecutor(), [] { return 1; }), 517);
            suspended.reset();
            terminator.join();
            EXPECT_FALSE(U_Context::HasCurrent());
            EXPECT_EQ(CodeThrown([] { U_ContextSetter next(U_Context::MakeNewContext()); }), 0)
                << "the thread can have another context";
        }
        EXPECT_TRUE(context->IsActive());
        const Lines before = HookCalls();
        stuck.LetEnd();
        Drain(mExecutor);
        EXPECT_EQ(before.size(), 3u)
            << "the hooks of both contexts, without OnDeactivate of the first";
        EXPECT_THAT(HookCalls(), ElementsAre("off a"))
            << "the last thread to deactivate calls the hook";
        EXPECT_NE(executorThread, caller);
        EXPECT_FALSE(context->IsActive());
        EXPECT_EQ(context->GetThreadID(), U_NoThreadID);
        Revive();
        platform::SetTrace(nullptr, 0);
    }
}

// While the innermost function uses the context, no outer caller may attach the context.
TEST_F(Termination, AContextLostInANestedCallIsLostToAllCallers)
{
    for (const bool lenderRunsHere : {false, true})
    {
        SCOPED_TRACE(lenderRunsHere);
        const ExecutorPtr other = MakeExecutor();
        const ContextPtr context = U_Context::MakeNewContext();
        LongFunction stuck;
        const auto lendOn = [&] { return SuspendedCall(other, stuck.Function()); };
        std::thread terminator = TerminateOnceBegun(stuck);
        const auto lend = [&] {
            const U_ContextSetter setter(context);
            SuspendPtr suspended = U_SuspendContext::NewSuspendContext();
            EXPECT_EQ(suspended->CallOnThreadedExecutor(mExecutor, lendOn), 517);
            if (!lenderRunsHere)
                Drain(mExecutor); // the function of the outer call has ended
            suspended.reset();
            EXPECT_FALSE(U_Context::HasCurrent());
            EXPECT_NE(context->GetThreadID(), ThisThread());
        };
        if (lenderRunsHere)
            RunThere(lend);
        else
            lend();
        terminator.join();
        stuck.LetEnd();
        Drain(other);
        EXPECT_FALSE(context->IsActive());
        Revive();
    }
}

TEST_F(Termination, ACallHereDoesNotTakeTheContextFromAFunctionThatKeepsIt)
{
    const ExecutorPtr other = MakeExecutor();
    LongFunction stuck;
    std::thread terminator = TerminateOnceBegun(stuck);
    RunThere([&] {
        Task task;
        EXPECT_EQ(task.Call(other, stuck.Function()), 517);
        const auto here = [&] { task.Call(mExecutor, [] { return 1; }); };
        EXPECT_EQ(CodeThrown(here), 3);
        EXPECT_THAT(FailedChecks(), ElementsAre("suspended context active in another thread"));
        EXPECT_FALSE(U_Context::HasCurrent());
        stuck.LetEnd();
        Drain(other);
        EXPECT_EQ(CodeThrown(here), 0);
        ExpectBack(task.context);
        task.End();
    });
    terminator.join();
}

// One thread at a time has the context, at whichever moment calls are given up: the state is
// counted up without a lock.
TEST_F(Termination, TerminationAtAnyMomentNeverSharesTheContext)
{
    Register("a");
    const ExecutorPtr other = MakeExecutor();
    for (int round = 0; round < 100; ++round)
    {
        const ContextPtr context = U_Context::MakeNewContext();
        const U_ContextSetter setter(context);
        int& touched = LoggedState::Of(*context, "a").mValue;
        std::atomic<int> holders(0);
        const auto touch = [&touched, &holders] {
            EXPECT_EQ(++holders, 1);
            std::this_thread::yield();
            --holders;
            return ++touched;
        };
        std::thread terminator([round] {
            for (int i = 0; i < (round % 50) * 20; ++i)
                std::this_thread::yield();
            U_SuspendContext::TerminateAndFailAllSuspendedContexts();
        });
        for (int call = 0; call < 4; ++call)
        {
            // The inner call may be given up while it has the context of the outer call.
            SuspendedCall(mExecutor, [touch, other] {
                touch();
                SuspendedCall(other, touch);
                return touch();
            });
            ExpectBack(context);
            touch();
        }
        terminator.join();
        Drain(mExecutor);
        Drain(other);
        Revive();
    }
}
