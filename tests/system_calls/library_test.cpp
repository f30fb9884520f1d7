// All operations, birth and death, and the memory log while calls to the system fail, are
// interrupted, or do half their work.

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <functional>
#include <future>
#include <iterator>
#include <set>
#include <string_view>
#include <thread>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <win32/clocks.h>
#include <win32/exceptions.h>
#include <win32/memory.h>
#include <win32/message_box.h>
#include <win32/threads.h>
#include <wril/wril.h>

#include "U_Alloc.h"
#include "U_Lifecycle.h"
#include "indep/instrumentation/ScLogger.h"
#include "tests/instrumentation/MemoryLogTest.h"
#include "tests/operations/Operations.h"
#include "tests/support/BornLibrary.h"
#include "tests/support/Text.h"
#include "tests/system_calls/FailingCalls.h"
#include "tests/walks/Walk.h"

namespace
{
const char kNotAllowed[] = "the system does not allow to intercept calls";

FailingCalls& Calls()
{
    static FailingCalls& calls = NewShared<FailingCalls>();
    return calls;
}

// Intercepts the calls of this thread, of all threads that it starts from here on, and of all
// children. Returns false if the system does not allow this.
bool Intercept()
{
    static const bool intercepts = [] {
        Calls();
        const int kUnknown = -2;
        static std::atomic<int> intercepted{kUnknown};
        // This thread answers, and so must not be one of those whose calls wait.
        std::thread([] {
            while (intercepted == kUnknown)
                std::this_thread::yield();
            if (intercepted >= 0)
                Answer(intercepted, Calls(), "");
        }).detach();
        intercepted = InterceptCalls();
        return intercepted >= 0;
    }();
    return intercepts;
}

Failing FailingWith(const char* name, Failure failure, bool forGood)
{
    const bool losesSome = failure == Failure::kError;
    return {name,
            [=](long point) { Calls().Begin(failure, point, forGood); },
            [] { Calls().End(); },
            []() -> bool { return Calls().hasFailed; },
            !losesSome ? 0
            : forGood  ? ~0u
                       : ~static_cast<unsigned int>(kLost),
            ""};
}

std::vector<Failing> Failings()
{
    return {FailingWith("an error", Failure::kError, false),
            FailingWith("errors for good", Failure::kError, true),
            FailingWith("an interruption", Failure::kInterrupted, false),
            FailingWith("short for good", Failure::kShort, true)};
}

std::vector<Failing> FailingsWithClose()
{
    std::vector<Failing> failings = Failings();
    failings.push_back(FailingWith("an error of close", Failure::kClose, false));
    failings.push_back(FailingWith("errors of close for good", Failure::kClose, true));
    failings.push_back(FailingWith("an interrupted close", Failure::kInterruptedClose, false));
    return failings;
}

std::vector<Failing> Errors()
{
    return {Failings()[0], Failings()[1]};
}

class SystemCalls : public BornLibrary
{
protected:
    void SetUp() override
    {
        if (!Intercept())
            GTEST_SKIP() << kNotAllowed;
        BornLibrary::SetUp();
        DropAlertsAndLogLines();
    }

    void TearDown() override
    {
        if (!IsSkipped())
            BornLibrary::TearDown();
    }
};

std::string LogPath()
{
    return testing::TempDir() + "system_calls." + std::to_string(getpid()) + ".log";
}

// Without a call that fails, both lines are there. A failed write costs a line, and a failed read
// hides both. An interruption costs nothing.
Outcome WriteTwoLines()
{
    std::remove(LogPath().c_str());
    try
    {
        U_ScGlobalLogger logger(LogPath().c_str());
        logger.Printf("the first line");
        logger.Printf("the second line");
    }
    catch (int)
    {
        return kLess;
    }
    std::ifstream file(LogPath());
    Texts lines;
    for (std::string line; std::getline(file, line);)
    {
        const std::size_t text = line.find("the ");
        if (text != line.npos)
            lines.push_back(line.substr(text));
    }
    return RightIf(lines == Texts{"the first line", "the second line"}, kLess);
}

// The system alone knows whether the block can be read: the checked heap has no record of it.
Outcome FreeABlockFromBeforeTheChecks(Own& own)
{
    void* const block = U_AllocatePtrQuiet(own.size);
    platform::SetHeapChecks("1");
    U_FreePtr(block);
    platform::SetHeapChecks("0");
    return block ? kRight : kNull;
}

Outcome LookForBadMemory(Own& own)
{
    const std::size_t kPage = 0x1000;
    static char* const end = [] {
        char* const pages = static_cast<char*>(
            mmap(nullptr, 2 * kPage, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        mprotect(pages + kPage, kPage, PROT_NONE);
        return pages + kPage;
    }();
    using win32::IsBadReadPtr;
    return RightIf(!IsBadReadPtr(own.handle, sizeof(void*)) && !IsBadReadPtr(end - kPage, kPage) &&
                   !IsBadReadPtr(end - 3, 3) && IsBadReadPtr(end - 3, 4) && IsBadReadPtr(end, 1) &&
                   IsBadReadPtr(end - 1000, 1001) && IsBadReadPtr(nullptr, 8));
}

Outcome ReleaseMemory()
{
    win32::SetLastError(0);
    void* const range = win32::VirtualAlloc(nullptr, 1, win32::kMemReserve, win32::kPageNoAccess);
    if (range && win32::VirtualFree(range, 0, win32::kMemRelease))
        return kRight;
    return win32::GetLastError() == win32::kErrorNotEnoughMemory ? kLess : kWrong;
}

// Runs a call that writes to stderr, which is a file without limits meanwhile. An error costs the
// text or its end. Any other failure costs nothing.
Outcome WriteToStderr(const std::function<void()>& write, const std::string& text)
{
    static const int console = dup(STDERR_FILENO);
    static const int file = memfd_create("stderr", 0);
    char written[0x1000] = "";
    fcntl(file, F_SETFL, O_APPEND);
    const bool isEmpty = ftruncate(file, 0) == 0;
    dup2(file, STDERR_FILENO);
    platform::SetLogSink({});
    write();
    DropAlertsAndLogLines();
    dup2(console, STDERR_FILENO);
    const bool isRead = pread(file, written, sizeof(written) - 1, 0) >= 0;
    return RightIf(isEmpty && isRead && written == text, kLess);
}

Outcome LogALine()
{
    static int count = 0; // so that no line is a repetition
    const std::string text = "line " + std::to_string(++count);
    return WriteToStderr([&] { WRIL_Log(0, "rows", "log", text.c_str()); },
                         "[0] rows log: " + text + "\n");
}

Outcome ShowAnAlert()
{
    const std::string rule = "+" + std::string(74, '-') + "+\n";
    const auto show = [] {
        platform::SetAlertPresenter({});
        win32::MessageBoxW(nullptr, Units(u"an alert").c_str(), nullptr, 0);
    };
    return WriteToStderr(show, rule + "| an alert" + std::string(64, ' ') + " |\n" + rule);
}

// A thread whose priority can't be set keeps that of the process.
Outcome LowerAPriority(Own& own)
{
    std::promise<Outcome> outcome;
    const auto lower = [&] {
        using namespace win32;
        const bool lowered = SetThreadPriority(GetCurrentThread(), kThreadPriorityLowest) != 0;
        errno = 0;
        const int process = getpriority(PRIO_PROCESS, static_cast<id_t>(getpid()));
        const int here = getpriority(PRIO_PROCESS, static_cast<id_t>(gettid()));
        outcome.set_value(RightIf(lowered && !errno && here == std::min(process + 10, 19),
                                  lowered && !errno ? kWrong : kLess));
    };
    own.executor->Post(lower, 0);
    return outcome.get_future().get();
}

// The signal is sent again after the call.
Outcome SendASignalDuringACall()
{
    static std::atomic<int> heard{0};
    heard = 0;
    struct sigaction counts = {}, before = {};
    counts.sa_handler = [](int) { ++heard; };
    sigaction(SIGILL, &counts, &before);
    win32::SetUnhandledExceptionFilter([](win32::EXCEPTION_POINTERS*) { return 0; });
    const bool completes = win32::CallUntilException([](void*) { raise(SIGILL); }, nullptr);
    win32::SetUnhandledExceptionFilter(nullptr);
    sigaction(SIGILL, &before, nullptr);
    return RightIf(completes && heard == 1);
}

std::atomic<bool> sLacksBootTime{false};

unsigned long long Milliseconds()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<unsigned long long>(now.tv_sec * 1000 + now.tv_nsec / 1000000);
}

bool IsTorn(const std::string& row)
{
    const std::ptrdiff_t kColumns = 24;
    return std::count(row.begin(), row.end(), '\t') != kColumns;
}
} // namespace

// In place of the C library's function, which makes no call to the system.
#pragma GCC visibility push(default)
extern "C" int clock_gettime(clockid_t clock, timespec* now) noexcept
{
    if (clock != CLOCK_BOOTTIME || !sLacksBootTime)
        return static_cast<int>(syscall(SYS_clock_gettime, clock, now));
    errno = EINVAL;
    return -1;
}
#pragma GCC visibility pop

// The first test, since another would be the first use.
TEST(SystemCallsOfFirstUses, FailAsPromisedAndThenSucceed)
{
    if (!Intercept())
        GTEST_SKIP() << kNotAllowed;
    // The reader of debug information does not try again. Each attribute and each character that
    // is refused, and most of SoleOperations, log a stack trace: their walk takes more than five
    // minutes.
    const std::set<std::string_view> leftOut = {"StackFrameFunctionName", "a missing attribute",
                                                "illegal characters"};
    const auto isLeftOut = [&](const Operation& each) { return leftOut.count(each.name) != 0; };
    Operations operations;
    for (const Operations& family : {TextOperations(), DataOperations(), ContextOperations()})
        std::remove_copy_if(family.begin(), family.end(), std::back_inserter(operations),
                            isLeftOut);
    WalkFirstUses(operations, FailingsWithClose(), false);
    WalkFirstUses(SystemOperations(), FailingsWithClose(), true);
    platform::SetHeapChecks("1");
    WalkFirstUses(MemoryOperations(), Errors(), false);
    platform::SetHeapChecks("0");
}

TEST(Clocks, CountWithoutSleepIfTheSystemDoesNotCountSleep)
{
    sLacksBootTime = true;
    const unsigned long long before = Milliseconds();
    long long counts = 0;
    EXPECT_NE(win32::QueryPerformanceCounter(&counts), 0);
    const unsigned int ticks = win32::GetTickCount();
    const unsigned long long most = Milliseconds() - before + 1;
    sLacksBootTime = false;
    EXPECT_LE(static_cast<unsigned long long>(counts / 1000000) - before, most);
    EXPECT_LE(ticks - static_cast<unsigned int>(before), most);
}

TEST_F(SystemCalls, EachOperationFailsAsPromisedAndThenSucceeds)
{
    WalkAll(AllOperations(), FailingsWithClose(), false);
    platform::SetHeapChecks("1");
    WalkAll(MemoryOperations(), Errors(), false);
    platform::SetHeapChecks("0");
}

// The reports write their log lines to stderr. No line is a repetition of an earlier one.
TEST_F(SystemCalls, EachSoleOperationFailsAsPromisedAndThenSucceeds)
{
    platform::SetUserLocale("fr_FR");
    platform::SetTickClock([now = 0ull]() mutable { return now += 3600000000000; }); // an hour
    WriteToStderr([] { WalkAll(SoleOperations(), Failings(), false); }, "");
}

TEST_F(SystemCalls, CallsOfTheSystemFailAsPromised)
{
    WalkAll(SystemOperations(), FailingsWithClose(),
            false); // some make calls in their first use only
    WalkAll({{"a logger", kLess, [](Own&) { return WriteTwoLines(); }},
             {"U_FreePtr", kNull, &FreeABlockFromBeforeTheChecks},
             {"IsBadReadPtr", 0, &LookForBadMemory},
             {"VirtualFree", kLess, [](Own&) { return ReleaseMemory(); }},
             {"SetThreadPriority", kLess | kBadAlloc, &LowerAPriority},
             {"CallUntilException", 0, [](Own&) { return SendASignalDuringACall(); }},
             {"WRIL_Log", kLess, [](Own&) { return LogALine(); }},
             {"MessageBoxW", kLess, [](Own&) { return ShowAnAlert(); }}},
            FailingsWithClose(), true);
    std::remove(LogPath().c_str());
}

TEST(SystemCallsOverALife, BirthFailsWithACodeAndDeathNeverFails)
{
    if (!Intercept())
        GTEST_SKIP() << kNotAllowed;
    WalkOverALife(Failings(), false); // in a minimal Debian nothing closes a file
    platform::SetHeapChecks("1");
    WalkOverALife(Errors(), false);
    platform::SetHeapChecks("0");
}

// An error may lose the row that the failing call writes, and leave the head of a line. No row is
// written into another.
TEST(SystemCallsOverALife, TheMemoryLogGoesOnAfterEachFailure)
{
    const long kPoints = 40; // a row makes fewer calls
    if (!Intercept())
        GTEST_SKIP() << kNotAllowed;
    DropAlertsAndLogLines();
    SetMemoryLogFolder(testing::TempDir());
    AskForMemoryLog("true", "1");
    std::remove(MemoryLogPath().c_str());
    ASSERT_EQ(U_Birth("Test Host", nullptr), 0);
    for (const Failing& failing : FailingsWithClose())
    {
        for (long point = 1; point <= kPoints; ++point)
        {
            SCOPED_TRACE(testing::Message() << failing.name << ", point " << point);
            const std::size_t before = WaitForLines(0).size();
            failing.begin(point);
            while (!failing.hasFailed())
                std::this_thread::yield(); // no call that fails
            failing.end();
            const std::size_t failed = WaitForLines(0).size();
            const Texts lines = WaitForLines(failed + 3);
            ASSERT_GE(lines.size(), failed + 3);
            const std::size_t whole = failing.outcomes ? failed + 1 : before;
            EXPECT_EQ(std::count_if(lines.begin() + static_cast<std::ptrdiff_t>(whole), lines.end(),
                                    &IsTorn),
                      0);
        }
    }
    EXPECT_EQ(U_Death(), 0);
    std::remove(MemoryLogPath().c_str());
}

// The last test: runs after all others.
TEST(SystemCallsOverALife, EachCallHasFailed)
{
    if (testing::GTEST_FLAG(filter) != "*" || !Intercept())
        GTEST_SKIP() << kNotAllowed << ", or a filter leaves tests out";
    EXPECT_EQ(NeverFailed(Calls(), false), std::vector<int>());
}
