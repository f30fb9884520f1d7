// A state that counts its activations, and access to the protected functions of a context.

#ifndef TESTS_CONTEXTS_COUNTING_STATE_H
#define TESTS_CONTEXTS_COUNTING_STATE_H

#include <atomic>

#include <boost/make_shared.hpp>

#include "U_Context.h"

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
    explicit CountingState(U_Context* context) : U_State(context) { ++sLiving; }
    ~CountingState() override { --sLiving; }

    krobase::utility::ImmutableString GetKey() const override
    {
        return krobase::utility::ImmutableString(kKey);
    }
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

    U_u64 mValue = 0;
    int mActivations = 0;
    static inline std::atomic<long> sLiving{0};
};

#endif
