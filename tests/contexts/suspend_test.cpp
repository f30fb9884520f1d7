#include "U_Suspend.h"

#include <functional>
#include <memory>
#include <new>
#include <stdexcept>

#include <boost/make_shared.hpp>
#include <gmock/gmock.h>

#include <control.h>

#include "U_Threads.h"
#include "tests/contexts/States.h"

using krobase::threads::AsyncThreadedExecutor;
using krobase::threads::Gate;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
typedef boost::shared_ptr<U_SuspendContext> SuspendPtr;
typedef boost::shared_ptr<AsyncThreadedExecutor> ExecutorPtr;

const int kGenerous = 60000; // milliseconds

ExecutorPtr MakeExecutor()
{
    return krobase::threads::CreateAsyncThreadedExecutor(
        "test", 1, krobase::threads::kThreadPriorityNormal, {}, {});
}

// Waits until the executor has run all that was posted before.
void Drain(const ExecutorPtr& executor)
{
    const auto done = std::make_shared<Gate>(false);
    executor->Post([done] { done->Open(); }, 0);
    ASSERT_TRUE(done->PassThrough(kGenerous));
}

int SuspendedCall(const ExecutorPtr& executor, const boost::function<int()>& function)
{
    return U_SuspendContext::NewSuspendContext()->CallOnThreadedExecutor(executor, function);
}

class Suspend : public Contexts
{
protected:
    void TearDown() override
    {
        mExecutor.reset();
        Revive();
        Contexts::TearDown();
    }

    // Takes a termination back, which only tests can.
    static void Revive() { Reviver::Revive(); }

    // Expects the context to be back with this thread, whole.
    static void ExpectBack(const ContextPtr& context)
    {
        EXPECT_EQ(U_Context::GetCurrent(), context);
        EXPECT_EQ(context->GetThreadID(), ThisThread());
        EXPECT_EQ(CodeThrown([] { U_ContextSetter nested; }), 0);
    }

    ExecutorPtr mExecutor = MakeExecutor();

private:
    struct Reviver : U_SuspendContext
    {
        static void Revive() { S_terminated.CompareExchange(true, false); }
    };
};

// A function that runs until it is told to end.
class LongFunction
{
public:
    boost::function<int()> Function()
    {
        return [this] {
            mStarted.Open();
            EXPECT_TRUE(mMayEnd.PassThrough(kGenerous));
            if (mAtEnd)
                mAtEnd();
            return 5;
        };
    }

    void AwaitStart() { ASSERT_TRUE(mStarted.PassThrough(kGenerous)); }
    void LetEnd() { mMayEnd.Open(); }

    std::function<void()> mAtEnd;

private:
    Gate mStarted{false};
    Gate mMayEnd{false};
};
} // namespace

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
    EXPECT_THAT(Told(), ElementsAre("on a", "off a"));
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

TEST_F(Suspend, WhateverTheFunctionThrowsIsAnAnswer)
{
    struct Row
    {
        const char* name;
        boost::function<int()> function;
        int result;
    };
    const Row rows[] = {
        {"returns 0", [] { return 0; }, 0},
        {"returns -1", [] { return -1; }, -1},
        {"throws 7", []() -> int { throw 7; }, 7},
        {"throws 0", []() -> int { throw 0; }, 0},
        {"no memory", []() -> int { throw std::bad_alloc(); }, 4},
        {"exception", []() -> int { throw std::runtime_error("odd"); }, 14},
        {"no exception", []() -> int { throw "odd"; }, 14},
        {"empty", boost::function<int()>(), 14},
    };
    Register("a");
    const ContextPtr context = U_Context::MakeNewContext();
    const U_ContextSetter setter(context);
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.name);
        const std::size_t unhandled = mLog.Texts("UNHANDLED_EXCEPTION").size();
        EXPECT_EQ(SuspendedCall(mExecutor, row.function), row.result);
        EXPECT_EQ(mLog.Texts("UNHANDLED_EXCEPTION").size() - unhandled, row.result == 14 ? 1u : 0u);
        ExpectBack(context);
    }
    EXPECT_THAT(mLog.Texts("UNHANDLED_EXCEPTION").back(),
                testing::HasSubstr("What: call to empty boost::function"));
    EXPECT_THAT(Told(), ElementsAre("on a"));
}

TEST_F(Suspend, OnItsOwnThreadAnExecutorRunsTheFunctionAtOnce)
{
    const ContextPtr context = U_Context::MakeNewContext();
    U_SuspendContext::TerminateAndFailAllSuspendedContexts(); // which isn't asked here
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
            EXPECT_FALSE(U_Context::HasCurrent()) << "for another thread it is taken off again";
            suspended.reset();
            ExpectBack(context);
        },
        0);
    Drain(mExecutor);
    EXPECT_FALSE(context->IsActive());
}

TEST_F(Suspend, WithoutAContextTheFunctionRunsWithTheExecutorsOwn)
{
    EXPECT_EQ(SuspendedCall(mExecutor, [] { return U_Context::HasCurrent() ? 1 : 2; }), 2);
    const ContextPtr own = U_Context::MakeNewContext();
    mExecutor->Post([&] { Neighbour::Raise(*own); }, 0);
    EXPECT_EQ(SuspendedCall(mExecutor, [&] { return U_Context::GetCurrent() == own ? 1 : 2; }), 1);
    mExecutor->Post([&] { Neighbour::Lower(*own); }, 0);
    Drain(mExecutor);
}

TEST_F(Suspend, WhatWasCurrentOnTheExecutorLivesThroughTheCallAndIsCurrentNoMore)
{
    Register("a");
    ContextPtr own = U_Context::MakeNewContext();
    const boost::weak_ptr<U_Context> watched = own;
    mExecutor->Post([&] { Neighbour::Raise(*own); }, 0);
    Drain(mExecutor);
    {
        const U_ContextSetter setter(U_Context::MakeNewContext());
        EXPECT_EQ(SuspendedCall(mExecutor,
                                [&] {
                                    own.reset();
                                    return watched.expired() ? 1 : 2;
                                }),
                  2);
    }
    Drain(mExecutor);
    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(SuspendedCall(mExecutor, [] { return U_Context::HasCurrent() ? 1 : 2; }), 2);
}

TEST_F(Suspend, WrongUsesAreToldAndChangeNothing)
{
    Register("a");
    const ContextPtr context = U_Context::MakeNewContext();
    OnFreshThread([&] {
        LoggedState::Of(*context, "a").mThrows = true;
        CodeThrown([&] { Neighbour::Raise(*context); }); // current, and not active
        EXPECT_EQ(CodeThrown([] { U_SuspendContext::NewSuspendContext(); }), 3);
        EXPECT_THAT(FailedChecks(), ElementsAre("suspended context not active"));
        EXPECT_EQ(U_Context::GetCurrent(), context);
        LoggedState::Of(*context, "a").mThrows = false;
        const U_ContextSetter setter;

        SuspendPtr suspended = U_SuspendContext::NewSuspendContext();
        EXPECT_EQ(CodeThrown([&] { suspended->CallOnThreadedExecutor({}, {}); }), 3);
        EXPECT_EQ(suspended->CallOnThreadedExecutor(mExecutor, [] { return 1; }), 1);
        EXPECT_EQ(
            CodeThrown([&] { suspended->CallOnThreadedExecutor(mExecutor, [] { return 2; }); }), 3);
        EXPECT_THAT(FailedChecks(),
                    ElementsAre("executor is null", "suspended context already used"));
        suspended.reset();
        ExpectBack(context);
    });
}

TEST_F(Suspend, ACallSuspendsOnTheExecutorToo)
{
    Register("a");
    const ExecutorPtr other = MakeExecutor();
    const ContextPtr context = U_Context::MakeNewContext();
    const U_ContextSetter setter(context);
    EXPECT_EQ(SuspendedCall(mExecutor,
                            [&] {
                                const int inner = SuspendedCall(other, [&] {
                                    ExpectBack(context);
                                    return 20;
                                });
                                ExpectBack(context);
                                return inner + 1;
                            }),
              21);
    ExpectBack(context);
    EXPECT_THAT(Told(), ElementsAre("on a"));
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
        Drain(mExecutor); // the posted function held it too
        Told();
        suspended.reset();
        EXPECT_THAT(Told(), ElementsAre("off a while active"));
        EXPECT_FALSE(U_Context::HasCurrent());
        EXPECT_EQ(CodeThrown([] { U_ContextSetter next(U_Context::MakeNewContext()); }), 0);
    });
}

TEST_F(Suspend, AFunctionThatHasNotBegunNeverRuns)
{
    const ContextPtr context = U_Context::MakeNewContext();
    const U_ContextSetter setter(context);
    std::atomic<int> runs(0);
    const auto run = [&runs] { return ++runs; };
    for (const bool callerLeavesFirst : {false, true})
    {
        LongFunction before;
        mExecutor->Post(before.Function(), 0);
        std::thread terminator([&] {
            before.AwaitStart();
            U_SuspendContext::TerminateAndFailAllSuspendedContexts();
        });
        SuspendPtr suspended = U_SuspendContext::NewSuspendContext();
        EXPECT_EQ(suspended->CallOnThreadedExecutor(mExecutor, run), 517);
        EXPECT_EQ(suspended->CallOnThreadedExecutor(mExecutor, run), 517);
        terminator.join();
        if (callerLeavesFirst)
        {
            suspended.reset();
            Revive(); // even so it doesn't run: nobody waits for it any more
        }
        before.LetEnd();
        Drain(mExecutor);
        suspended.reset();
        ExpectBack(context);
        EXPECT_EQ(runs, 0);
        Revive();
    }
}

TEST_F(Suspend, AFunctionThatEndsSoonGivesTheContextBack)
{
    Register("a");
    const ContextPtr context = U_Context::MakeNewContext();
    const U_ContextSetter setter(context);
    LongFunction function;
    function.mAtEnd = [&] { ++LoggedState::Of(*context, "a").mTouched; };
    std::thread terminator([&] {
        function.AwaitStart();
        U_SuspendContext::TerminateAndFailAllSuspendedContexts();
    });
    SuspendPtr suspended = U_SuspendContext::NewSuspendContext();
    EXPECT_EQ(suspended->CallOnThreadedExecutor(mExecutor, function.Function()), 517);
    terminator.join();
    EXPECT_NE(context->GetThreadID(), U_NoThreadID) << "it is the executor's still";
    std::thread ender([&] { function.LetEnd(); });
    suspended.reset();
    ExpectBack(context);
    EXPECT_EQ(LoggedState::Of(*context, "a").mTouched, 2);
    ender.join();
    EXPECT_THAT(Told(), ElementsAre("on a"));
}

TEST_F(Suspend, AFunctionThatIsStuckKeepsTheContextForItself)
{
    Register("a");
    const ContextPtr context = U_Context::MakeNewContext();
    LongFunction function;
    U_u32 executorThread = 0;
    function.mAtEnd = [&] {
        ExpectBack(context);
        executorThread = ThisThread();
    };
    {
        const U_ContextSetter setter(context);
        std::thread terminator([&] {
            function.AwaitStart();
            U_SuspendContext::TerminateAndFailAllSuspendedContexts();
        });
        EXPECT_EQ(SuspendedCall(mExecutor, function.Function()), 517);
        terminator.join();
        EXPECT_FALSE(U_Context::HasCurrent());
        EXPECT_EQ(CodeThrown([] { U_ContextSetter next(U_Context::MakeNewContext()); }), 0)
            << "the thread is free for another";
    }
    EXPECT_TRUE(context->IsActive());
    const Lines before = Told();
    function.LetEnd();
    Drain(mExecutor);
    EXPECT_EQ(before.size(), 3u) << "those of this context and the next; not told off here";
    EXPECT_THAT(Told(), ElementsAre("off a")) << "the last one out tells the states";
    EXPECT_NE(executorThread, ThisThread());
    EXPECT_FALSE(context->IsActive());
    EXPECT_EQ(context->GetThreadID(), U_NoThreadID);
}

// Nobody on the way back has the context while a function further on keeps it.
TEST_F(Suspend, ALoanThatIsLostFurtherOnIsLostToAllWhoLent)
{
    for (const bool lenderRunsHere : {false, true})
    {
        SCOPED_TRACE(lenderRunsHere);
        const ExecutorPtr other = MakeExecutor();
        const ContextPtr context = U_Context::MakeNewContext();
        LongFunction stuck;
        const auto lendOn = [&] { return SuspendedCall(other, stuck.Function()); };
        std::thread terminator([&] {
            stuck.AwaitStart();
            U_SuspendContext::TerminateAndFailAllSuspendedContexts();
        });
        const auto lend = [&] {
            const U_ContextSetter setter(context);
            SuspendPtr suspended = U_SuspendContext::NewSuspendContext();
            EXPECT_EQ(suspended->CallOnThreadedExecutor(mExecutor, lendOn), 517);
            if (!lenderRunsHere)
                Drain(mExecutor); // the function in between has ended
            suspended.reset();
            EXPECT_FALSE(U_Context::HasCurrent());
            EXPECT_NE(context->GetThreadID(), ThisThread());
        };
        if (lenderRunsHere)
        {
            mExecutor->Post(lend, 0);
            Drain(mExecutor);
        }
        else
        {
            lend();
        }
        terminator.join();
        stuck.LetEnd();
        Drain(other);
        EXPECT_FALSE(context->IsActive());
        Revive();
    }
}

TEST_F(Suspend, ACallHereDoesNotTakeTheContextFromAFunctionThatKeepsIt)
{
    const ContextPtr context = U_Context::MakeNewContext();
    const ExecutorPtr other = MakeExecutor();
    LongFunction stuck;
    std::thread terminator([&] {
        stuck.AwaitStart();
        U_SuspendContext::TerminateAndFailAllSuspendedContexts();
    });
    mExecutor->Post(
        [&] {
            const U_ContextSetter setter(context);
            SuspendPtr suspended = U_SuspendContext::NewSuspendContext();
            EXPECT_EQ(suspended->CallOnThreadedExecutor(other, stuck.Function()), 517);
            const auto here = [&] {
                suspended->CallOnThreadedExecutor(mExecutor, [] { return 1; });
            };
            EXPECT_EQ(CodeThrown(here), 3);
            EXPECT_THAT(FailedChecks(), ElementsAre("suspended context active in another thread"));
            EXPECT_FALSE(U_Context::HasCurrent());
            stuck.LetEnd();
            Drain(other);
            EXPECT_EQ(CodeThrown(here), 0);
            ExpectBack(context);
            suspended.reset();
            ExpectBack(context);
        },
        0);
    Drain(mExecutor);
    terminator.join();
    EXPECT_FALSE(context->IsActive());
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
    EXPECT_EQ(SuspendedCall(mExecutor, [] { return 1; }), 3) << "it isn't lost there";
    context->mMayActivate = true;
    ExpectBack(context);
}

// Whatever the moment of the termination, one thread at a time has the context:
// its state is counted up without a lock.
TEST_F(Suspend, TerminationAtAnyMomentNeverSharesTheContext)
{
    Register("a");
    const ExecutorPtr other = MakeExecutor();
    for (int round = 0; round < 300; ++round)
    {
        const ContextPtr context = U_Context::MakeNewContext();
        const U_ContextSetter setter(context);
        int& touched = LoggedState::Of(*context, "a").mTouched;
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
            // The inner one is given up while the context is lent on.
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

TEST_F(Suspend, ManyCallsOverSeveralExecutorsKeepEachContextWhole)
{
    const int kTasks = 4;
    const int kCalls = 2500;
    Register("a");
    std::vector<ExecutorPtr> executors;
    for (int i = 0; i < 4; ++i)
        executors.push_back(MakeExecutor());
    std::vector<std::thread> tasks;
    for (int task = 0; task < kTasks; ++task)
    {
        tasks.emplace_back([&, task] {
            const ContextPtr context = U_Context::MakeNewContext();
            const U_ContextSetter setter(context);
            LoggedState& state = LoggedState::Of(*context, "a");
            for (int call = 0; call < kCalls; ++call)
            {
                const int expected = ++state.mTouched + 1;
                const int result = SuspendedCall(
                    executors[static_cast<std::size_t>(task + call) % executors.size()], [&state] {
                        const ContextPtr current = U_Context::GetCurrent();
                        return &LoggedState::Of(*current, "a") == &state ? ++state.mTouched : -1;
                    });
                ASSERT_EQ(result, expected);
                ASSERT_EQ(state.mTouched, expected);
                ASSERT_EQ(U_Context::GetCurrent(), context);
            }
        });
    }
    for (std::thread& task : tasks)
        task.join();
    EXPECT_EQ(Told().size(), 2u * kTasks);
}

TEST_F(Suspend, AnEventLoopRunsTheFunctionWhenItPumps)
{
    const ContextPtr context = U_Context::MakeNewContext();
    const auto loop = krobase::threads::CreateAsyncEventLoopAdaptor();
    const U_u32 loopThread = ThisThread();
    const auto call = [&](const boost::function<int()>& function) {
        const U_ContextSetter setter(context);
        const SuspendPtr suspended = U_SuspendContext::NewSuspendContext();
        return suspended->CallOnEventLoopAdaptorExecutor(loop, function);
    };
    std::atomic<int> result(0);
    std::thread worker([&] {
        result = call([&]() -> int {
            ExpectBack(context);
            throw ThisThread() == loopThread ? 8 : 9;
        });
    });
    while (!result)
        U_Context::CheckAbortAndFlushCompletionRoutines();
    worker.join();
    EXPECT_EQ(result, 8);
    EXPECT_EQ(call([] { return 1; }), 1) << "at once on the loop's own thread";
}
