// Signals of hardware exceptions that others handle, too.

#include <cerrno>
#include <csetjmp>
#include <csignal>
#include <thread>

#include <gtest/gtest.h>

#include <sys/mman.h>

#include "U_Lifecycle.h"
#include "examples/filecache/crashes.h"
#include "tests/crash/Child.h"

namespace
{
enum Before // birth
{
    kDefault,
    kIgnored,
    kExits,    // with 9
    kTellsOnce // what it is told, and returns; the system takes it down first
};

enum Cover // a handler of the host's has come since birth
{
    kNone,
    kCalls,   // what it has found
    kPutsBack // that, and returns
};

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
    Cover cover;
    Life life;
    Crash crash;
    long calls;
    int signal; // that ends the process; 0: it ends with the code
    int code;
};

const int kGoesOn = 7; // the code if the crash returns

const Row kRows[] = {
    {"covered", kDefault, kCalls, kBorn, &WriteToNull, 1, SIGSEGV, 0},
    {"covered, sent", kDefault, kCalls, kBorn, &SendSegmentationFault, 1, SIGSEGV, 0},
    {"covered, handled", kExits, kCalls, kBorn, &WriteToNull, 1, 0, 9},
    {"covered, dead", kDefault, kCalls, kDead, &WriteToNull, 0, SIGSEGV, 0},
    {"covered, dead, sent", kDefault, kCalls, kDead, &SendSegmentationFault, 0, SIGSEGV, 0},
    {"covered, dead, handled", kExits, kCalls, kDead, &WriteToNull, 0, 0, 9},
    {"covered, reborn, sent", kDefault, kCalls, kReborn, &SendSegmentationFault, 1, SIGSEGV, 0},
    {"covered, reborn, handled", kExits, kCalls, kReborn, &WriteToNull, 1, 0, 9},
    {"covered, reborn twice", kDefault, kCalls, kRebornTwice, &WriteToNull, 1, SIGSEGV, 0},
    {"put back", kDefault, kPutsBack, kBorn, &WriteToNull, 1, SIGSEGV, 0},
    {"put back, reborn, handled", kExits, kPutsBack, kReborn, &WriteToNull, 1, 0, 9},
    {"put back, reborn twice", kDefault, kPutsBack, kRebornTwice, &WriteToNull, 1, SIGSEGV, 0},
    {"reborn, handled", kExits, kNone, kReborn, &WriteToNull, 1, 0, 9},
    {"told once", kTellsOnce, kNone, kBorn, &WriteToNull, 1, SIGSEGV, 0},
    {"sent, handled", kExits, kNone, kBorn, &SendSegmentationFault, 1, 0, 9},
    {"ignored", kIgnored, kNone, kBorn, &WriteToNull, 1, SIGSEGV, 0},
    {"sent, ignored", kIgnored, kNone, kBorn, &SendSegmentationFault, 0, 0, kGoesOn},
    {"covered, sent, ignored", kIgnored, kCalls, kBorn, &SendSegmentationFault, 0, 0, kGoesOn},
};

typedef void (*Action)(int signal, siginfo_t* info, void* context);

struct sigaction sFound;

void TellAndPassOn(int signal, siginfo_t* info, void* context)
{
    Tell("host's");
    sFound.sa_sigaction(signal, info, context);
}

void TellAndPutBack(int signal, siginfo_t*, void*)
{
    Tell("host's");
    sigaction(signal, &sFound, nullptr);
}

void TellOnce(int, siginfo_t* info, void* context)
{
    Tell(info->si_code == SEGV_MAPERR && !info->si_addr && context ? "once" : "wrong");
}

void Install(Action handler, int flags)
{
    struct sigaction action = {};
    action.sa_sigaction = handler;
    action.sa_flags = SA_SIGINFO | flags;
    sigaction(SIGSEGV, &action, &sFound);
}

[[noreturn]] void Live(const Row& row)
{
    if (row.before == kTellsOnce)
        Install(&TellOnce, static_cast<int>(SA_RESETHAND));
    else if (row.before != kDefault)
        std::signal(
            SIGSEGV, row.before == kIgnored ? SIG_IGN : [](int) { std::_Exit(9); });
    Birth();
    SetGlobal(&TellOfCall);
    if (row.cover != kNone)
        Install(row.cover == kCalls ? &TellAndPassOn : &TellAndPutBack, SA_ONSTACK);
    for (int life = kBorn; life < row.life; ++life)
    {
        if (life != kBorn)
            Birth();
        U_Death();
    }
    if (row.life >= kReborn)
        Birth();
    row.crash();
    std::_Exit(kGoesOn);
}

char* sPage = nullptr; // that nobody may touch
sigjmp_buf sBack;

// The thread sanitizer calls handlers with all signals blocked, and with an errno of
// its own.
#if defined(__SANITIZE_THREAD__)
const bool kHandlersAreWrapped = true;
#else
const bool kHandlersAreWrapped = false;
#endif

// Deals with a touch of the page by allowing it, and with any other signal by a jump.
void Deal(int, siginfo_t* info, void*)
{
    sigset_t blocked;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    const bool asAskedFor = !sigismember(&blocked, SIGFPE) && errno == 77;
    if (!sigismember(&blocked, SIGSEGV) || !(asAskedFor || kHandlersAreWrapped))
        std::_Exit(8);
    if (info->si_addr != sPage)
        siglongjmp(sBack, 1);
    Tell("allowed");
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

TEST(Signals, AreSharedWithThoseWhoHandleThemToo)
{
    for (const Row& row : kRows)
    {
        SCOPED_TRACE(row.what);
        const Death death = RunToDeath([&] { Live(row); });
        SCOPED_TRACE(death.told);
        EXPECT_TRUE(row.signal ? death.BySignal(row.signal) : death.WithCode(row.code))
            << death.status;
        EXPECT_EQ(death.Count("host's"), row.cover != kNone);
        EXPECT_EQ(death.Count("once"), row.before == kTellsOnce);
        EXPECT_EQ(death.Count("handler on"), row.calls);
        EXPECT_EQ(death.Count(kLastLine), row.calls);
    }
}

TEST(Signals, WhatTheEarlierHandlerDealsWithTakesNothingFromLaterOnes)
{
    const Death death = RunToDeath([] {
        sPage = static_cast<char*>(mmap(nullptr, 1, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        Install(&Deal, 0);
        Birth();
        SetGlobal(
            [](void* refcon) {
                TellOfCall(refcon);
                errno = 5;
            },
            "first handler on");
        TouchPage();
        TouchPage();
        std::thread(&TouchPage).join();
        SetGlobal(&TellOfCall, "second handler on");
        TouchPage();
        TouchPage();
        U_Death();
        Birth();
        TouchPage();
        U_SetLocalUnhandledExceptionOrHardwareErrorHandler(&TellOfCall,
                                                           const_cast<char*>("local on"));
        for (volatile int round = 0; round < 3; ++round)
        {
            errno = 77;
            if (sigsetjmp(sBack, 1) == 0)
                WriteToNull();
        }
        std::_Exit(kGoesOn);
    });
    SCOPED_TRACE(death.told);
    EXPECT_TRUE(death.WithCode(kGoesOn)) << death.status;
    EXPECT_EQ(death.Count("allowed"), 6);
    EXPECT_EQ(death.Count("first handler on"), 3);
    EXPECT_EQ(death.Count("second handler on"), 3);
    EXPECT_EQ(death.Count("local on"), 3);
}
