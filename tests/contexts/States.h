// Contexts under test, and states that log their hooks.

#ifndef TESTS_CONTEXTS_STATES_H
#define TESTS_CONTEXTS_STATES_H

#include <map>
#include <string>
#include <utility>
#include <vector>

#include <krobase/threads.h>
#include <platform/control.h>
#include <wril/wril.h>

#include "U_Context.h"
#include "fuzz/code_thrown.h"
#include "tests/contexts/CountingState.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/OnThreads.h"

typedef std::vector<std::string> Lines;

const int kGenerous = 60000; // milliseconds

inline U_u32 ThisThread()
{
    return krobase::threads::GetCurrentThreadID();
}

// Its hooks are logged, and count in mValue.
class LoggedState : public CountingState
{
public:
    using CountingState::CountingState;

    void OnActivate() override { Log("on "); }
    void OnDeactivate() override { Log("off "); }

    static LoggedState& Of(U_Context& context, const char* key)
    {
        return dynamic_cast<LoggedState&>(*Neighbour::Find(context, key));
    }

    bool mThrows = false; // the hooks throw the int 9

private:
    void Log(const char* hook)
    {
        // An activation counts after OnActivate and until before OnDeactivate.
        const char* const early = mContext->IsActive() ? " while active" : "";
        WRIL_Log(0, "test", "state", (std::string(hook) + mKey.Text() + early).c_str());
        ++mValue;
        if (mThrows)
            throw 9;
    }
};

// Unregisters its keys after each test.
class Contexts : public BornLibrary
{
protected:
    void TearDown() override
    {
        Unregister();
        EXPECT_EQ(CountingState::sLiving, 0);
        BornLibrary::TearDown();
    }

    void Register(const char* key) // registers a LoggedState
    {
        Register(key, [key](U_Context* context) {
            return boost::make_shared<LoggedState>(context, key);
        });
    }

    void Register(const char* key, const U_StateFactory& factory)
    {
        mKeys.emplace_back(key);
        U_Context::RegisterState(mKeys.back(), factory);
    }

    void Unregister()
    {
        for (const krobase::utility::ImmutableString& key : mKeys)
            U_Context::UnregisterState(key);
        mKeys.clear();
    }

    // Return the lines since the last call: "on KEY" or "off KEY" for each hook, and the message
    // of each failed check, which the report has in braces.
    Lines HookCalls() { return TakeLines("state"); }
    Lines FailedChecks()
    {
        Lines messages = TakeLines("U_Sev_PROBLEM");
        for (std::string& text : messages)
            text = text.substr(text.find('{') + 1, text.find('}') - text.find('{') - 1);
        return messages;
    }

    // Starts to collect the traces of a category. Traces returns those since its last call.
    void StartTraces(const char* category, int level)
    {
        platform::SetTraceSink([](const char* line) { WRIL_Log(0, "test", "trace", line); });
        platform::SetTrace(category, level);
    }
    Lines Traces() { return TakeLines("trace"); }

private:
    Lines TakeLines(const std::string& tag)
    {
        Lines lines = mLog.Texts(tag);
        const std::size_t taken = std::exchange(mTaken[tag], lines.size());
        lines.erase(lines.begin(), lines.begin() + static_cast<Lines::difference_type>(taken));
        return lines;
    }

    std::map<std::string, std::size_t> mTaken; // lines by tag
    std::vector<krobase::utility::ImmutableString> mKeys;
};

#endif
