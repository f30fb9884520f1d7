#include <string>
#include <utility>

#include <gtest/gtest.h>

#include <krobase/threads.h>
#include <platform/control.h>

#include "U_Threads.h"
#include "tests/support/OnThreads.h"
#include "tests/support/System.h"

namespace
{
class Threads : public testing::Test
{
protected:
    void TearDown() override
    {
        platform::ResetAll();
        while (U_IsOnMainThread())
            U_DeregisterMainThread();
        while (U_IsOnRenderThread())
            U_DeregisterRenderThread();
        U_DeregisterPSLThread();
        U_DeregisterPRThread();
    }
};

struct Role
{
    const char* name;
    void (*enter)();
    void (*leave)();
    bool (*isOn)();
    bool (*isOf)(U_u32 threadId);
    bool isListed; // many threads may hold the role; otherwise the last to register
    const char* as;
};

const Role kRoles[] = {
    {"Main", &U_RegisterMainThread, &U_DeregisterMainThread, &U_IsOnMainThread, &U_IsMainThreadID,
     true, " as a main thread"},
    {"Render", &U_RegisterRenderThread, &U_DeregisterRenderThread, &U_IsOnRenderThread,
     &U_IsRenderThreadID, true, " as a render thread"},
    {"PSL", &U_RegisterPSLThread, &U_DeregisterPSLThread, &U_IsOnPSLThread,
     [](U_u32 threadId) { return U_PSLThreadID() == threadId; }, false, " as the psl thread"},
    {"PR", &U_RegisterPRThread, &U_DeregisterPRThread, &U_IsOnPRThread,
     [](U_u32 threadId) { return U_PRThreadID() == threadId; }, false, " as the pr thread"},
};
} // namespace

TEST_F(Threads, TheFirstMainThreadIsTheUIThread)
{
    U_RegisterMainThread();
    EXPECT_TRUE(U_IsOnUIThread());
    OnFreshThread([] {
        U_RegisterMainThread();
        EXPECT_TRUE(U_IsOnMainThread());
        EXPECT_FALSE(U_IsOnUIThread());
        U_DeregisterMainThread();
    });
    U_DeregisterMainThread();
    EXPECT_FALSE(U_IsOnMainThread());
    EXPECT_TRUE(U_IsOnUIThread()) << "the thread stays the UI thread until another takes over";
    OnFreshThread([] {
        U_RegisterMainThread();
        EXPECT_TRUE(U_IsOnUIThread());
        U_DeregisterMainThread();
    });
    EXPECT_FALSE(U_IsOnUIThread());
}

TEST_F(Threads, ListedRolesNestAndSingleRolesAreOverwritten)
{
    for (const Role& role : kRoles)
    {
        SCOPED_TRACE(role.name);
        role.leave(); // does nothing on a thread without the role
        role.enter();
        for (const Role& asked : kRoles)
            EXPECT_EQ(asked.isOn(), &asked == &role) << asked.name;
        const U_u32 here = krobase::threads::GetCurrentThreadID();
        OnFreshThread([&] {
            EXPECT_FALSE(role.isOn());
            EXPECT_TRUE(role.isOf(here));
            if (!role.isListed)
                role.enter();
            EXPECT_EQ(role.isOn(), !role.isListed);
            role.leave();
        });
        EXPECT_EQ(role.isOn(), role.isListed);
        role.enter();
        OnFreshThread(role.leave);
        EXPECT_EQ(role.isOn(), role.isListed);
        role.leave();
        EXPECT_EQ(role.isOn(), role.isListed) << "entered twice";
        role.leave();
        EXPECT_FALSE(role.isOn());
    }
}

TEST_F(Threads, EachChangeOfRolesIsTraced)
{
    std::string traced;
    platform::SetTraceSink([&](const char* text) { traced += text; });
    const std::string id = std::to_string(krobase::threads::GetCurrentThreadID());
    for (const Role& role : kRoles)
    {
        traced.clear();
        platform::SetTrace("U_THREADS", 5);
        role.enter(); // above the level
        platform::SetTrace("U_THREADS", 6);
        role.enter();
        role.leave();
        platform::SetTrace(nullptr, 0);
        const std::string ending = id + role.as + "\r\n";
        const std::string start = "<" + id + "> <U_THREADS> <6> U_Register" + role.name + "Thread ";
        EXPECT_EQ(traced, start + "registered " + ending + start + "removed " + ending);
    }
}

TEST_F(Threads, AThreadGetsItsNameCutAtACharacter)
{
    const std::string longest(kLongestThreadName, 'n');
    const std::string shorter(kLongestThreadName - 1, 'n');
    const std::pair<std::string, std::string> rows[] = {
        {"Render 1", "Render 1"},
        {longest + "more", longest},
        {shorter + "\xC3\xA9", shorter},
    };
    OnFreshThread([&] {
        for (const auto& [name, expected] : rows)
        {
            U_SetCurrentThreadName(name.c_str());
            EXPECT_EQ(ThreadName(), expected);
        }
        U_SetCurrentThreadName(nullptr);
    });
}
