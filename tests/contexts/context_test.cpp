#include <algorithm>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>

#include <boost/make_shared.hpp>
#include <gmock/gmock.h>

#include <krobase/gate.h>
#include <platform/control.h>

#include "U_Context.h"
#include "U_Threads.h"
#include "tests/contexts/States.h"

using krobase::utility::ImmutableString;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
const char kNone[] = "no current context";
const char kGone[] = "current context is gone";
const char kAnother[] = "another context is already active";
const char kElsewhere[] = "context already active in another thread";

struct Step
{
    const char* text;  // the number of a thread, an operation, and a context; '0' is no context
    const char* trace; // the hooks that were called, or the failed check, or the answer
};

// Plays steps on threads of their own, with contexts that have one state, "s".
class ContextSteps : public Contexts
{
protected:
    void SetUp() override
    {
        Contexts::SetUp();
        Register("s");
    }

    void TearDown() override
    {
        mThreads.clear();
        mContexts.clear();
        Contexts::TearDown();
    }

    void Play(std::initializer_list<Step> steps)
    {
        for (const Step& step : steps)
        {
            Thread& thread = mThreads[step.text[0]];
            ContextPtr& context = mContexts[step.text[2]];
            if (!context && step.text[2] != '0')
                context = U_Context::MakeNewContext();
            Lines trace;
            const auto run = [&] { trace = {Run(thread, step.text[1], context)}; };
            krobase::threads::Gate done(false);
            thread.executor->Post(
                [&] {
                    thread.id = ThisThread();
                    const int code = CodeThrown(run);
                    const Lines hooks = HookCalls();
                    if (code == 3 || !hooks.empty())
                        trace = code ? FailedChecks() : hooks;
                    EXPECT_TRUE(step.text[1] != '?' || U_Context::HasCurrent() == (code == 0));
                    done.Open();
                },
                0);
            ASSERT_TRUE(done.PassThrough(kGenerous));
            EXPECT_THAT(trace, ElementsAre(step.trace))
                << &step - steps.begin() << ": " << step.text;
        }
    }

private:
    struct Thread
    {
        const ExecutorPtr executor = MakeExecutor();
        std::vector<std::shared_ptr<void>> setters;
        U_u32 id = 0;
    };

    std::string Run(Thread& thread, char operation, ContextPtr& context)
    {
        switch (operation)
        {
        case '+':
            Neighbour::Raise(*context);
            break;
        case '-':
            Neighbour::Lower(*context);
            break;
        case '~':
            context.reset();
            break;
        case '(':
            thread.setters.push_back(std::make_shared<U_ContextSetter>(context));
            break;
        case '[':
            thread.setters.push_back(std::make_shared<U_WeakContextSetter>(context));
            break;
        case ')': // ends the newest setter
            thread.setters.pop_back();
            break;
        case '@':
            for (const auto& [number, other] : mThreads)
            {
                if (context->GetThreadID() == other.id)
                    return {number};
            }
            EXPECT_EQ(context->GetThreadID(), U_NoThreadID);
            return "nowhere";
        default:
            const ContextPtr current = U_Context::GetCurrent();
            for (const auto& [letter, other] : mContexts)
            {
                if (other == current)
                    return {letter};
            }
        }
        return "";
    }

    std::map<char, Thread> mThreads;
    std::map<char, ContextPtr> mContexts;
};
} // namespace

TEST_F(ContextSteps, EachOperationFailsAsTheCurrentContextRequires)
{
    Play({{"1?0", kNone}, {"1(0", kNone}, {"1[0", ""}, {"1?0", kNone}});
    Play({{"1(a", "on s"}, {"1?0", "a"}, {"1(0", ""}, {"1(a", ""}, {"1[0", ""}, {"1[b", ""}});
    Play({{"1(b", kAnother}, {"1+b", kAnother}, {"1?0", "a"}, {"2(b", "on s"}, {"2)0", "off s"}});
    // A context that another thread has destroyed.
    Play({{"3+c", "on s"}, {"1~c", "off s while active"}, {"3?0", kGone}, {"3(0", kGone}});
    Play({{"3(b", kGone}, {"3[b", kGone}, {"3[0", ""}, {"1?0", "a"}, {"2?0", kNone}});
}

TEST_F(ContextSteps, NestedSettersCallEachHookOnce)
{
    Play({{"1@a", "nowhere"}, {"1(a", "on s"}, {"1(0", ""}, {"1(a", ""}, {"1[a", ""}});
    Play({{"1@a", "1"}, {"1)0", ""}, {"1)0", ""}, {"1)0", ""}, {"1?0", "a"}});
    Play({{"1)0", "off s"}, {"1?0", kNone}, {"1@a", "1"}}); // the last thread
    Play({{"2[a", "on s"}, {"2@a", "2"}, {"2)0", "off s"}});
}

TEST_F(ContextSteps, AnActiveContextThatIsDestroyedCallsItsHooksAndFreesItsThread)
{
    Play({{"1[a", "on s"}, {"1~a", "off s while active"}, {"1(b", "on s"}, {"2+c", "on s"}});
    Play({{"1~c", "off s while active"}, {"1?0", "b"}}); // the context of another thread
}

TEST_F(ContextSteps, AThreadWithoutAContextTakesOneOver)
{
    Play({{"1+a", "on s"}, {"2+a", ""}, {"2@a", "2"}, {"1(0", kElsewhere}});
    // The context belongs to thread 2 now: deactivations of thread 1 only lower the count.
    Play({{"1-a", ""}, {"1-a", ""}, {"1?0", "a"}, {"2+a", "on s"}});
    // The last deactivation calls the hook, on any thread, but not next to a destroyed context.
    Play({{"3+b", "on s"}, {"4-b", "off s"}, {"3+b", "on s"}});
    Play({{"5+c", "on s"}, {"1~c", "off s while active"}, {"5-b", ""}, {"3+b", "on s"}});
}

TEST_F(Contexts, AHookThatThrowsStopsTheRestAndAddsNoActivation)
{
    const Lines keys = {"a", "b", "c"};
    for (const std::string& key : keys)
        Register(key.c_str());
    for (const std::string& thrower : keys)
    {
        SCOPED_TRACE(thrower);
        OnFreshThread([&] {
            const ContextPtr context = U_Context::MakeNewContext();
            LoggedState& state = LoggedState::Of(*context, thrower.c_str());
            state.mThrows = true;
            EXPECT_EQ(CodeThrown([&] { U_ContextSetter setter(context); }), 9);
            const Lines calls = HookCalls();
            EXPECT_EQ(calls.back(), "on " + thrower);
            EXPECT_FALSE(context->IsActive());
            EXPECT_EQ(U_Context::GetCurrent(), context) << "the context stays the thread's";

            state.mThrows = false;
            {
                const U_ContextSetter again;
                EXPECT_EQ(HookCalls().size(), keys.size()) << "all hooks are called again";
                state.mThrows = true;
            }
            EXPECT_EQ(HookCalls().size(), calls.size()) << "a setter's end throws nothing";
            EXPECT_FALSE(context->IsActive());
            state.mThrows = false;
            Neighbour::Raise(*context);
            state.mThrows = true;
            HookCalls();
        });
        EXPECT_EQ(HookCalls().size(), keys.size()) << "the destructor calls all hooks";
    }
}

TEST_F(Contexts, ExceptionsOfOnDeactivateLeaveNoDestructor)
{
    struct Odd : LoggedState
    {
        using LoggedState::LoggedState;
        void OnDeactivate() override { throw "odd"; }
    };
    Register("a", [](U_Context* context) { return boost::make_shared<Odd>(context, "a"); });
    const std::function<void(const ContextPtr&)> ends[] = {
        [](const ContextPtr& context) { U_ContextSetter setter(context); },
        [](const ContextPtr& context) { U_WeakContextSetter setter(context); },
        [](const ContextPtr& context) { Neighbour::Raise(*context); }, // until its destruction
    };
    for (const auto& end : ends)
    {
        const std::size_t before = mLog.Texts("UNHANDLED_EXCEPTION").size();
        OnFreshThread([&] { end(U_Context::MakeNewContext()); });
        EXPECT_EQ(mLog.Texts("UNHANDLED_EXCEPTION").size(), before + 1);
    }
}

TEST_F(Contexts, AFactoryThatThrowsLeavesNothingBehind)
{
    struct NotANumber
    {
    };
    const U_StateFactory failures[] = {
        [](U_Context*) -> boost::shared_ptr<U_State> { throw 5; },
        [](U_Context*) -> boost::shared_ptr<U_State> { throw NotANumber(); },
        U_StateFactory(),
    };
    for (const U_StateFactory& failure : failures)
    {
        Register("a");
        Register("failing", failure);
        Register("z"); // so that states are made before the failing one in any order of keys
        Register("y");
        EXPECT_ANY_THROW(U_Context::MakeNewContext());
        EXPECT_EQ(CountingState::sLiving, 0);
        OnFreshThread([this] { Unregister(); }); // would wait forever for a lock that is still held
        EXPECT_NO_THROW(U_Context::MakeNewContext());
    }
}

TEST_F(Contexts, ContextsAreBuiltInParallelAndEachHasAnIdOfItsOwn)
{
    krobase::threads::Gate bothAreThere(false);
    std::atomic<int> there(0);
    Register("a", [&](U_Context*) {
        if (++there == 2)
            bothAreThere.Open();
        EXPECT_TRUE(bothAreThere.PassThrough(kGenerous));
        return boost::shared_ptr<U_State>();
    });
    U_i64 other = 0;
    std::thread builder([&] { other = U_Context::MakeNewContext()->GetContextID(); });
    const U_i64 own = U_Context::MakeNewContext()->GetContextID();
    builder.join();
    const U_i64 next = U_Context::MakeNewContext()->GetContextID();
    EXPECT_NE(own, other);
    EXPECT_EQ(next, std::max(own, other) + 1);
}

TEST_F(Contexts, RegistrationsCountForContextsMadeAfterThem)
{
    const ContextPtr before = U_Context::MakeNewContext();
    Register("a");
    Register("null", [](U_Context*) { return boost::shared_ptr<U_State>(); });
    Register("a",
             [](U_Context*) -> boost::shared_ptr<U_State> { throw 5; }); // the first factory stays
    const ContextPtr context = U_Context::MakeNewContext();
    Unregister();
    U_Context::UnregisterState(ImmutableString("a"));
    const ContextPtr after = U_Context::MakeNewContext();

    EXPECT_EQ(CodeThrown([&] { Neighbour::Find(*before, "a"); }), 1);
    EXPECT_EQ(CodeThrown([&] { Neighbour::Find(*after, "a"); }), 1);
    EXPECT_THAT(FailedChecks(), IsEmpty());
    EXPECT_EQ(&LoggedState::Of(*context, "a").Owner(), context.get());
    EXPECT_EQ(Neighbour::Find(*context, "null"), nullptr);
    EXPECT_EQ(CodeThrown([&] { U_ContextSetter setter(context); }), 0);
    EXPECT_THAT(HookCalls(), ElementsAre("on a", "off a"));
}

TEST_F(Contexts, ACopySharesTheStatesAndIsNotCurrent)
{
    Register("a");
    const ContextPtr context = U_Context::MakeNewContext();
    const U_ContextSetter setter(context);
    {
        const U_Context copy(*context);
        EXPECT_EQ(copy.GetContextID(), context->GetContextID());
        EXPECT_EQ(copy.GetThreadID(), ThisThread());
        EXPECT_TRUE(copy.IsActive());
    }
    EXPECT_THAT(HookCalls(),
                ElementsAre("on a", "off a while active")); // the original is active too
    EXPECT_FALSE(U_Context::HasCurrent()) << "contexts are compared by id";

    const ContextPtr assigned = U_Context::MakeNewContext();
    *assigned = *context;
    EXPECT_EQ(&LoggedState::Of(*assigned, "a"), &LoggedState::Of(*context, "a"));
    EXPECT_EQ(assigned->shared_from_this(), assigned);
    Neighbour::Lower(*assigned); // or its destructor would call the shared state
}

TEST_F(Contexts, AMissingContextIsTracedAndALostTraceIsNoFailure)
{
    StartTraces("U_Context", 1);
    CodeThrown([] { U_Context::GetCurrent(); });
    EXPECT_THAT(Traces(),
                ElementsAre("<" + std::to_string(ThisThread()) + "> <U_Context> <1> Damnit\r\n"));
    StartTraces("U_Context", 6);
    platform::SetTraceSink([](const char*) { throw "odd"; });
    EXPECT_EQ(CodeThrown([] { U_ContextSetter setter(U_Context::MakeNewContext()); }), 0);
    platform::SetTrace(nullptr, 0);
    CodeThrown([] { U_Context::GetCurrent(); });
    EXPECT_THAT(Traces(), IsEmpty());
}
