#include "U_Interact.h"

#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include <boost/function.hpp>

#include <gtest/gtest.h>

#include "U_Lifecycle.h"
#include "U_Report.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/DamagedRecord.h"

namespace
{
typedef std::vector<std::string> Texts;

const U_u32 kLocation = 0x120034;
const U_u16 kSeverity = U_Sev_MESSAGE; // its text stands alone

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
    return Up_ReportErrString(kLocation, kSeverity, "what happened");
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

TEST_F(Callbacks, WhatIsRefusedIsReportedAndChangesNothing)
{
    for (int number = 0; number < 10; ++number)
        ASSERT_EQ(Add(mA), 0);
    const auto add = [](U_LoggingCallback callback, Listener& listener) {
        return U_AddLoggingCallback(callback, &listener);
    };
    const auto remove = [](U_LoggingCallback callback, Listener& listener) {
        return U_RemoveLoggingCallback(callback, &listener);
    };
    const struct
    {
        U_Status (*call)(U_LoggingCallback, Listener&);
        U_LoggingCallback callback;
        Listener& listener;
        const char* text;
        const char* location;
    } kRefused[] = {
        {add, nullptr, mA, "logging_func can not be NULL", "21"},
        {add, &Listen, mB, "can not add any more logging_funcs", "21"},
        {remove, nullptr, mA, "logging_func can not be NULL", "22"},
        {remove, &Listen, mB, "can not find logging_func/refcon pair to remove", "22"},
        {remove, &ListenToo, mA, "can not find logging_func/refcon pair to remove", "22"},
    };
    for (const auto& row : kRefused)
    {
        mAlerts.Clear();
        EXPECT_EQ(row.call(row.callback, row.listener), 3);
        EXPECT_EQ(mAlerts.Texts(),
                  Texts{std::string("Test Host error: internal verification failure, sorry! {") +
                        row.text + "}\n\n( 23 :: " + row.location + " )"});
    }
    EXPECT_EQ(Calls(), "aaaaaaaaaa");
    ASSERT_EQ(Remove(mA), 0);
    EXPECT_EQ(U_RemoveLoggingCallback(nullptr, nullptr), 3); // names the free slot
    EXPECT_EQ(Add(mB), 0);
    EXPECT_EQ(Calls(), "baaaaaaaaa");
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
    EXPECT_EQ(Call(), 17);
    EXPECT_EQ(sCalls, "a");
    mA.action = [] { throw std::string("nobody's"); };
    EXPECT_THROW(Call(), std::string);

    // Another thread gets at the table. It isn't waited for if it doesn't.
    std::packaged_task<U_Status()> remove([&] { return Remove(mA); });
    const std::future<U_Status> removed = remove.get_future();
    std::thread(std::move(remove)).detach();
    ASSERT_EQ(removed.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    EXPECT_EQ(Calls(), "b");
}

TEST_F(Callbacks, OtherThreadsWaitWhileACallbackRuns)
{
    ASSERT_EQ(Add(mA), 0);
    const auto callsWhile = [&](U_Status (*change)(Listener&)) {
        std::promise<void> begun;
        std::future<U_Status> changed;
        mA.action = [&] {
            changed = std::async(std::launch::async, [&] {
                begun.set_value();
                return change(mB);
            });
            begun.get_future().wait();
            EXPECT_EQ(changed.wait_for(std::chrono::milliseconds(100)),
                      std::future_status::timeout);
        };
        const std::string calls = Calls();
        EXPECT_EQ(changed.get(), 0);
        mA.action.clear();
        return calls;
    };
    EXPECT_EQ(callsWhile(&Add), "a");
    EXPECT_EQ(callsWhile(&Remove), "ab");
    EXPECT_EQ(Calls(), "a");
}

TEST_F(Callbacks, ADamagedRecordRefusesAllAndCallsNobody)
{
    ASSERT_EQ(Add(mA), 0);
    const std::vector<U_u32*> magic = FindMagicNumbers();
    ASSERT_EQ(magic.size(), 2u);
    {
        const ScDamagedRecord damaged(magic[1]);
        char name[31] = "before";
        U_u32 errors = 77;
        EXPECT_EQ(Add(mB), 2);
        EXPECT_EQ(Remove(mA), 2);
        EXPECT_EQ(U_GetName(name), 2);
        EXPECT_EQ(U_GetHowManyErrors(&errors), 2);
        EXPECT_STREQ(name, "before");
        EXPECT_EQ(errors, 77u);
        EXPECT_EQ(Calls(), "");
    }
    EXPECT_EQ(Calls(), "a");
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
