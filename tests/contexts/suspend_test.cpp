#include <new>
#include <stdexcept>
#include <tuple>

#include <boost/make_shared.hpp>
#include <gmock/gmock.h>

#include <win32/message_queue.h>

#include "U_Threads.h"
#include "tests/contexts/Suspensions.h"

using testing::ElementsAre;

TEST_F(Suspend, TheContextIsHandedOverAndBackStepByStep)
{
    Register("a");
    std::string id;
    U_u32 executorThread = 0;
    {
        StartTraces("U_Context", 6);
        Task task;
        id = std::to_string(task.context->GetContextID());
        const auto function = [&] {
            executorThread = ThisThread();
            ExpectBack(task.context);
            return 42;
        };
        for (int calls = 0; calls < 2; ++calls)
        {
            EXPECT_FALSE(U_Context::HasCurrent());
            EXPECT_EQ(task.context->GetThreadID(), U_NoThreadID);
            EXPECT_TRUE(task.context->IsActive());
            EXPECT_TRUE(calls || task.Call(mExecutor, function) == 42);
        }
        task.End();
        platform::SetTrace(nullptr, 0);
    }
    const std::string here = "<" + std::to_string(ThisThread()) + "> <U_Context> <6> ";
    const std::string there = "<" + std::to_string(executorThread) + "> <U_Context> <6> ";
    EXPECT_NE(here, there);
    EXPECT_THAT(HookCalls(), ElementsAre("on a", "off a"));
    EXPECT_THAT(Traces(),
                ElementsAre(here + "sThreadContext unset -1 from AttachContextTLS\r\n",
                            here + "sThreadContext set " + id + "\r\n",
                            here + "sThreadContext unset " + id + " from U_SuspendContext\r\n",
                            there + "sThreadContext unset -1 from AttachContextTLS\r\n",
                            there + "sThreadContext set " + id + "\r\n",
                            there + "sThreadContext unset -1 from ~U_ResumeContext\r\n",
                            there + "inGate opened for " + id + "\r\n",
                            here + "sThreadContext unset -1 from AttachContextTLS\r\n",
                            here + "sThreadContext set " + id + "\r\n",
                            here + "~U_SuspendContext for " + id + "\r\n"));
}

TEST_F(Suspend, ExceptionsOfTheFunctionAreTheResult)
{
    const std::tuple<const char*, boost::function<int()>, int> rows[] = {
        {"returns -1", [] { return -1; }, -1},
        {"throws 7", []() -> int { throw 7; }, 7},
        {"no memory", []() -> int { throw std::bad_alloc(); }, 4},
        {"exception", []() -> int { throw std::runtime_error("odd"); }, 14},
        {"no exception", []() -> int { throw "odd"; }, 14},
        {"empty", boost::function<int()>(), 14},
    };
    Register("a");
    Task task;
    for (const auto& [name, function, result] : rows)
    {
        SCOPED_TRACE(name);
        const std::size_t unhandled = mLog.Texts("UNHANDLED_EXCEPTION").size();
        EXPECT_EQ(task.Call(mExecutor, function), result);
        EXPECT_EQ(mLog.Texts("UNHANDLED_EXCEPTION").size() - unhandled, result == 14 ? 1u : 0u);
        task.End();
        task.Suspend();
    }
    EXPECT_THAT(mLog.Texts("UNHANDLED_EXCEPTION").back(),
                testing::HasSubstr("What: call to empty boost::function"));
    EXPECT_THAT(HookCalls(), ElementsAre("on a"));
}

// The model of contexts has the results of such calls.
TEST_F(Suspend, ACallHereMayBeFollowedByACallToAnotherThread)
{
    RunThere([&] {
        Task task;
        EXPECT_THROW(task.Call(mExecutor, {}), boost::bad_function_call);
        ExpectBack(task.context);
        EXPECT_EQ(task.Call(MakeExecutor(), [] { return 4; }), 4);
        EXPECT_FALSE(U_Context::HasCurrent()) << "the context is detached again";
        task.End();
    });
}

TEST_F(Suspend, TheExecutorsOwnContextLivesThroughTheCall)
{
    const auto hasCurrent = [] { return U_Context::HasCurrent() ? 1 : 2; };
    EXPECT_EQ(SuspendedCall(mExecutor, hasCurrent), 2);
    ContextPtr own = U_Context::MakeNewContext();
    const boost::weak_ptr<U_Context> watched = own;
    RunThere([&] { Neighbour::Raise(*own); });
    EXPECT_EQ(SuspendedCall(mExecutor, [&] { return U_Context::GetCurrent() == own ? 1 : 2; }), 1);
    {
        const U_ContextSetter setter(U_Context::MakeNewContext());
        const auto endOwn = [&] {
            own.reset();
            return watched.expired() ? 1 : 2;
        };
        EXPECT_EQ(SuspendedCall(mExecutor, endOwn), 2);
    }
    RunThere([&] { EXPECT_TRUE(watched.expired()); });
    RunThere([&] {
        EXPECT_EQ(SuspendedCall(mExecutor, hasCurrent), 2);
        EXPECT_FALSE(U_Context::HasCurrent());
    });
}

TEST_F(Suspend, AContextThatCannotBecomeActiveThereComesBack)
{
    struct Refusing : U_Context
    {
        void Activate() override
        {
            if (!mMayActivate)
                throw 3;
            U_Context::Activate();
        }
        bool mMayActivate = true;
    };
    const auto context = boost::make_shared<Refusing>();
    const U_ContextSetter setter(context);
    context->mMayActivate = false;
    EXPECT_EQ(SuspendedCall(mExecutor, [] { return 1; }), 3);
    RunThere([] { EXPECT_FALSE(U_Context::HasCurrent()) << "on the executor's thread either"; });
    context->mMayActivate = true;
    ExpectBack(context);
}

// A function may pump messages, so that the call of another task runs inside its own.
TEST_F(Suspend, AnotherCallInsideTheFunctionTakesNoContextAway)
{
    const auto loop = krobase::threads::CreateAsyncEventLoopAdaptor();
    const U_u32 loopThread = ThisThread();
    const auto pumpUntil = [](const std::atomic<bool>& flag) {
        win32::MSG message;
        while (!flag && win32::GetMessageW(&message, nullptr, 0, 0) > 0)
            win32::DispatchMessageW(&message);
    };
    const auto callOnLoop = [&](const boost::function<int()>& function) {
        Task task;
        EXPECT_EQ(task.suspended->CallOnEventLoopAdaptorExecutor(loop, function), 1);
        task.End(); // waits until the function has ended
    };
    for (const bool here : {false, true})
    {
        SCOPED_TRACE(here ? "the thread's own call" : "a posted call");
        std::atomic<bool> inside(false);
        std::atomic<bool> done(here);
        std::thread other;
        const auto enter = [&] {
            inside = true;
            return 1;
        };
        const auto letOtherIn = [&] {
            other = std::thread([&] { callOnLoop(enter); });
            pumpUntil(inside);
            return 1;
        };
        std::thread caller;
        if (here)
            callOnLoop(letOtherIn);
        else
            caller = std::thread([&] {
                callOnLoop(letOtherIn);
                done = true;
                platform::PostThreadMessage(loopThread, win32::kWmUser, 0, 0);
            });
        pumpUntil(done);
        if (!here)
            caller.join();
        other.join();
    }
}

// The end of the suspension takes the context back, also from a thread that still runs.
TEST_F(Suspend, AContextThatAThirdThreadTookOverComesBack)
{
    Register("a");
    for (const auto& [here, goesOn] :
         {std::pair(false, false), {false, true}, {true, false}, {true, true}})
    {
        SCOPED_TRACE(std::to_string(here) + std::to_string(goesOn));
        const ContextPtr context = U_Context::MakeNewContext();
        const ExecutorPtr third = MakeExecutor();
        LongFunction job;
        const auto function = [&, goesOn = goesOn] {
            third->Post(
                [&] {
                    const U_WeakContextSetter setter(context);
                    job.Function()();
                },
                0);
            job.AwaitStart();
            EXPECT_NE(context->GetThreadID(), ThisThread());
            if (!goesOn)
            {
                job.LetEnd();
                Drain(third);
            }
            return 1;
        };
        const auto call = [&, here = here] {
            const U_ContextSetter setter(context);
            SuspendPtr suspended = U_SuspendContext::NewSuspendContext();
            EXPECT_EQ(suspended->CallOnThreadedExecutor(mExecutor, function), 1);
            EXPECT_TRUE(here || context->GetThreadID() == U_NoThreadID);
            suspended.reset();
            ExpectBack(context);
            job.LetEnd();
            Drain(third);
            ExpectBack(context);
        };
        if (here)
            mExecutor->Post(call, 0);
        else
            call();
        Drain(mExecutor);
        EXPECT_THAT(HookCalls(), ElementsAre("on a", "off a"));
        EXPECT_FALSE(context->IsActive());
    }
}
