// Calls on the threads of executors, under test.

#ifndef TESTS_CONTEXTS_SUSPENSIONS_H
#define TESTS_CONTEXTS_SUSPENSIONS_H

#include <functional>
#include <memory>
#include <thread>

#include <krobase/executor.h>
#include <krobase/gate.h>

#include "U_Suspend.h"
#include "tests/contexts/States.h"

typedef boost::shared_ptr<U_SuspendContext> SuspendPtr;
typedef boost::shared_ptr<krobase::threads::AsyncThreadedExecutor> ExecutorPtr;

inline ExecutorPtr MakeExecutor()
{
    return krobase::threads::CreateAsyncThreadedExecutor(
        "test", 1, krobase::threads::kThreadPriorityNormal, {}, {});
}

// Waits until the executor has run all functions that were posted before.
inline void Drain(const ExecutorPtr& executor)
{
    const auto done = std::make_shared<krobase::threads::Gate>(false);
    executor->Post([done] { done->Open(); }, 0);
    ASSERT_TRUE(done->PassThrough(kGenerous));
}

inline int SuspendedCall(const ExecutorPtr& executor, const boost::function<int()>& function)
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

    // Clears the flag of a termination. The library never clears the flag.
    static void Revive() { Reviver::Revive(); }

    // Expects that the context is current on this thread and can be activated.
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

// A function that runs until LetEnd is called.
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
    krobase::threads::Gate mStarted{false};
    krobase::threads::Gate mMayEnd{false};
};

#endif
