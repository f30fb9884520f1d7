// The last call, as a parent sees it.

#include <atomic>
#include <csignal>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <krobase/executor.h>
#include <platform/control.h>
#include <win32/runtime.h>

#include "U_Fatal.h"
#include "U_Lifecycle.h"
#include "U_Telemetry.h"
#include "U_Threads.h"
#include "examples/filecache/crashes.h"
#include "tests/crash/Child.h"

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

// The rest of the first line that begins with the text.
std::string Rest(const Death& death, const std::string& beginning)
{
    const std::string line = death.Line(beginning);
    return line.empty() ? "none" : line.substr(beginning.size());
}

// Reads after the end of a mapped file.
__attribute__((noinline, no_sanitize_address, no_sanitize_thread)) void ReadBeyondFile()
{
    std::FILE* const empty = std::tmpfile();
    const volatile char* const mapped = static_cast<const volatile char*>(
        mmap(nullptr, 1, PROT_READ, MAP_SHARED, fileno(empty), 0));
    std::_Exit(*mapped);
}

struct CrashRow
{
    const char* what;
    Crash crash;
    Where where;
    int signal;
};

const CrashRow kCrashes[] = {
    {"null write", &WriteToNull, kHere, SIGSEGV},
    {"null write on a thread", &WriteToNull, kOnThread, SIGSEGV},
    {"stack overflow", &OverflowStack, kHere, SIGSEGV},
    {"stack overflow on a thread", &OverflowStack, kOnThread, SIGSEGV},
    {"stack overflow on an executor", &OverflowStack, kOnExecutor, SIGSEGV},
    {"illegal instruction", &RunIllegalInstruction, kHere, SIGILL},
    {"division by zero", &DivideByZero, kOnThread, SIGFPE},
    {"bus error", &ReadBeyondFile, kOnExecutor, SIGBUS},
    {"signal from elsewhere", &SendSegmentationFault, kHere, SIGSEGV},
    {"exception", &ThrowException, kHere, SIGABRT},
    {"exception on a thread", &ThrowException, kOnThread, SIGABRT},
    {"terminate", &Terminate, kHere, SIGABRT},
    {"pure virtual call", &CallPureVirtual, kHere, SIGABRT},
    {"invalid parameter", &GiveInvalidParameter, kHere, SIGABRT},
    {"invalid parameter on a thread", &GiveInvalidParameter, kOnThread, SIGABRT},
};

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
    int signal;
    long lastLines;
};

const Crash kThrowANumber = [] { throw 5; };
const Crash kSetAnotherAndTerminate = [] {
    SetGlobal(&PrintCall);
    std::terminate();
};

const HandlerRow kHandlers[] = {
    {"fails alike", &WriteToNull, &WriteToNull, SIGSEGV, 0},
    {"fails alike after an overflow", &WriteToNull, &OverflowStack, SIGSEGV, 0},
    {"overflows too", &OverflowStack, &OverflowStack, SIGSEGV, 0},
    {"fails otherwise", &DivideByZero, &WriteToNull, SIGFPE, 0},
    {"fails in terminate", &WriteToNull, &Terminate, SIGSEGV, 1},
    {"fails after an invalid parameter", &WriteToNull, &GiveInvalidParameter, SIGSEGV, 0},
    {"throws", &ThrowException, &WriteToNull, SIGSEGV, 1},
    {"throws after an overflow", kThrowANumber, &OverflowStack, SIGSEGV, 1},
    {"throws in terminate", kThrowANumber, &Terminate, SIGABRT, 1},
    {"throws after an invalid parameter", &ThrowException, &GiveInvalidParameter, SIGABRT, 1},
    {"terminates", &Terminate, &WriteToNull, SIGABRT, 1},
    {"terminates in terminate", &Terminate, &Terminate, SIGABRT, 1},
    {"sets another and terminates", kSetAnotherAndTerminate, &Terminate, SIGABRT, 1},
    {"gives an invalid parameter", &GiveInvalidParameter, &WriteToNull, SIGABRT, 1},
};

void WaitForAll(std::atomic<int>& count, int all)
{
    ++count;
    while (count < all)
        std::this_thread::yield();
}
} // namespace

TEST(Crashes, MakeOneLastCallAndEndInTheSystemsWay)
{
    enum
    {
        kGlobal,
        kLocal,
        kNone
    };
    for (const CrashRow& row : kCrashes)
    {
        for (int registered : {kGlobal, kLocal, kNone})
        {
            SCOPED_TRACE(std::string(row.what) + ", " + std::to_string(registered));
            const Death death = RunToDeath([&] {
                Birth();
                if (registered != kNone)
                    SetGlobal(&PrintCall, "handler on");
                if (registered != kLocal)
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
            SCOPED_TRACE(death.output);
            EXPECT_TRUE(death.BySignal(row.signal)) << death.status;
            EXPECT_EQ(death.Count("handler on"), registered == kNone ? 0 : 1);
            EXPECT_EQ(death.Count("wrong"), 0);
            EXPECT_EQ(death.Count(kLastLine), 1);
            if (registered == kNone)
                continue;
            EXPECT_EQ(Rest(death, "handler on"), Rest(death, "failing on"));
            EXPECT_LT(death.output.find("handler on"), death.output.find(kLastLine));
        }
    }
}

TEST(Crashes, EndTheProcessWhateverTheHandlerDoes)
{
    for (const HandlerRow& row : kHandlers)
    {
        SCOPED_TRACE(row.what);
        const Death death = RunToDeath([&] {
            Birth();
            sSecond = row.second;
            SetGlobal(&PrintAndFail);
            Fail(row.first);
        });
        SCOPED_TRACE(death.output);
        EXPECT_TRUE(death.BySignal(row.signal)) << death.status;
        EXPECT_EQ(death.Count("handler on"), 1);
        EXPECT_EQ(death.Count(kLastLine), row.lastLines);
    }
}

TEST(Crashes, AHandlerThatNeverReturnsBlocksNoOtherThread)
{
    for (Crash crash : {&WriteToNull, &Terminate, &GiveInvalidParameter})
    {
        const Death death = RunToDeath(
            [&] {
                static std::atomic<bool> sIsInside(false);
                Birth();
                SetGlobal([](void* refcon) {
                    PrintCall(refcon);
                    sIsInside = true;
                    for (;;)
                        pause();
                });
                std::thread(crash).detach();
                while (!sIsInside)
                    std::this_thread::yield();
                SetGlobal(&PrintCall);
                U_RegisterRenderThread();
                U_DeregisterRenderThread();
                Print("the others go on");
                for (;;)
                    pause();
            },
            "the others go on");
        SCOPED_TRACE(death.output);
        EXPECT_TRUE(death.BySignal(SIGKILL)) << death.status;
        EXPECT_EQ(death.Count("handler on"), 1);
        EXPECT_EQ(death.Count("the others go on"), 1);
        EXPECT_EQ(death.Count(kLastLine), 0);
    }
}

TEST(Crashes, TwoThreadsAtOnceMakeACallEach)
{
    for (const auto& [crash, signal] :
         {std::pair<Crash, int>(&WriteToNull, SIGSEGV), {&Terminate, SIGABRT}})
    {
        const Death death = RunToDeath([crash = crash] {
            static std::atomic<int> sReady(0);
            static std::atomic<int> sInside(0);
            Birth();
            SetGlobal([](void* refcon) {
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
        SCOPED_TRACE(death.output);
        EXPECT_TRUE(death.BySignal(signal)) << death.status;
        EXPECT_EQ(death.Count("handler on"), 2);
        const std::string first = Rest(death, "handler on");
        EXPECT_EQ(death.Count("handler on" + first + "\n"), 1);
        EXPECT_GE(death.Count(kLastLine), 1);
    }
}

TEST(Crashes, ALogSinkThatFailsAfterTheCallGetsNoSecondLine)
{
    const Death death = RunToDeath([] {
        Birth();
        SetGlobal(&PrintCall);
        platform::SetLogSink([](int, const char*, const char* tag, const char*) {
            Print(tag);
            std::terminate();
        });
        std::terminate();
    });
    SCOPED_TRACE(death.output);
    EXPECT_TRUE(death.BySignal(SIGABRT)) << death.status;
    EXPECT_EQ(death.Count("HANDLER"), 1);
    EXPECT_EQ(death.Count("handler on"), 2) << "the failure of the sink is one more";
}

TEST(Crashes, AnInvalidParameterIsLoggedAfterTheCall)
{
    const Death death = RunToDeath([] {
        Birth();
        Fail(&GiveInvalidParameter);
    });
    const std::string tag = "[0] U QX_invalid_parameter_handler: ";
    EXPECT_EQ(Rest(death, tag),
              "Intentionally passing an invalid param to the runtime to get a crashlog.");
    EXPECT_EQ(death.Count(tag), 1); // the line after the abort is never reached
    EXPECT_LT(death.output.find(kLastLine), death.output.find(tag));
}

TEST(Crashes, AHardwareExceptionIsATelemetryEventBeforeTheCall)
{
    struct Provider : U::telemetry::U_TelemetryProvider
    {
        typedef boost::shared_ptr<krobase::config::UsageLoggerGroup> Group;
        typedef const std::string& Text;

        bool IsLogging() override { return true; }
        void LogEvent(const char* category, const char* event, const unsigned short* text,
                      krobase::utility::Guid guid) override
        {
            std::string line = std::string("event ") + category + " " + event + " ";
            while (*text)
                line += static_cast<char>(*text++);
            Print((line + (guid == krobase::utility::Guid() ? " zero" : " other")).c_str());
            throw std::runtime_error("from the provider");
        }
        void LogEventWithCount(Text, Text, Text, int, krobase::utility::Guid) override {}
        void IncrementEventCount(Text, Text, Text) override {}
        void ClearEventCount(Text, Text, Text) override {}
        void LogEventsWithCount() override {}
        Group NewDataGroup(const char*, const char*, const char*, krobase::utility::Guid) override
        {
            return {};
        }
        void AddToGroup(const Group&, const char*, const U_UTF8String&) override {}
    };
    for (const auto& [crash, events] :
         {std::pair<Crash, long>(&WriteToNull, 1), {&Terminate, 0}, {&GiveInvalidParameter, 0}})
    {
        const Death death = RunToDeath([crash = crash] {
            static Provider sProvider;
            Birth();
            U::telemetry::RegisterTelemetryProvider(&sProvider);
            SetGlobal(&PrintCall);
            Fail(crash);
        });
        SCOPED_TRACE(death.output);
        EXPECT_TRUE(death.BySignal(events ? SIGSEGV : SIGABRT)) << death.status;
        EXPECT_EQ(death.Count("event Stage CrashHandler InvokingCrashHandler zero\n"), events);
        EXPECT_EQ(death.Count("handler on"), 1);
        if (events)
        {
            EXPECT_LT(death.output.find("event"), death.output.find("handler on"));
        }
    }
}
