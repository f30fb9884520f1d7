#include "U_Threads.h"

#include <string>

#include <gtest/gtest.h>
#include <pthread.h>

#include <control.h>
#include <krobase/threads.h>

#include "tests/support/FreshThread.h"

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
    void (*registerThread)();
    void (*deregisterThread)();
    bool (*isOn)();
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
    EXPECT_TRUE(U_IsOnUIThread()) << "it stays until another takes over";
    OnFreshThread([] {
        U_RegisterMainThread();
        EXPECT_TRUE(U_IsOnUIThread());
        U_DeregisterMainThread();
    });
    EXPECT_FALSE(U_IsOnUIThread());
}

TEST_F(Threads, ListedRolesNestAndSingleRolesAreOverwritten)
{
    const Role listed[] = {
        {"main", &U_RegisterMainThread, &U_DeregisterMainThread, &U_IsOnMainThread},
        {"render", &U_RegisterRenderThread, &U_DeregisterRenderThread, &U_IsOnRenderThread},
    };
    for (const Role& role : listed)
    {
        SCOPED_TRACE(role.name);
        role.deregisterThread(); // not in the list: nothing happens
        role.registerThread();
        OnFreshThread([&] {
            EXPECT_FALSE(role.isOn());
            role.deregisterThread();
        });
        role.registerThread();
        role.deregisterThread();
        EXPECT_TRUE(role.isOn());
        role.deregisterThread();
        EXPECT_FALSE(role.isOn());
    }

    const Role single[] = {
        {"psl", &U_RegisterPSLThread, &U_DeregisterPSLThread, &U_IsOnPSLThread},
        {"pr", &U_RegisterPRThread, &U_DeregisterPRThread, &U_IsOnPRThread},
    };
    for (const Role& role : single)
    {
        SCOPED_TRACE(role.name);
        role.registerThread();
        EXPECT_TRUE(role.isOn());
        OnFreshThread([&] {
            EXPECT_FALSE(role.isOn());
            role.registerThread();
            EXPECT_TRUE(role.isOn());
        });
        EXPECT_FALSE(role.isOn());
        OnFreshThread(role.deregisterThread);
        EXPECT_FALSE(role.isOn());
    }
    EXPECT_EQ(U_PSLThreadID(), U_NoThreadID);
    EXPECT_EQ(U_PRThreadID(), U_NoThreadID);
}

TEST_F(Threads, IdsAnswerForOtherThreads)
{
    U_RegisterMainThread();
    U_RegisterRenderThread();
    U_RegisterPSLThread();
    U_RegisterPRThread();
    const U_u32 id = krobase::threads::GetCurrentThreadID();
    OnFreshThread([=] {
        EXPECT_TRUE(U_IsMainThreadID(id));
        EXPECT_TRUE(U_IsRenderThreadID(id));
        EXPECT_EQ(U_PSLThreadID(), id);
        EXPECT_EQ(U_PRThreadID(), id);
        EXPECT_FALSE(U_IsMainThreadID(krobase::threads::GetCurrentThreadID()));
    });
}

TEST_F(Threads, EachChangeOfRolesIsTraced)
{
    struct Row
    {
        void (*change)();
        const char* before;
        const char* after;
    };
    const Row rows[] = {
        {&U_RegisterMainThread, "U_RegisterMainThread registered ", " as a main thread"},
        {&U_DeregisterMainThread, "U_RegisterMainThread removed ", " as a main thread"},
        {&U_RegisterRenderThread, "U_RegisterRenderThread registered ", " as a render thread"},
        {&U_DeregisterRenderThread, "U_RegisterRenderThread removed ", " as a render thread"},
        {&U_RegisterPSLThread, "U_RegisterPSLThread registered ", " as the psl thread"},
        {&U_DeregisterPSLThread, "U_RegisterPSLThread removed ", " as the psl thread"},
        {&U_RegisterPRThread, "U_RegisterPRThread registered ", " as the pr thread"},
        {&U_DeregisterPRThread, "U_RegisterPRThread removed ", " as the pr thread"},
    };
    std::string traced;
    platform::SetTraceSink([&](const char* text) { traced += text; });
    const std::string id = std::to_string(krobase::threads::GetCurrentThreadID());
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.before);
        traced.clear();
        row.change();
        EXPECT_EQ(traced, "") << "off";
        platform::SetTrace("U_THREADS", 5);
        row.change();
        EXPECT_EQ(traced, "") << "at a lower level";
        platform::SetTrace("U_THREADS", 6);
        row.change();
        EXPECT_EQ(traced, "<" + id + "> <U_THREADS> <6> " + row.before + id + row.after + "\r\n");
        platform::SetTrace(nullptr, 0);
    }
}

TEST_F(Threads, AThreadGetsItsNameCutAtACharacter)
{
    struct Row
    {
        const char* name;
        const char* seen;
    };
    const Row rows[] = {
        {"Render 1", "Render 1"},
        {"A name of more than 15", "A name of more "},
        {"Fourteen bytes\xC3\xA9", "Fourteen bytes"},
        {"", ""},
    };
    OnFreshThread([&] {
        for (const Row& row : rows)
        {
            U_SetCurrentThreadName(row.name);
            char seen[16] = {};
            pthread_getname_np(pthread_self(), seen, sizeof(seen));
            EXPECT_STREQ(seen, row.seen);
        }
        U_SetCurrentThreadName(nullptr);
    });
}
