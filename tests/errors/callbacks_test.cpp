#include "U_Interact.h"

#include <chrono>
#include <future>
#include <stdexcept>
#include <string>

#include <boost/function.hpp>

#include <gtest/gtest.h>

#include "U_Lifecycle.h"
#include "indep/errors/LoggingCallbacks.h"
#include "tests/support/BornLibrary.h"

namespace
{
const U_u32 kLocation = 0x120034;
const U_u16 kSeverity = 8;

std::string sCalls; // the names of the listeners that were called, in order

struct Listener
{
    char name;
    U_Status answer = 0;
    boost::function<void()> action = {};
};

U_Status Listen(void* refcon, U_u32 location, U_u16 severity, const char* text)
{
    const Listener& listener = *static_cast<Listener*>(refcon);
    if (location != kLocation)
        return 0; // a refusal's own report
    EXPECT_EQ(severity, kSeverity);
    EXPECT_STREQ(text, "what happened");
    sCalls += listener.name;
    if (listener.action)
        listener.action();
    return listener.answer;
}

U_Status ListenToo(void* refcon, U_u32 location, U_u16 severity, const char* text)
{
    sCalls += '+';
    return Listen(refcon, location, severity, text);
}

U_Status Add(Listener& listener)
{
    return U_AddLoggingCallback(&Listen, &listener);
}

U_Status Remove(Listener& listener)
{
    return U_RemoveLoggingCallback(&Listen, &listener);
}

U_Status Call()
{
    return Up_CallLoggingCallbacks(kLocation, "what happened", kSeverity);
}

std::string Calls()
{
    sCalls.clear();
    Call();
    return sCalls;
}

class Callbacks : public BornLibrary
{
protected:
    Listener mA{'a'};
    Listener mB{'b'};
    Listener mC{'c'};
};
} // namespace

TEST_F(Callbacks, AreCalledInTheOrderOfTheSlots)
{
    EXPECT_EQ(Calls(), "");
    for (Listener* listener : {&mA, &mB, &mA, &mC})
        ASSERT_EQ(Add(*listener), 0);
    EXPECT_EQ(Calls(), "abac");
    ASSERT_EQ(Remove(mA), 0); // the first of its two slots
    EXPECT_EQ(Calls(), "bac");
    ASSERT_EQ(U_AddLoggingCallback(&ListenToo, &mC), 0);
    EXPECT_EQ(Calls(), "+cbac");
    ASSERT_EQ(Remove(mC), 0); // the function and the refcon together
    EXPECT_EQ(Calls(), "+cba");
}

TEST_F(Callbacks, TheLastAnswerCounts)
{
    EXPECT_EQ(Call(), 0);
    mA.answer = 5;
    ASSERT_EQ(Add(mA), 0);
    EXPECT_EQ(Call(), 5);
    mB.answer = 6;
    ASSERT_EQ(Add(mB), 0);
    EXPECT_EQ(Call(), 6);
    ASSERT_EQ(Add(mC), 0);
    EXPECT_EQ(Call(), 0);
}

TEST_F(Callbacks, TheEleventhIsRefusedAndTheTenStay)
{
    for (int number = 0; number < 10; ++number)
        ASSERT_EQ(Add(mA), 0);
    EXPECT_EQ(Add(mB), 3);
    EXPECT_EQ(Calls(), "aaaaaaaaaa");
    ASSERT_EQ(Remove(mA), 0);
    EXPECT_EQ(Add(mB), 0);
    EXPECT_EQ(Calls(), "baaaaaaaaa");
}

TEST_F(Callbacks, WhatIsNotThereCannotBeRemoved)
{
    ASSERT_EQ(Add(mA), 0);
    EXPECT_EQ(Remove(mB), 3);
    EXPECT_EQ(U_RemoveLoggingCallback(&ListenToo, &mA), 3);
    EXPECT_EQ(U_RemoveLoggingCallback(nullptr, nullptr), 3); // names a free slot
    EXPECT_EQ(U_AddLoggingCallback(nullptr, &mA), 3);
    EXPECT_EQ(Calls(), "a");
}

TEST_F(Callbacks, MayChangeTheTableWhileTheyRun)
{
    // b removes itself and what stands behind it, and adds one in its own place.
    mB.action = [&] {
        Remove(mB);
        Remove(mC);
        Add(mA);
    };
    for (Listener* listener : {&mA, &mB, &mC, &mA})
        ASSERT_EQ(Add(*listener), 0);
    EXPECT_EQ(Calls(), "aba");
    EXPECT_EQ(Calls(), "aaa");

    // One that is added behind the one that runs, in the free slot, still hears of
    // this report.
    bool added = false;
    mA.action = [&] { added = added || Add(mC) == 0; };
    EXPECT_EQ(Calls(), "aaca");
}

TEST_F(Callbacks, AnExceptionPassesAndFreesTheLock)
{
    mA.action = [] { throw 17; };
    ASSERT_EQ(Add(mA), 0);
    ASSERT_EQ(Add(mB), 0);
    sCalls.clear();
    EXPECT_THROW(Call(), int);
    EXPECT_EQ(sCalls, "a");
    mA.action = [] { throw std::runtime_error("callback"); };
    EXPECT_THROW(Call(), std::runtime_error);

    // Another thread gets at the table.
    const auto onOtherThread = std::async(std::launch::async, [&] { return Remove(mA); });
    ASSERT_EQ(onOtherThread.wait_for(std::chrono::minutes(1)), std::future_status::ready);
    EXPECT_EQ(Calls(), "b");
}

TEST_F(Callbacks, OtherThreadsWaitWhileACallbackRuns)
{
    std::promise<void> running;
    std::promise<void> leave;
    mA.action = [&] {
        running.set_value();
        leave.get_future().wait();
        sCalls += '.';
    };
    ASSERT_EQ(Add(mA), 0);
    sCalls.clear();
    std::future<U_Status> report = std::async(std::launch::async, &Call);
    running.get_future().wait();
    std::future<U_Status> added = std::async(std::launch::async, [&] {
        const U_Status status = Add(mB);
        sCalls += '!';
        return status;
    });
    leave.set_value();
    EXPECT_EQ(report.get(), 0);
    EXPECT_EQ(added.get(), 0);
    EXPECT_EQ(sCalls, "a.!");
}

TEST_F(Callbacks, EndWithTheLibrary)
{
    ASSERT_EQ(Add(mA), 0);
    ASSERT_EQ(U_Death(), 0);
    EXPECT_EQ(Calls(), "");
    EXPECT_EQ(Add(mA), 5889);
    EXPECT_EQ(Remove(mA), 5889);
    ASSERT_EQ(U_Birth("Another life", nullptr), 0);
    EXPECT_EQ(Calls(), "");
}
