#include <algorithm>
#include <functional>

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

// Makes a context current on the calling thread and destroys it on another thread.
void LoseContext()
{
    ContextPtr context = U_Context::MakeNewContext();
    Neighbour::Raise(*context);
    OnFreshThread([&] { context.reset(); });
}
} // namespace

TEST_F(Contexts, EachOperationFailsAsTheCurrentContextRequires)
{
    enum Condition
    {
        kEmpty,
        kHoldsThis,
        kHoldsAnother,
        kHoldsGone,
        kConditions
    };
    struct Row
    {
        const char* operation;
        std::function<void(const ContextPtr&)> run;
        const char* failures[kConditions];
    };
    const Row rows[] = {
        {"GetCurrent", [](const ContextPtr&) { U_Context::GetCurrent(); }, {kNone, "", "", kGone}},
        {"setter", [](const ContextPtr&) { U_ContextSetter setter; }, {kNone, "", "", kGone}},
        {"setter of null",
         [](const ContextPtr&) { U_ContextSetter setter(nullptr); },
         {kNone, "", "", kGone}},
        {"setter of this",
         [](const ContextPtr& context) { U_ContextSetter setter(context); },
         {"", "", kAnother, kGone}},
        {"weak setter of this",
         [](const ContextPtr& context) { U_WeakContextSetter setter(context); },
         {"", "", "", kGone}},
        {"weak setter of null",
         [](const ContextPtr&) { U_WeakContextSetter setter(nullptr); },
         {"", "", "", ""}},
    };
    for (const Row& row : rows)
    {
        for (int condition = 0; condition < kConditions; ++condition)
        {
            SCOPED_TRACE(row.operation + std::string(" / ") + std::to_string(condition));
            OnFreshThread([&] {
                const ContextPtr context = U_Context::MakeNewContext();
                const ContextPtr another = U_Context::MakeNewContext();
                if (condition == kHoldsThis)
                    Neighbour::Raise(*context);
                if (condition == kHoldsAnother)
                    Neighbour::Raise(*another);
                if (condition == kHoldsGone)
                    LoseContext();
                const bool had = condition == kHoldsThis || condition == kHoldsAnother;
                EXPECT_EQ(U_Context::HasCurrent(), had);

                const std::string failure = row.failures[condition];
                EXPECT_EQ(CodeThrown([&] { row.run(context); }), failure.empty() ? 0 : 3);
                EXPECT_EQ(FailedChecks(), failure.empty() ? Lines{} : Lines{failure});
                EXPECT_EQ(U_Context::HasCurrent(), had);
                EXPECT_EQ(context->IsActive(), condition == kHoldsThis);
                EXPECT_EQ(another->IsActive(), condition == kHoldsAnother);
            });
        }
    }
}

TEST_F(Contexts, NestedSettersCallEachHookOnce)
{
    Register("a");
    Register("b");
    const ContextPtr context = U_Context::MakeNewContext();
    EXPECT_EQ(context->GetThreadID(), U_NoThreadID);
    {
        const U_ContextSetter outer(context);
        EXPECT_THAT(HookCalls(), testing::UnorderedElementsAre("on a", "on b"));
        {
            const U_ContextSetter inner;
            const U_ContextSetter innermost(nullptr);
            const U_WeakContextSetter weak(context);
            EXPECT_EQ(innermost->GetContextID(), context->GetContextID());
            EXPECT_EQ(U_Context::GetCurrent(), context);
        }
        EXPECT_TRUE(context->IsActive());
        EXPECT_THAT(HookCalls(), IsEmpty());
    }
    EXPECT_THAT(HookCalls(), testing::UnorderedElementsAre("off a", "off b"));
    EXPECT_FALSE(U_Context::HasCurrent());
    EXPECT_EQ(context->GetThreadID(), ThisThread()) << "the id of the last thread stays";
    OnFreshThread([&] {
        const U_WeakContextSetter weak(context);
        EXPECT_EQ(context->GetThreadID(), ThisThread());
    });
    EXPECT_EQ(HookCalls().size(), 4u);
}

TEST_F(Contexts, AnActiveContextThatIsDestroyedCallsItsHooksAndFreesItsThread)
{
    Register("a");
    {
        ContextPtr context = U_Context::MakeNewContext();
        const U_WeakContextSetter weak(context);
        context.reset();
        EXPECT_THAT(HookCalls(), ElementsAre("on a", "off a while active"));
        EXPECT_EQ(CodeThrown([] { U_ContextSetter next(U_Context::MakeNewContext()); }), 0);
    }
    HookCalls();
    OnFreshThread([&] { LoseContext(); });
    EXPECT_THAT(HookCalls(), ElementsAre("on a", "off a while active"));

    ContextPtr elsewhere = U_Context::MakeNewContext();
    OnFreshThread([&] { Neighbour::Raise(*elsewhere); });
    const ContextPtr current = U_Context::MakeNewContext();
    const U_ContextSetter setter(current);
    elsewhere.reset();
    EXPECT_EQ(U_Context::GetCurrent(), current) << "the destroyed context was another thread's";
}

TEST_F(Contexts, AThreadWithoutAContextTakesOneOver)
{
    Register("a");
    const ContextPtr context = U_Context::MakeNewContext();
    OnFreshThread([&] {
        Neighbour::Raise(*context);
        OnFreshThread([&] {
            Neighbour::Raise(*context);
            EXPECT_EQ(context->GetThreadID(), ThisThread());
        });
        EXPECT_EQ(CodeThrown([] { U_ContextSetter setter; }), 3);
        EXPECT_THAT(FailedChecks(), ElementsAre(kElsewhere));

        // The context belongs to the other thread now: deactivations here only lower the count.
        Neighbour::Lower(*context);
        EXPECT_TRUE(context->IsActive());
        Neighbour::Lower(*context);
        EXPECT_FALSE(context->IsActive());
        EXPECT_TRUE(U_Context::HasCurrent());
    });
    EXPECT_THAT(HookCalls(), ElementsAre("on a"));
    OnFreshThread([&] {
        Neighbour::Raise(*context);
        OnFreshThread([&] { Neighbour::Lower(*context); });
        EXPECT_THAT(HookCalls(), ElementsAre("on a", "off a"))
            << "the last deactivation, on any thread";
        Neighbour::Raise(*context);
    });
    OnFreshThread([&] {
        LoseContext();
        HookCalls();
        Neighbour::Lower(*context);
        EXPECT_THAT(HookCalls(), IsEmpty()) << "next to a destroyed context it is only counted";
    });
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
        EXPECT_EQ(LoggedState::sLiving, 0);
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
