// Contexts under test: states that log what they are told, and what a context keeps
// for its neighbours.

#ifndef TESTS_CONTEXTS_STATES_H
#define TESTS_CONTEXTS_STATES_H

#include <atomic>
#include <string>
#include <vector>

#include <krobase/threads.h>

#include "U_Context.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/CodeThrown.h"
#include "tests/support/OnThreads.h"

typedef boost::shared_ptr<U_Context> ContextPtr;
typedef std::vector<std::string> Lines;

const int kGenerous = 60000; // milliseconds

inline U_u32 ThisThread()
{
    return krobase::threads::GetCurrentThreadID();
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

class LoggedState : public U_State
{
public:
    LoggedState(U_Context* context, const char* key);
    ~LoggedState() override { --sLiving; }

    krobase::utility::ImmutableString GetKey() const override { return mKey; }
    void OnActivate() override { Tell("on "); }
    void OnDeactivate() override { Tell("off "); }
    U_Context& Owner() const { return *mContext; }

    static LoggedState& Of(U_Context& context, const char* key);

    int mTouched = 0;     // by whoever has the context
    bool mThrows = false; // the int 9, when it is told
    static std::atomic<int> sLiving;

private:
    void Tell(const char* what);

    const krobase::utility::ImmutableString mKey;
};

// Unregisters its keys at the end.
class Contexts : public BornLibrary
{
protected:
    void TearDown() override;

    void Register(const char* key); // of a logged state
    void Register(const char* key, const U_StateFactory& factory);
    void Unregister();

    // Since the last call: "on KEY" and "off KEY", and the messages of failed checks.
    Lines Told() { return TakeLines(mTaken[0], "state"); }
    Lines FailedChecks();

    // The traces of a category since then.
    void StartTraces(const char* category, int level);
    Lines Traces() { return TakeLines(mTaken[2], "trace"); }

private:
    Lines TakeLines(std::size_t& taken, const char* tag);

    std::size_t mTaken[3] = {};
    std::vector<krobase::utility::ImmutableString> mKeys;
};

#endif
