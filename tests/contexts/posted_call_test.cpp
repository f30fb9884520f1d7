// Calls that executors hold, drop, refuse or run twice.

#include "tests/contexts/Suspensions.h"

#include <atomic>
#include <new>

#include <boost/make_shared.hpp>
#include <gmock/gmock.h>

#include "U_Threads.h"

using testing::ElementsAre;

namespace
{
// An executor that runs or drops its posted functions when the test calls RunAll or Drop.
class HeldExecutor : public krobase::threads::AsyncThreadedExecutor
{
public:
    bool IsExecutorThread() const override { return false; }

    void Post(const boost::function<void()>& function, int delay) override
    {
        EXPECT_EQ(delay, 0);
        mHeld.push_back(function);
        ++mPosted;
        if (mWhenPosted)
            mWhenPosted();
    }

    void RunAll()
    {
        OnFreshThread([this] {
            for (const boost::function<void()>& function : std::exchange(mHeld, {}))
                function();
        });
    }

    void Drop() { mHeld.clear(); }
    boost::function<void()> Latest() const { return mHeld.back(); }

    std::function<void()> mWhenPosted;
    int mPosted = 0;

private:
    std::vector<boost::function<void()>> mHeld;
};

class PostedCalls : public Suspend
{
protected:
    const boost::shared_ptr<HeldExecutor> mHeld = boost::make_shared<HeldExecutor>();
};
} // namespace

TEST_F(PostedCalls, ALaterCallIsAwaitedByTheNextCallAndByTheEnd)
{
    Register("a");
    const ExecutorPtr ender = MakeExecutor();
    const ExecutorPtr other = MakeExecutor();
    const ContextPtr context = U_Context::MakeNewContext();
    const U_ContextSetter setter(context);
    SuspendPtr suspended = U_SuspendContext::NewSuspendContext();
    std::atomic<int> ended(0);
    const auto function = [&] {
        ExpectBack(context);
        return ++ended;
    };
    LongFunction before[2];
    const auto callBehind = [&](LongFunction& first, const ExecutorPtr& executor) {
        executor->Post(first.Function(), 0);
        const int result = suspended->CallOnThreadedExecutor(executor, function);
        ender->Post([&first] { first.LetEnd(); }, 150);
        return result;
    };
    EXPECT_EQ(suspended->CallOnThreadedExecutor(mExecutor, [] { return 7; }), 7);
    EXPECT_EQ(callBehind(before[0], mExecutor), 7);
    EXPECT_EQ(ended, 0);
    EXPECT_EQ(callBehind(before[1], other), 7);
    EXPECT_EQ(ended, 1);
    suspended.reset();
    EXPECT_EQ(ended, 2);
    ExpectBack(context);
    Drain(ender);
    EXPECT_THAT(HookCalls(), ElementsAre("on a"));
}

TEST_F(PostedCalls, ADroppedLaterCallBlocksNoThread)
{
    const ContextPtr context = U_Context::MakeNewContext();
    const U_ContextSetter setter(context);
    SuspendPtr suspended = U_SuspendContext::NewSuspendContext();
    EXPECT_EQ(suspended->CallOnThreadedExecutor(mExecutor, [] { return 1; }), 1);
    EXPECT_EQ(suspended->CallOnThreadedExecutor(mHeld, [] { return 2; }), 1);
    mHeld->Drop();
    suspended.reset();
    ExpectBack(context);

    suspended = U_SuspendContext::NewSuspendContext();
    EXPECT_EQ(suspended->CallOnThreadedExecutor(mExecutor, [] { return 1; }), 1);
    EXPECT_EQ(suspended->CallOnThreadedExecutor(mHeld, [suspended] { return 2; }), 1);
    suspended.reset(); // the function owns the last reference
    mHeld->Drop();
    ExpectBack(context);
}

TEST_F(PostedCalls, TheFunctionIsDestroyedBeforeTheCallerContinues)
{
    const auto nothing = [] {};
    const auto run = [this] { mHeld->RunAll(); };
    const auto terminate = [] { U_SuspendContext::TerminateAndFailAllSuspendedContexts(); };
    const struct
    {
        const char* name;
        std::function<void()> before;
        std::function<void()> whenPosted;
        int runs;
    } rows[] = {
        {"it runs", nothing, run, 1},
        {"it never begins", nothing, terminate, 0},
        {"it begins too late", nothing,
         [&] {
             terminate();
             run();
         },
         0},
        {"it is queued too late", terminate, nothing, 0},
    };
    const ContextPtr context = U_Context::MakeNewContext();
    const U_ContextSetter setter(context);
    int posted = 0;
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.name);
        int runs = 0;
        SuspendPtr suspended = U_SuspendContext::NewSuspendContext();
        const boost::weak_ptr<U_SuspendContext> suspension = suspended;
        bool hasEndedWithin = false;
        boost::shared_ptr<void> owned(nullptr, [&hasEndedWithin](void*) {
            hasEndedWithin = U_Context::HasCurrent(); // destroyed on the executor's thread, before
                                                      // the caller continues
        });
        const boost::weak_ptr<void> watched = owned;
        boost::function<int()> function = [&runs, suspended, owned] {
            ++runs;
            return 7;
        };
        owned.reset();
        row.before();
        mHeld->mWhenPosted = [&] {
            function.clear();
            row.whenPosted();
        };
        EXPECT_EQ(suspended->CallOnThreadedExecutor(mHeld, function), row.runs ? 7 : 517);
        EXPECT_EQ(mHeld->mPosted, ++posted) << "each call is posted";
        EXPECT_TRUE(watched.expired());
        EXPECT_EQ(hasEndedWithin, row.runs != 0);
        Revive();
        mHeld->RunAll();
        EXPECT_EQ(runs, row.runs);
        suspended.reset();
        EXPECT_TRUE(suspension.expired());
        ExpectBack(context);
    }
}

TEST_F(PostedCalls, AnExecutorThatKeepsAFinishedCallKeepsNoContext)
{
    ContextPtr context = U_Context::MakeNewContext();
    const boost::weak_ptr<U_Context> watched = context;
    boost::function<void()> kept;
    mHeld->mWhenPosted = [&] {
        kept = mHeld->Latest();
        mHeld->RunAll();
    };
    {
        const U_ContextSetter task(context);
        EXPECT_EQ(SuspendedCall(mHeld, [] { return 7; }), 7);
    }
    context.reset();
    EXPECT_TRUE(watched.expired());
}

// A caller can call again after a failure and waits as in its first call.
TEST_F(PostedCalls, AnExecutorThatThrowsKeepsNoContext)
{
    const ContextPtr context = U_Context::MakeNewContext();
    const U_ContextSetter setter(context);
    for (const bool runs : {false, true})
    {
        SCOPED_TRACE(runs);
        SuspendPtr suspended = U_SuspendContext::NewSuspendContext();
        mHeld->mWhenPosted = [&] {
            if (runs)
                mHeld->RunAll();
            throw std::bad_alloc();
        };
        EXPECT_THROW(suspended->CallOnThreadedExecutor(mHeld, [] { return 1; }), std::bad_alloc);
        EXPECT_EQ(suspended->CallOnThreadedExecutor(mExecutor, [] { return 2; }), runs ? 1 : 2);
        EXPECT_THROW(suspended->CallOnThreadedExecutor(mHeld, [] { return 3; }), std::bad_alloc);
        suspended.reset();
        ExpectBack(context);
        mHeld->Drop();
    }
}

TEST_F(PostedCalls, ASuspensionThatEndsElsewherePutsNothingBack)
{
    Register("a");
    const ContextPtr context = U_Context::MakeNewContext();
    {
        const U_ContextSetter setter(context);
        SuspendPtr suspended = U_SuspendContext::NewSuspendContext();
        OnFreshThread([&] {
            suspended.reset();
            EXPECT_FALSE(U_Context::HasCurrent());
        });
        EXPECT_FALSE(U_Context::HasCurrent());
        EXPECT_EQ(context->GetThreadID(), U_NoThreadID);
    }
    EXPECT_THAT(HookCalls(), ElementsAre("on a", "off a"));
}
