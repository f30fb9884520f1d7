#include "tests/contexts/States.h"

#include <boost/make_shared.hpp>

#include <platform/control.h>
#include <wril/wril.h>

using krobase::utility::ImmutableString;

std::atomic<int> LoggedState::sLiving(0);

LoggedState::LoggedState(U_Context* context, const char* key) : U_State(context), mKey(key)
{
    ++sLiving;
}

LoggedState& LoggedState::Of(U_Context& context, const char* key)
{
    return dynamic_cast<LoggedState&>(*Neighbour::Find(context, key));
}

void LoggedState::Log(const char* hook)
{
    // An activation counts after OnActivate and until before OnDeactivate.
    const char* const early = mContext->IsActive() ? " while active" : "";
    WRIL_Log(0, "test", "state", (std::string(hook) + mKey.Text() + early).c_str());
    ++mTouches;
    if (mThrows)
        throw 9;
}

void Contexts::TearDown()
{
    Unregister();
    EXPECT_EQ(LoggedState::sLiving, 0);
    BornLibrary::TearDown();
}

void Contexts::Register(const char* key)
{
    Register(key,
             [key](U_Context* context) { return boost::make_shared<LoggedState>(context, key); });
}

void Contexts::Register(const char* key, const U_StateFactory& factory)
{
    mKeys.emplace_back(key);
    U_Context::RegisterState(mKeys.back(), factory);
}

void Contexts::Unregister()
{
    for (const ImmutableString& key : mKeys)
        U_Context::UnregisterState(key);
    mKeys.clear();
}

// A report of a failed check ends with the message in braces.
Lines Contexts::FailedChecks()
{
    Lines messages = TakeLines(mTaken[1], "U_Sev_PROBLEM");
    for (std::string& message : messages)
        message = message.substr(message.find('{') + 1, message.find('}') - message.find('{') - 1);
    return messages;
}

void Contexts::StartTraces(const char* category, int level)
{
    platform::SetTraceSink([](const char* line) { WRIL_Log(0, "test", "trace", line); });
    platform::SetTrace(category, level);
}

Lines Contexts::TakeLines(std::size_t& taken, const char* tag)
{
    const Lines all = mLog.Texts(tag);
    const Lines fresh(all.begin() + static_cast<Lines::difference_type>(taken), all.end());
    taken = all.size();
    return fresh;
}
