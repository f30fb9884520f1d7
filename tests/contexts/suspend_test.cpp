#include <new>
#include <stdexcept>
#include <tuple>

#include <boost/make_shared.hpp>
#include <gmock/gmock.h>

#include <platform/control.h>

#include "U_Threads.h"
#include "tests/contexts/Suspensions.h"
#include "tests/support/FailingNew.h"

using testing::ElementsAre;

TEST_F(Suspend, TheContextIsHandedOverAndBackStepByStep)
{
    Register("a");
    const ContextPtr context = U_Context::MakeNewContext();
    const std::string id = std::to_string(context->GetContextID());
    U_u32 executorThread = 0;
    {
        const U_ContextSetter setter(context);
        const U_ContextSetter nested;
        StartTraces("U_Context", 6);

        SuspendPtr suspended = U_SuspendContext::NewSuspendContext();
        EXPECT_FALSE(U_Context::HasCurrent());
        EXPECT_EQ(context->GetThreadID(), U_NoThreadID);
        EXPECT_TRUE(context->IsActive());
        EXPECT_EQ(suspended->CallOnThreadedExecutor(mExecutor,
                                                    [&] {
                                                        executorThread = ThisThread();
                                                        ExpectBack(context);
                                                        return 42;
                                                    }),
                  42);
        EXPECT_FALSE(U_Context::HasCurrent());
        EXPECT_EQ(context->GetThreadID(), U_NoThreadID);
        suspended.reset();
        ExpectBack(context);
        platform::SetTrace(nullptr, 0);
    }
    const std::string here = "<" + std::to_string(ThisThread()) + "> <U_Context> <6> ";
    const std::string there = "<" + std::to_string(executorThread) + "> <U_Context> <6> ";
    EXPECT_NE(here, there);
    EXPECT_THAT(HookCalls(), ElementsAre("on a", "off a"));
    EXPECT_THAT(Traces(),
                ElementsAre(here + "sThreadContext unset " + id + " from U_SuspendContext\r\n",
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
    const ContextPtr context = U_Context::MakeNewContext();
    const U_ContextSetter setter(context);
    for (const auto& [name, function, result] : rows)
    {
        SCOPED_TRACE(name);
        const std::size_t unhandled = mLog.Texts("UNHANDLED_EXCEPTION").size();
        EXPECT_EQ(SuspendedCall(mExecutor, function), result);
        EXPECT_EQ(mLog.Texts("UNHANDLED_EXCEPTION").size() - unhandled, result == 14 ? 1u : 0u);
        ExpectBack(context);
    }
    EXPECT_THAT(mLog.Texts("UNHANDLED_EXCEPTION").back(),
                testing::HasSubstr("What: call to empty boost::function"));
    EXPECT_THAT(HookCalls(), ElementsAre("on a"));
}

TEST_F(Suspend, OnItsOwnThreadAnExecutorRunsTheFunctionAtOnce)
{
    const ContextPtr context = U_Context::MakeNewContext();
    U_SuspendContext::TerminateAndFailAllSuspendedContexts(); // does not stop calls on the own
                                                              // thread
    mExecutor->Post(
        [&] {
            const U_ContextSetter setter(context);
            SuspendPtr suspended = U_SuspendContext::NewSuspendContext();
            const auto call = [&](const boost::function<int()>& function) {
                return suspended->CallOnThreadedExecutor(mExecutor, function);
            };
            EXPECT_EQ(call([&] {
                          ExpectBack(context);
                          return 3;
                      }),
                      3);
            EXPECT_EQ(CodeThrown([&] { call([]() -> int { throw 7; }); }), 7);
            EXPECT_THROW(call({}), boost::bad_function_call);
            ExpectBack(context);

            Revive();
            EXPECT_EQ(suspended->CallOnThreadedExecutor(MakeExecutor(), [] { return 4; }), 4);
            EXPECT_FALSE(U_Context::HasCurrent())
                << "a call to another thread detaches the context again";
            suspended.reset();
            ExpectBack(context);
        },
        0);
    Drain(mExecutor);
    EXPECT_FALSE(context->IsActive());
}

TEST_F(Suspend, TheExecutorsOwnContextLivesThroughTheCall)
{
    const auto hasCurrent = [] { return U_Context::HasCurrent() ? 1 : 2; };
    EXPECT_EQ(SuspendedCall(mExecutor, hasCurrent), 2);
    ContextPtr own = U_Context::MakeNewContext();
    const boost::weak_ptr<U_Context> watched = own;
    mExecutor->Post([&] { Neighbour::Raise(*own); }, 0);
    EXPECT_EQ(SuspendedCall(mExecutor, [&] { return U_Context::GetCurrent() == own ? 1 : 2; }), 1);
    {
        const U_ContextSetter setter(U_Context::MakeNewContext());
        const auto endOwn = [&] {
            own.reset();
            return watched.expired() ? 1 : 2;
        };
        EXPECT_EQ(SuspendedCall(mExecutor, endOwn), 2);
    }
    Drain(mExecutor);
    EXPECT_TRUE(watched.expired());
    mExecutor->Post(
        [&] {
            EXPECT_EQ(SuspendedCall(mExecutor, hasCurrent), 2);
            EXPECT_FALSE(U_Context::HasCurrent());
        },
        0);
    Drain(mExecutor);
}

TEST_F(Suspend, MisuseIsReportedAndChangesNothing)
{
    Register("a");
    const ContextPtr context = U_Context::MakeNewContext();
    OnFreshThread([&] {
        LoggedState::Of(*context, "a").mThrows = true;
        CodeThrown([&] { Neighbour::Raise(*context); }); // current but not active
        EXPECT_EQ(CodeThrown([] { U_SuspendContext::NewSuspendContext(); }), 3);
        EXPECT_THAT(FailedChecks(), ElementsAre("suspended context not active"));
        EXPECT_EQ(U_Context::GetCurrent(), context);
        LoggedState::Of(*context, "a").mThrows = false;
        const U_ContextSetter setter;

        SuspendPtr suspended = U_SuspendContext::NewSuspendContext();
        EXPECT_EQ(CodeThrown([&] { suspended->CallOnThreadedExecutor({}, {}); }), 3);
        EXPECT_THAT(FailedChecks(), ElementsAre("executor is null"));
        suspended.reset();
        ExpectBack(context);
    });
}

TEST_F(Suspend, AContextMayEndWhileItIsSuspended)
{
    Register("a");
    OnFreshThread([&] {
        ContextPtr context = U_Context::MakeNewContext();
        Neighbour::Raise(*context);
        SuspendPtr suspended = U_SuspendContext::NewSuspendContext();
        context.reset();
        EXPECT_EQ(suspended->CallOnThreadedExecutor(
                      mExecutor, [] { return U_Context::GetCurrent()->IsActive() ? 1 : 2; }),
                  1);
        Drain(mExecutor); // the posted function owned the context too
        HookCalls();
        suspended.reset();
        EXPECT_THAT(HookCalls(), ElementsAre("off a while active"));
        EXPECT_FALSE(U_Context::HasCurrent());
        EXPECT_EQ(CodeThrown([] { U_ContextSetter next(U_Context::MakeNewContext()); }), 0);
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
    mExecutor->Post(
        [] {
            EXPECT_FALSE(U_Context::HasCurrent()) << "the executor's thread has no context either";
        },
        0);
    Drain(mExecutor);
    context->mMayActivate = true;
    ExpectBack(context);
}

// A function may pump messages, so that the call of another task runs inside its own.
TEST_F(Suspend, AnotherCallInsideTheFunctionTakesNoContextAway)
{
    const auto loop = krobase::threads::CreateAsyncEventLoopAdaptor();
    const auto pump = [] { U_Context::CheckAbortAndFlushCompletionRoutines(); };
    for (const bool here : {false, true})
    {
        SCOPED_TRACE(here ? "the thread's own call" : "a posted call");
        std::atomic<bool> inside(false);
        std::thread other;
        const auto letOtherIn = [&] {
            other = std::thread([&] {
                const U_ContextSetter task(U_Context::MakeNewContext());
                const SuspendPtr suspended = U_SuspendContext::NewSuspendContext();
                suspended->CallOnEventLoopAdaptorExecutor(loop, [&] {
                    inside = true;
                    return 0;
                });
            });
            while (!inside)
                pump();
            return 1;
        };
        const auto call = [&] {
            const ContextPtr context = U_Context::MakeNewContext();
            const U_ContextSetter task(context);
            {
                const SuspendPtr suspended = U_SuspendContext::NewSuspendContext();
                EXPECT_EQ(suspended->CallOnEventLoopAdaptorExecutor(loop, letOtherIn), 1);
            }
            ExpectBack(context);
        };
        if (here)
            call();
        else
        {
            std::atomic<bool> done(false);
            std::thread caller([&] {
                call();
                done = true;
            });
            while (!done)
                pump();
            caller.join();
        }
        // The other call waits until its function has ended.
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
        const auto call = [&] {
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
