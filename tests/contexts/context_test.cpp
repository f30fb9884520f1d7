#include <algorithm>

#include <boost/make_shared.hpp>
#include <gmock/gmock.h>

#include <krobase/gate.h>

#include "U_Context.h"
#include "U_Suspend.h"
#include "tests/contexts/States.h"

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(Contexts, AFailedCheckNamesTheReason)
{
    ContextPtr one = U_Context::MakeNewContext();
    const ContextPtr two = U_Context::MakeNewContext();
    const auto enterOne = [&] { U_ContextSetter setter(one); };
    const auto enterTwo = [&] { U_ContextSetter setter(two); };
    const auto enterCurrent = [] { U_ContextSetter setter; };
    const auto refused = [this](auto run) {
        EXPECT_EQ(CodeThrown(run), 3);
        const Lines messages = FailedChecks();
        return messages.empty() ? std::string() : messages.back();
    };
    Register("a");
    OnFreshThread([&] {
        const ContextPtr idle = U_Context::MakeNewContext();
        LoggedState::Of(*idle, "a").mThrows = true;
        CodeThrown([&] { Neighbour::Raise(*idle); }); // current but not active
        EXPECT_EQ(refused(&U_SuspendContext::NewSuspendContext), "suspended context not active");
    });
    OnFreshThread([&] {
        EXPECT_EQ(
            refused([] { U_SuspendContext::NewSuspendContext()->CallOnThreadedExecutor({}, {}); }),
            "executor is null");
        EXPECT_EQ(refused(&U_Context::GetCurrent), "no current context");
        EXPECT_EQ(refused(enterCurrent), "no current context");
        Neighbour::Raise(*one);
        EXPECT_EQ(refused(enterTwo), "another context is already active");
        EXPECT_EQ(refused([&] { Neighbour::Raise(*two); }), "another context is already active");
        OnFreshThread([&] { Neighbour::Raise(*one); });
        EXPECT_EQ(refused(enterOne), "context already active in another thread");
        OnFreshThread([&] { one.reset(); });
        EXPECT_EQ(refused(&U_Context::GetCurrent), "current context is gone");
        EXPECT_EQ(refused(enterTwo), "current context is gone");
    });
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
