// Calls on the threads of executors, under test.

#ifndef TESTS_CONTEXTS_SUSPENSIONS_H
#define TESTS_CONTEXTS_SUSPENSIONS_H

#include <functional>
#include <memory>

#include <krobase/gate.h>

#include "U_Suspend.h"
#include "tests/contexts/States.h"

typedef boost::shared_ptr<U_SuspendContext> SuspendPtr;

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

// Expects that the context is current on this thread and can be activated.
inline void ExpectBack(const ContextPtr& context)
{
    EXPECT_EQ(U_Context::GetCurrent(), context);
    EXPECT_EQ(context->GetThreadID(), ThisThread());
    EXPECT_EQ(CodeThrown([] { U_ContextSetter nested; }), 0);
}

// An active context of this thread, which is suspended until End.
struct Task
{
    int Call(const ExecutorPtr& executor, const boost::function<int()>& function)
    {
        return suspended->CallOnThreadedExecutor(executor, function);
    }

    void Suspend() { suspended = U_SuspendContext::NewSuspendContext(); }

    void End() // expects the context back
    {
        suspended.reset();
        ExpectBack(context);
    }

    const ContextPtr context = U_Context::MakeNewContext();
    const U_ContextSetter setter{context};
    SuspendPtr suspended = U_SuspendContext::NewSuspendContext();
};

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

    // Runs the function on the executor's thread and waits for its end.
    void RunThere(const std::function<void()>& function)
    {
        mExecutor->Post(function, 0);
        Drain(mExecutor);
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
