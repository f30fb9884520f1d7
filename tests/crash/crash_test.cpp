// The last call, as a parent sees it.

#include <atomic>
#include <csetjmp>
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
enum Place
{
    kHere,
    kOnThread, // that has a role
    kOnExecutor
};

void Fail(Crash crash, Place place = kHere)
{
    using namespace krobase::threads;
    const auto fail = [crash] {
        Tell("failing on", true);
        crash();
    };
    if (place == kHere)
        fail();
    else if (place == kOnThread)
        std::thread([=] {
            U_RegisterRenderThread();
            fail();
        }).join();
    else
        CreateAsyncThreadedExecutor("fails", 1, kThreadPriorityNormal, {}, {})->Post(fail, 0);
}

// The rest of a line that begins so.
std::string Rest(const Death& death, const std::string& beginning)
{
    const std::string line = death.Line(beginning);
    return line.empty() ? "none" : line.substr(beginning.size());
}

// Behind the end of a file that is mapped.
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
    Place place;
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

void TellAndFail(void* refcon)
{
    TellOfCall(refcon);
    sSecond();
}

// What a handler does wrong, and where that leads.
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
    SetGlobal(&TellOfCall);
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

// A birth that leaves its handlers.
void FailToBeBorn()
{
    platform::SetHeapFailure([](unsigned long long size) { return size != 0; });
    U_Birth("Test Host", nullptr);
    platform::SetHeapFailure(boost::function<bool(unsigned long long)>());
}

void WaitForAll(std::atomic<int>& count, int all)
{
    ++count;
    while (count < all)
        std::this_thread::yield();
}

sigjmp_buf sBack;

// Where the crash lies deeper or less deep in the stack than the one before.
__attribute__((noinline)) int FailAtDepth(Crash crash, int depth)
{
    volatile char frame[64] = {};
    if (depth == 0)
        crash();
    else
        frame[depth % 64] = static_cast<char>(FailAtDepth(crash, depth - 1));
    return frame[0];
}
} // namespace

TEST(Crashes, MakesTheLastCallOnceAndEndsInTheSystemsWay)
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
                    SetGlobal(&TellOfCall, "handler on");
                if (registered != kLocal)
                    Fail(row.crash, row.place);
                static const Crash sCrash = row.crash;
                SetGlobal(&TellOfCall, "wrong handler");
                Fail(
                    [] {
                        U_SetLocalUnhandledExceptionOrHardwareErrorHandler(
                            &TellOfCall, const_cast<char*>("handler on"));
                        sCrash();
                    },
                    row.place);
            });
            SCOPED_TRACE(death.told);
            EXPECT_TRUE(death.BySignal(row.signal)) << death.status;
            EXPECT_EQ(death.Count("handler on"), registered == kNone ? 0 : 1);
            EXPECT_EQ(death.Count("wrong"), 0);
            EXPECT_EQ(death.Count(kLastLine), 1);
            if (registered == kNone)
                continue;
            EXPECT_EQ(Rest(death, "handler on"), Rest(death, "failing on"));
            EXPECT_LT(death.told.find("handler on"), death.told.find(kLastLine));
        }
    }
}

TEST(Crashes, EndsWhateverItsHandlerDoes)
{
    for (const HandlerRow& row : kHandlers)
    {
        SCOPED_TRACE(row.what);
        const Death death = RunToDeath([&] {
            Birth();
            sSecond = row.second;
            SetGlobal(&TellAndFail);
            Fail(row.first);
        });
        SCOPED_TRACE(death.told);
        EXPECT_TRUE(death.BySignal(row.signal)) << death.status;
        EXPECT_EQ(death.Count("handler on"), 1);
        EXPECT_EQ(death.Count(kLastLine), row.lastLines);
    }
}

TEST(Crashes, AHandlerThatNeverReturnsHoldsUpNobodyElse)
{
    for (Crash crash : {&WriteToNull, &Terminate, &GiveInvalidParameter})
    {
        const Death death = RunToDeath(
            [&] {
                static std::atomic<bool> sStands(false);
                Birth();
                SetGlobal([](void* refcon) {
                    TellOfCall(refcon);
                    sStands = true;
                    for (;;)
                        pause();
                });
                std::thread(crash).detach();
                while (!sStands)
                    std::this_thread::yield();
                SetGlobal(&TellOfCall);
                U_RegisterRenderThread();
                U_DeregisterRenderThread();
                Tell("the others go on");
                for (;;)
                    pause();
            },
            "the others go on");
        SCOPED_TRACE(death.told);
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
                TellOfCall(refcon);
                WaitForAll(sInside, 2); // neither waits for the other's end
            });
            auto fail = [crash] {
                WaitForAll(sReady, 2);
                Fail(crash);
            };
            std::thread other(fail);
            fail();
            other.join();
        });
        SCOPED_TRACE(death.told);
        EXPECT_TRUE(death.BySignal(signal)) << death.status;
        EXPECT_EQ(death.Count("handler on"), 2);
        const std::string first = Rest(death, "handler on");
        EXPECT_EQ(death.Count("handler on" + first + "\n"), 1);
        EXPECT_GE(death.Count(kLastLine), 1);
    }
}

TEST(Crashes, AHandlerThatJumpsOutIsCalledForTheNextFailureAndNotForItsOwn)
{
    const Crash kCallNowhere = [] { reinterpret_cast<void (*)()>(0x1234)(); };
    // A stack that ends at an address without code does not show that the handler runs: one
    // more call is made.
    for (const auto& [crash, second, calls] :
         {std::tuple<Crash, Crash, int>(&WriteToNull, &Terminate, 5),
          {&OverflowStack, &Terminate, 5},
          {&Terminate, &Terminate, 5},
          {&Terminate, &WriteToNull, 5},
          {&DivideByZero, &DivideByZero, 5},
          {kCallNowhere, &Terminate, 5},
          {&Terminate, kCallNowhere, 6}})
    {
        const Death death = RunToDeath([crash = crash, second = second] {
            static volatile int sRound = 0;
            sSecond = second;
            Birth();
            SetGlobal([](void* refcon) {
                TellOfCall(refcon);
                if (sRound == 4)
                    sSecond();
                siglongjmp(sBack, 1);
            });
            for (; sRound < 5; sRound = sRound + 1)
            {
                const int depths[] = {200, 3, 3, 400, 3};
                if (sigsetjmp(sBack, 1) == 0)
                    FailAtDepth(crash, depths[sRound]);
            }
        });
        SCOPED_TRACE(death.told);
        EXPECT_TRUE(WIFSIGNALED(death.status)) << death.status;
        EXPECT_EQ(death.Count("handler on"), calls);
    }
}

TEST(Crashes, ALogSinkThatFailsAfterTheCallGetsNoSecondLine)
{
    const Death death = RunToDeath([] {
        Birth();
        SetGlobal(&TellOfCall);
        platform::SetLogSink([](int, const char*, const char* tag, const char*) {
            Tell(tag);
            std::terminate();
        });
        std::terminate();
    });
    SCOPED_TRACE(death.told);
    EXPECT_TRUE(death.BySignal(SIGABRT)) << death.status;
    EXPECT_EQ(death.Count("HANDLER"), 1);
    EXPECT_EQ(death.Count("handler on"), 2) << "the failure of the sink is one more";
}

TEST(Crashes, SoMayWhoStoodBeforeBirth)
{
    const Death death = RunToDeath([] {
        std::set_terminate([] { siglongjmp(sBack, 1); });
        Birth();
        SetGlobal([](void*) { Tell("saved"); });
        for (volatile int round = 0; round < 3; ++round)
        {
            if (sigsetjmp(sBack, 1) == 0)
                std::terminate();
        }
        std::_Exit(7);
    });
    EXPECT_TRUE(death.WithCode(7)) << death.told;
    EXPECT_EQ(death.Count("saved"), 3);
}

TEST(Crashes, GoesOnToWhoHandledItBeforeBirth)
{
    static std::terminate_handler sFoundTerminate;
    static win32::InvalidParameterHandler sFoundInvalidParameter;
    for (Crash crash : {&WriteToNull, &Terminate, &GiveInvalidParameter})
    {
        for (const bool afterDeath : {false, true})
        {
            const Death death = RunToDeath([&] {
                std::signal(SIGSEGV, [](int) { std::_Exit(9); });
                std::set_terminate([] { std::_Exit(9); });
                win32::_set_invalid_parameter_handler(
                    [](auto* expression, auto* function, auto* file, auto line, auto reserved) {
                        const bool isWhole = expression[0] == 't' && function[0] == 'e' &&
                                             file[0] == 'x' && line == 17 && reserved == 42;
                        std::_Exit(isWhole ? 9 : 8);
                    });
                FailToBeBorn();
                // The host's that come now pass on to what the birth has left.
                sFoundTerminate = std::set_terminate([] {
                    Tell("host's");
                    sFoundTerminate();
                });
                sFoundInvalidParameter =
                    win32::_set_invalid_parameter_handler([](auto... parameters) {
                        Tell("host's");
                        sFoundInvalidParameter(parameters...);
                    });
                Birth();
                SetGlobal([](void* refcon) {
                    // Gone when it returns, and no reason to call once more.
                    const U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler own(&TellOfCall,
                                                                                        refcon);
                    TellOfCall(refcon);
                });
                if (afterDeath)
                    U_Death();
                Fail(crash);
            });
            SCOPED_TRACE(death.told);
            EXPECT_TRUE(death.WithCode(9)) << death.status;
            EXPECT_EQ(death.Count("host's"), crash != &WriteToNull);
            EXPECT_EQ(death.Count("handler on"), !afterDeath);
            EXPECT_EQ(death.Count(kLastLine), !afterDeath);
        }
    }
}

TEST(Crashes, EachLifeMakesItsCallAndGoesOnToWhoStoodBefore)
{
    const Death thrown = RunToDeath([] {
        win32::_set_invalid_parameter_handler([](auto...) {
            Tell("host's");
            throw 1;
        });
        for (int life = 0; life < 2; ++life)
        {
            Birth();
            SetGlobal(&TellOfCall);
            EXPECT_THROW(GiveInvalidParameter(), int);
            U_Death();
        }
        std::_Exit(7);
    });
    EXPECT_TRUE(thrown.WithCode(7)) << thrown.told;
    EXPECT_EQ(thrown.Count("handler on"), 2);
    EXPECT_EQ(thrown.Count("host's"), 2);

    for (const bool afterDeath : {false, true})
    {
        const Death death = RunToDeath([&] {
            std::set_terminate([] { std::_Exit(9); });
            Birth();
            SetGlobal(&TellOfCall);
            const std::terminate_handler found = std::set_terminate([] {});
            U_Death();
            std::set_terminate(found); // the library's, between two lives
            Birth();
            if (afterDeath)
                U_Death();
            Fail(&Terminate);
        });
        EXPECT_TRUE(death.WithCode(9)) << death.told;
        EXPECT_EQ(death.Count("handler on"), !afterDeath);
    }
}

TEST(Crashes, AnInvalidParameterIsLoggedBehindTheCall)
{
    const Death death = RunToDeath([] {
        Birth();
        Fail(&GiveInvalidParameter);
    });
    const std::string tag = "[0] U QX_invalid_parameter_handler: ";
    EXPECT_EQ(Rest(death, tag),
              "Intentionally passing an invalid param to the runtime to get a crashlog.");
    EXPECT_EQ(death.Count(tag), 1); // what nobody should see isn't seen
    EXPECT_LT(death.told.find(kLastLine), death.told.find(tag));
}

TEST(Crashes, IsToldToTelemetryFirst)
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
            Tell((line + (guid == krobase::utility::Guid() ? " zero" : " other")).c_str());
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
            SetGlobal(&TellOfCall);
            Fail(crash);
        });
        SCOPED_TRACE(death.told);
        EXPECT_TRUE(death.BySignal(events ? SIGSEGV : SIGABRT)) << death.status;
        EXPECT_EQ(death.Count("event Stage CrashHandler InvokingCrashHandler zero\n"), events);
        EXPECT_EQ(death.Count("handler on"), 1);
        if (events)
        {
            EXPECT_LT(death.told.find("event"), death.told.find("handler on"));
        }
    }
}
