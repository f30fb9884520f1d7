// A state that counts its activations, access to the protected functions of a context, and
// executors.

#ifndef TESTS_CONTEXTS_COUNTING_STATE_H
#define TESTS_CONTEXTS_COUNTING_STATE_H

#include <atomic>

#include <boost/make_shared.hpp>

#include <krobase/executor.h>

#include "U_Context.h"

typedef boost::shared_ptr<U_Context> ContextPtr;
typedef boost::shared_ptr<krobase::threads::AsyncThreadedExecutor> ExecutorPtr;

inline ExecutorPtr MakeExecutor()
{
    return krobase::threads::CreateAsyncThreadedExecutor(
        "test", 1, krobase::threads::kThreadPriorityNormal, {}, {});
}

struct Neighbour : U_Context
{
    static void Raise(U_Context& context) { (context.*&Neighbour::Activate)(); }
    static void Lower(U_Context& context) { (context.*&Neighbour::Deactivate)(); }
    static boost::shared_ptr<U_State> Find(U_Context& context, const char* key)
    {
        return (context.*&Neighbour::GetState)(krobase::utility::ImmutableString(key));
    }
};

// No lock guards the counts: one thread at a time has the context.
class CountingState : public U_State
{
public:
    explicit CountingState(U_Context* context, const char* key = kKey) : U_State(context), mKey(key)
    {
        ++sLiving;
    }
    ~CountingState() override { --sLiving; }

    krobase::utility::ImmutableString GetKey() const override { return mKey; }
    void OnActivate() override { ++mActivations; }
    void OnDeactivate() override { --mActivations; }

    static boost::shared_ptr<U_State> Make(U_Context* context)
    {
        return boost::make_shared<CountingState>(context);
    }
    static CountingState& Of(U_Context& context)
    {
        return static_cast<CountingState&>(*Neighbour::Find(context, kKey));
    }

    static constexpr const char* kKey = "test.counting";

    int mValue = 0; // for the thread that has the context
    int mActivations = 0;
    static inline std::atomic<long> sLiving{0};

protected:
    const krobase::utility::ImmutableString mKey;
};

#endif
