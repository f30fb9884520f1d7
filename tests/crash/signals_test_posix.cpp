// Signals of hardware exceptions that have other handlers, too.

#include <cerrno>
#include <csetjmp>
#include <csignal>
#include <thread>

#include <gtest/gtest.h>

#include <sys/mman.h>

#include <win32/exceptions.h>

#include "U_Lifecycle.h"
#include "examples/filecache/crashes.h"
#include "tests/crash/Child.h"

namespace
{
typedef void (*Action)(int signal, siginfo_t* info, void* context);

struct sigaction sFound;

void PrintAndPassOn(int signal, siginfo_t* info, void* context)
{
    Print("host's");
    sFound.sa_sigaction(signal, info, context);
}

void PrintAndPutBack(int signal, siginfo_t*, void*)
{
    Print("host's");
    sigaction(signal, &sFound, nullptr);
}

void PrintOnce(int, siginfo_t* info, void* context)
{
    Print(info->si_code == SEGV_MAPERR && !info->si_addr && context ? "once" : "wrong");
}

void Install(Action handler, int flags)
{
    struct sigaction action = {};
    action.sa_sigaction = handler;
    action.sa_flags = SA_SIGINFO | flags;
    sigaction(SIGSEGV, &action, &sFound);
}

// The action of the signal before birth; null: the system's.
typedef void (*Before)();

const Before kDefault = nullptr;
const Before kIgnored = [] { std::signal(SIGSEGV, SIG_IGN); };
const Before kExits = [] { std::signal(SIGSEGV, [](int) { std::_Exit(9); }); };
const Before kPrintsOnce = [] { Install(&PrintOnce, static_cast<int>(SA_RESETHAND)); };

// A handler that the host installs after birth; null: none.
const Action kNone = nullptr;
const Action kCalls = &PrintAndPassOn;
const Action kPutsBack = &PrintAndPutBack;

enum Life // at the crash
{
    kBorn,
    kDead,
    kReborn,
    kRebornTwice
};

struct Row
{
    const char* what;
    Before before;
    Action cover;
    Life life;
    Crash crash;
    long calls;
    int end; // of the process
};

const int kGoesOn = ExitWith(7); // if the crash returns
const int kHandled = ExitWith(9);

const Row kRows[] = {
    {"covered", kDefault, kCalls, kBorn, &WriteToNull, 1, SIGSEGV},
    {"covered, sent", kDefault, kCalls, kBorn, &SendSegmentationFault, 1, SIGSEGV},
    {"covered, handled", kExits, kCalls, kBorn, &WriteToNull, 1, kHandled},
    {"covered, dead", kDefault, kCalls, kDead, &WriteToNull, 0, SIGSEGV},
    {"covered, dead, handled", kExits, kCalls, kDead, &WriteToNull, 0, kHandled},
    {"covered, reborn, handled", kExits, kCalls, kReborn, &WriteToNull, 1, kHandled},
    {"covered, reborn twice", kDefault, kCalls, kRebornTwice, &WriteToNull, 1, SIGSEGV},
    {"put back", kDefault, kPutsBack, kBorn, &WriteToNull, 1, SIGSEGV},
    {"put back, reborn, handled", kExits, kPutsBack, kReborn, &WriteToNull, 1, kHandled},
    {"reborn, handled", kExits, kNone, kReborn, &WriteToNull, 1, kHandled},
    {"handled once", kPrintsOnce, kNone, kBorn, &WriteToNull, 1, SIGSEGV},
    {"sent, handled", kExits, kNone, kBorn, &SendSegmentationFault, 1, kHandled},
    {"ignored", kIgnored, kNone, kBorn, &WriteToNull, 1, SIGSEGV},
    {"sent, ignored", kIgnored, kNone, kBorn, &SendSegmentationFault, 0, kGoesOn},
    {"covered, sent, ignored", kIgnored, kCalls, kBorn, &SendSegmentationFault, 0, kGoesOn},
};

[[noreturn]] void Live(const Row& row)
{
    if (row.before)
        row.before();
    Birth(&PrintCall);
    if (row.cover)
        Install(row.cover, SA_ONSTACK);
    for (int life = kBorn; life < row.life; ++life)
    {
        if (life != kBorn)
            Birth();
        U_Death();
    }
    if (row.life >= kReborn)
        Birth();
    row.crash();
    std::_Exit(7);
}

char* sPage = nullptr; // inaccessible
sigjmp_buf sBack;

// The thread sanitizer calls handlers with all signals blocked, and with another errno.
#if defined(__SANITIZE_THREAD__)
const bool kHandlersAreWrapped = true;
#else
const bool kHandlersAreWrapped = false;
#endif

// Deals with an access to the page by allowing it, and with any other signal by a jump.
void Deal(int, siginfo_t* info, void*)
{
    sigset_t blocked;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    const bool asAskedFor = !sigismember(&blocked, SIGFPE) && errno == 77;
    if (!sigismember(&blocked, SIGSEGV) || !(asAskedFor || kHandlersAreWrapped))
        std::_Exit(8);
    if (info->si_addr != sPage)
        siglongjmp(sBack, 1);
    Print("allowed");
    mprotect(sPage, 1, PROT_READ | PROT_WRITE);
}

__attribute__((no_sanitize_address, no_sanitize_thread)) void TouchPage()
{
    mprotect(sPage, 1, PROT_NONE);
    errno = 77;
    *static_cast<volatile char*>(sPage) = 1;
    if (errno != 77)
        std::_Exit(8);
}
} // namespace

TEST(Signals, ArePassedOnToTheHostsActionsAndFromThem)
{
    for (const Row& row : kRows)
    {
        SCOPED_TRACE(row.what);
        const Death death = RunToDeath([&] { Live(row); });
        death.Expect(row.end, {{"host's", row.cover != kNone},
                               {"once", row.before == kPrintsOnce},
                               {"handler on", row.calls},
                               {kLastLine, row.calls}});
    }
}

TEST(Signals, AnExceptionThatTheEarlierActionDealsWithIsFollowedByFurtherCalls)
{
    const Death death = RunToDeath([] {
        sPage = static_cast<char*>(mmap(nullptr, 1, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        Install(&Deal, 0);
        Birth();
        SetGlobal(
            [](void* refcon) {
                PrintCall(refcon);
                errno = 5;
            },
            "first handler on");
        TouchPage();
        TouchPage();
        std::thread(&TouchPage).join();
        SetGlobal(&PrintCall, "second handler on");
        TouchPage();
        TouchPage();
        U_Death();
        Birth();
        TouchPage();
        U_SetLocalUnhandledExceptionOrHardwareErrorHandler(&PrintCall,
                                                           const_cast<char*>("local on"));
        for (volatile int round = 0; round < 3; ++round)
        {
            errno = 77;
            if (sigsetjmp(sBack, 1) == 0)
                WriteToNull();
        }
        std::_Exit(7);
    });
    death.Expect(
        kGoesOn,
        {{"allowed", 6}, {"first handler on", 3}, {"second handler on", 3}, {"local on", 3}});
}

// The filter alone, without the library.
TEST(Signals, InterruptNeitherTheFilterNorACallUntilException)
{
    const auto prints = [](win32::EXCEPTION_POINTERS*) {
        Print("filter");
        return 0;
    };
    const auto printsAndSends = [](win32::EXCEPTION_POINTERS*) {
        Print("filter");
        SendSegmentationFault();
        const bool completes = win32::CallUntilException([](void*) { Print("inside"); }, nullptr);
        const bool escapes = !win32::CallUntilException([](void*) { WriteToNull(); }, nullptr);
        Print(completes && escapes ? "ends" : "interrupted");
        return 0;
    };
    Death death = RunToDeath([&] {
        win32::SetUnhandledExceptionFilter(prints);
        const auto send = [](void*) {
            SendSegmentationFault();
            Print("inside");
        };
        Print(win32::CallUntilException(send, nullptr) ? "completes" : "interrupted");
    });
    death.Expect(SIGSEGV);
    EXPECT_EQ(death.output, "inside\nfilter\n");

    death = RunToDeath([&] {
        win32::SetUnhandledExceptionFilter(printsAndSends);
        WriteToNull();
    });
    death.Expect(SIGSEGV);
    EXPECT_EQ(death.output, "filter\ninside\nends\n");
}
