// Contexts under test, and states that log their hooks.

#ifndef TESTS_CONTEXTS_STATES_H
#define TESTS_CONTEXTS_STATES_H

#include <atomic>
#include <string>
#include <vector>

#include <krobase/threads.h>

#include "U_Context.h"
#include "tests/contexts/CountingState.h"
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

class LoggedState : public U_State
{
public:
    LoggedState(U_Context* context, const char* key);
    ~LoggedState() override { --sLiving; }

    krobase::utility::ImmutableString GetKey() const override { return mKey; }
    void OnActivate() override { Log("on "); }
    void OnDeactivate() override { Log("off "); }
    U_Context& Owner() const { return *mContext; }

    static LoggedState& Of(U_Context& context, const char* key);

    int mTouches = 0;     // counted by the thread that has the context, without a lock
    bool mThrows = false; // the hooks throw the int 9
    static std::atomic<int> sLiving;

private:
    void Log(const char* hook);

    const krobase::utility::ImmutableString mKey;
};

// Unregisters its keys after each test.
class Contexts : public BornLibrary
{
protected:
    void TearDown() override;

    void Register(const char* key); // registers a LoggedState
    void Register(const char* key, const U_StateFactory& factory);
    void Unregister();

    // Return the lines since the last call: "on KEY" or "off KEY" for each hook, and the message
    // of each failed check.
    Lines HookCalls() { return TakeLines(mTaken[0], "state"); }
    Lines FailedChecks();

    // Starts to collect the traces of a category. Traces returns those since its last call.
    void StartTraces(const char* category, int level);
    Lines Traces() { return TakeLines(mTaken[2], "trace"); }

private:
    Lines TakeLines(std::size_t& taken, const char* tag);

    std::size_t mTaken[3] = {};
    std::vector<krobase::utility::ImmutableString> mKeys;
};

#endif
