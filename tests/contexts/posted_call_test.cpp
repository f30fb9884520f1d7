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
    Task task;
    std::atomic<int> ended(0);
    const auto function = [&] {
        ExpectBack(task.context);
        return ++ended;
    };
    LongFunction before[2];
    const auto callBehind = [&](LongFunction& first, const ExecutorPtr& executor) {
        executor->Post(first.Function(), 0);
        const int result = task.Call(executor, function);
        ender->Post([&first] { first.LetEnd(); }, 150);
        return result;
    };
    EXPECT_EQ(task.Call(mExecutor, [] { return 7; }), 7);
    EXPECT_EQ(callBehind(before[0], mExecutor), 7);
    EXPECT_EQ(ended, 0);
    EXPECT_EQ(callBehind(before[1], other), 7);
    EXPECT_EQ(ended, 1);
    task.End();
    EXPECT_EQ(ended, 2);
    Drain(ender);
    EXPECT_THAT(HookCalls(), ElementsAre("on a"));
}

TEST_F(PostedCalls, ADroppedLaterCallBlocksNoThread)
{
    Task task;
    for (const bool ownsTheSuspension : {false, true})
    {
        EXPECT_EQ(task.Call(mExecutor, [] { return 1; }), 1);
        const auto owned = [&] { return ownsTheSuspension ? task.suspended : SuspendPtr(); };
        EXPECT_EQ(task.Call(mHeld, [own = owned()] { return 2; }),
                  1); // owns the last reference
        if (!ownsTheSuspension)
            mHeld->Drop();
        task.suspended.reset();
        mHeld->Drop();
        ExpectBack(task.context);
        task.Suspend();
    }
}

TEST_F(PostedCalls, TheFunctionIsDestroyedBeforeTheCallerContinues)
{
    const auto nothing = [] {};
    const auto run = [this] { mHeld->RunAll(); };
    const auto terminate = [] { U_SuspendContext::TerminateAndFailAllSuspendedContexts(); };
    const auto runTooLate = [&] {
        terminate();
        run();
    };
    const struct
    {
        const char* name;
        std::function<void()> before;
        std::function<void()> whenPosted;
        int runs;
    } rows[] = {
        {"it runs", nothing, run, 1},
        {"it never begins", nothing, terminate, 0},
        {"it begins too late", nothing, runTooLate, 0},
        {"it is queued too late", terminate, nothing, 0},
    };
    Task task;
    int posted = 0;
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.name);
        int runs = 0;
        const boost::weak_ptr<U_SuspendContext> suspension = task.suspended;
        bool hasEndedWithin = false;
        // Destroyed on the executor's thread, before the caller continues.
        boost::shared_ptr<void> owned(
            nullptr, [&hasEndedWithin](void*) { hasEndedWithin = U_Context::HasCurrent(); });
        const boost::weak_ptr<void> watched = owned;
        boost::function<int()> function = [&runs, suspended = task.suspended, owned] {
            ++runs;
            return 7;
        };
        owned.reset();
        row.before();
        mHeld->mWhenPosted = [&] {
            function.clear();
            row.whenPosted();
        };
        EXPECT_EQ(task.Call(mHeld, function), row.runs ? 7 : 517);
        EXPECT_EQ(mHeld->mPosted, ++posted) << "each call is posted";
        EXPECT_TRUE(watched.expired());
        EXPECT_EQ(hasEndedWithin, row.runs != 0);
        Revive();
        mHeld->RunAll();
        EXPECT_EQ(runs, row.runs);
        task.End();
        EXPECT_TRUE(suspension.expired());
        task.Suspend();
    }
}

TEST_F(PostedCalls, AnExecutorThatKeepsAFinishedCallKeepsNoContext)
{
    boost::weak_ptr<U_Context> watched;
    boost::function<void()> kept;
    mHeld->mWhenPosted = [&] {
        kept = mHeld->Latest();
        mHeld->RunAll();
    };
    {
        Task task;
        watched = task.context;
        EXPECT_EQ(task.Call(mHeld, [] { return 7; }), 7);
        task.suspended.reset();
    }
    EXPECT_TRUE(watched.expired());
}

// A caller can call again after a failure and waits as in its first call.
TEST_F(PostedCalls, AnExecutorThatThrowsKeepsNoContext)
{
    Task task;
    for (const bool runs : {false, true})
    {
        SCOPED_TRACE(runs);
        mHeld->mWhenPosted = [&] {
            if (runs)
                mHeld->RunAll();
            throw std::bad_alloc();
        };
        EXPECT_THROW(task.Call(mHeld, [] { return 1; }), std::bad_alloc);
        EXPECT_EQ(task.Call(mExecutor, [] { return 2; }), runs ? 1 : 2);
        EXPECT_THROW(task.Call(mHeld, [] { return 3; }), std::bad_alloc);
        task.End();
        mHeld->Drop();
        task.Suspend();
    }
}

TEST_F(PostedCalls, ASuspensionThatEndsElsewherePutsNothingBack)
{
    Register("a");
    {
        Task task;
        OnFreshThread([&] {
            task.suspended.reset();
            EXPECT_FALSE(U_Context::HasCurrent());
        });
        EXPECT_FALSE(U_Context::HasCurrent());
        EXPECT_EQ(task.context->GetThreadID(), U_NoThreadID);
    }
    EXPECT_THAT(HookCalls(), ElementsAre("on a", "off a"));
}
