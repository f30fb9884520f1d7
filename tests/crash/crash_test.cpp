// The last call, as a parent sees it.

#include <atomic>
#include <exception>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include <krobase/executor.h>
#include <platform/control.h>
#include <win32/runtime.h>

#include "U_Fatal.h"
#include "U_Report.h"
#include "U_Suspend.h"
#include "U_Telemetry.h"
#include "U_Threads.h"
#include "tests/crash/Child.h"
#include "tests/support/RecordingProvider.h"

namespace
{
enum Where
{
    kHere,
    kOnThread, // with a role
    kOnExecutor
};

void Fail(Crash crash, Where where = kHere)
{
    using namespace krobase::threads;
    const auto fail = [crash] {
        Print("failing on", true);
        crash();
    };
    if (where == kHere)
        fail();
    else if (where == kOnThread)
        std::thread([=] {
            U_RegisterRenderThread();
            fail();
        }).join();
    else
        CreateAsyncThreadedExecutor("fails", 1, kThreadPriorityNormal, {}, {})->Post(fail, 0);
}

struct CrashRow
{
    const char* what;
    Crash crash;
    Where where;
    int end;
};

std::vector<CrashRow> Crashes()
{
    std::vector<CrashRow> rows = {
        {"null write", &WriteToNull, kHere, kBadAccess},
        {"null write on a thread", &WriteToNull, kOnThread, kBadAccess},
        {"stack overflow", &OverflowStack, kHere, kBadAccess},
        {"stack overflow on a thread", &OverflowStack, kOnThread, kBadAccess},
        {"stack overflow on an executor", &OverflowStack, kOnExecutor, kBadAccess},
        {"illegal instruction", &RunIllegalInstruction, kHere, kIllegalInstruction},
        {"division by zero", &DivideByZero, kOnThread, kDivisionByZero},
        {"exception", &ThrowException, kHere, kAborted},
        {"exception on a thread", &ThrowException, kOnThread, kAborted},
        {"terminate", &Terminate, kHere, kAborted},
        {"pure virtual call", &CallPureVirtual, kHere, kPureVirtualCall},
        {"invalid parameter", &GiveInvalidParameter, kHere, kInvalidParameter},
        {"invalid parameter on a thread", &GiveInvalidParameter, kOnThread, kInvalidParameter},
    };
    for (const SystemCrash& crash : SystemCrashes())
        rows.push_back({crash.what, crash.crash, kHere, crash.end});
    return rows;
}

// Wine calls no filter after a stack overflow.
bool IsLacking(Crash crash)
{
    return IsWine() && crash == &OverflowStack;
}

Crash sSecond = nullptr;

void PrintAndFail(void* refcon)
{
    PrintCall(refcon);
    sSecond();
}

// A failure within the handler, and the end of the process.
struct HandlerRow
{
    const char* what;
    Crash second; // within the handler
    Crash first;
    int end;
    long lastLines;
};

const Crash kThrowANumber = [] { throw 5; };
const Crash kSetAnotherAndTerminate = [] {
    SetGlobal(&PrintCall);
    std::terminate();
};

const HandlerRow kHandlers[] = {
    {"fails alike", &WriteToNull, &WriteToNull, kBadAccess, 0},
    {"fails alike after an overflow", &WriteToNull, &OverflowStack, kBadAccess, 0},
    {"overflows too", &OverflowStack, &OverflowStack, kBadAccess, 0},
    {"fails otherwise", &DivideByZero, &WriteToNull, kDivisionByZero, 0},
    {"fails in terminate", &WriteToNull, &Terminate, kBadAccess, 1},
    {"fails after an invalid parameter", &WriteToNull, &GiveInvalidParameter, kBadAccess, 0},
    {"throws", &ThrowException, &WriteToNull, kBadAccess, 1},
    {"throws after an overflow", kThrowANumber, &OverflowStack, kBadAccess, 1},
    {"throws in terminate", kThrowANumber, &Terminate, kAborted, 1},
    {"throws after an invalid parameter", &ThrowException, &GiveInvalidParameter, kInvalidParameter,
     1},
    {"terminates", &Terminate, &WriteToNull, kAborted, 1},
    {"terminates in terminate", &Terminate, &Terminate, kAborted, 1},
    {"sets another and terminates", kSetAnotherAndTerminate, &Terminate, kAborted, 1},
    {"gives an invalid parameter", &GiveInvalidParameter, &WriteToNull, kInvalidParameter, 1},
};

void WaitForAll(std::atomic<int>& count, int all)
{
    ++count;
    while (count < all)
        std::this_thread::yield();
}

struct NobodysException // passes through the library, and no function catches it
{
};

class ThrowingExecutor final : public krobase::threads::AsyncThreadedExecutor
{
public:
    bool IsExecutorThread() const override { return false; }
    void Post(const boost::function<void()>&, int) override { throw NobodysException(); }
};

void ReportToAThrowingPresenter()
{
    platform::SetAlertPresenter([](const platform::Alert&) { throw NobodysException(); });
    U_ReportError(0, U_Sev_PROBLEM, U_UTF16String(4, 'x'));
}

void CallOnAThrowingExecutor()
{
    U_SuspendContext::NewSuspendContext()->CallOnThreadedExecutor(
        boost::make_shared<ThrowingExecutor>(), [] { return 0; });
}
} // namespace

// In this order: the event, the call on the thread that fails, and the lines of the log. The event
// is for hardware exceptions, and the second line for invalid parameters.
TEST(Crashes, MakeOneLastCallAndEndInTheSystemsWay)
{
    const std::string event = "LogEvent Stage CrashHandler InvokingCrashHandler 0-0\n";
    const std::string parameter = "[0] U QX_invalid_parameter_handler: ";
    const std::string lastLines =
        kLastLine + parameter +
        "Intentionally passing an invalid param to the runtime to get a crashlog.\n";
    for (const CrashRow& row : Crashes())
    {
        if (IsLacking(row.crash))
            continue;
        for (const std::string registered : {"for all threads", "for the thread", "none"})
        {
            SCOPED_TRACE(std::string(row.what) + ", handler: " + registered);
            const bool isNone = registered == "none";
            const Death death = RunToDeath([&] {
                static RecordingProvider sProvider;
                sProvider.mOnCall = [](const std::string& call) {
                    Print(call.c_str());
                    throw std::runtime_error("from the provider");
                };
                Birth();
                U::telemetry::RegisterTelemetryProvider(&sProvider);
                if (!isNone)
                    SetGlobal(&PrintCall, "handler on");
                if (registered != "for the thread")
                    Fail(row.crash, row.where);
                static const Crash sCrash = row.crash;
                SetGlobal(&PrintCall, "wrong handler");
                Fail(
                    [] {
                        U_SetLocalUnhandledExceptionOrHardwareErrorHandler(
                            &PrintCall, const_cast<char*>("handler on"));
                        sCrash();
                    },
                    row.where);
            });
            const std::string call = "handler on" + death.Rest("failing on") + "\n";
            const bool isException = row.end != kAborted && row.end != kInvalidParameter;
            const std::string order = (isException ? event : "") + (isNone ? "" : call) + kLastLine;
            const bool isParameter = row.crash == &GiveInvalidParameter;
            death.Expect(row.end, {{order, 1},
                                   {event, isException},
                                   {"handler on", !isNone},
                                   {"wrong", 0},
                                   {kLastLine, 1},
                                   {lastLines, isParameter},
                                   {parameter, isParameter}});
        }
    }
}

TEST(Crashes, EndTheProcessWhateverTheHandlerDoes)
{
    for (const HandlerRow& row : kHandlers)
    {
        if (IsLacking(row.first) || IsLacking(row.second))
            continue;
        SCOPED_TRACE(row.what);
        const Death death = RunToDeath([&] {
            Birth();
            sSecond = row.second;
            SetGlobal(&PrintAndFail);
            Fail(row.first);
        });
        death.Expect(row.end, {{"handler on", 1}, {kLastLine, row.lastLines}});
    }
}

TEST(Crashes, AHandlerThatNeverReturnsBlocksNoOtherThread)
{
    for (Crash crash : {&WriteToNull, &Terminate, &GiveInvalidParameter})
    {
        const Death death = RunToDeath([&] {
            static std::atomic<bool> sIsInside(false);
            Birth([](void* refcon) {
                PrintCall(refcon);
                sIsInside = true;
                WaitForTheEnd();
            });
            std::thread(crash).detach();
            while (!sIsInside)
                std::this_thread::yield();
            SetGlobal(&PrintCall);
            U_RegisterRenderThread();
            U_DeregisterRenderThread();
            std::_Exit(7);
        });
        death.Expect(ExitWith(7), {{"handler on", 1}, {kLastLine, 0}});
    }
}

TEST(Crashes, TwoThreadsAtOnceMakeACallEach)
{
    for (const auto& [crash, end] :
         {std::pair<Crash, int>(&WriteToNull, kBadAccess), {&Terminate, kAborted}})
    {
        const Death death = RunToDeath([crash = crash] {
            static std::atomic<int> sReady(0);
            static std::atomic<int> sInside(0);
            Birth([](void* refcon) {
                PrintCall(refcon);
                WaitForAll(sInside, 2); // neither call waits for the other to return
            });
            auto fail = [crash] {
                WaitForAll(sReady, 2);
                Fail(crash);
            };
            std::thread other(fail);
            fail();
            other.join();
        });
        const std::string first = "handler on" + death.Rest("handler on") + "\n";
        death.Expect(end, {{"handler on", 2}, {first, 1}});
        EXPECT_GE(death.Count(kLastLine), 1);
    }
}

TEST(Crashes, ALogSinkThatFailsAfterTheCallGetsNoSecondLine)
{
    const Death death = RunToDeath([] {
        Birth(&PrintCall);
        platform::SetLogSink([](int, const char*, const char* tag, const char*) {
            Print(tag);
            std::terminate();
        });
        std::terminate();
    });
    // The failure of the sink is the second.
    death.Expect(kAborted, {{"HANDLER", 1}, {"handler on", 2}});
}

TEST(Crashes, AnExceptionThatTheLibraryPassesOnMakesTheLastCall)
{
    for (void (*const call)() : {&ReportToAThrowingPresenter, &CallOnAThrowingExecutor})
    {
        const Death death = RunToDeath([call] {
            Birth(&PrintCall);
            call();
        });
        EXPECT_EQ(death.Count("handler on"), 1) << death.output;
        EXPECT_EQ(death.Count(kLastLine), 1) << death.output;
    }
}
