// Signals of hardware exceptions that others handle, too.

#include <csignal>
#include <string>

#include <gtest/gtest.h>

#include "U_Lifecycle.h"
#include "examples/filecache/crashes.h"
#include "tests/crash/Child.h"

namespace
{
enum Before // birth
{
    kDefault,
    kIgnored,
    kExits // with 9
};

enum Life // at the crash
{
    kBorn,
    kDead,
    kReborn
};

struct Row
{
    const char* what;
    Before before;
    bool covered; // a handler of the host's has come since birth, and calls what it found
    Life life;
    Crash crash;
    long calls;
    int signal; // that ends the process; 0: it ends with the code
    int code;
};

const int kGoesOn = 7; // the code if the crash returns

const Row kRows[] = {
    {"covered", kDefault, true, kBorn, &WriteToNull, 1, SIGSEGV, 0},
    {"covered, sent", kDefault, true, kBorn, &SendSegmentationFault, 1, SIGSEGV, 0},
    {"covered, handled", kExits, true, kBorn, &WriteToNull, 1, 0, 9},
    {"covered, sent, handled", kExits, true, kBorn, &SendSegmentationFault, 1, 0, 9},
    {"covered, dead", kDefault, true, kDead, &WriteToNull, 0, SIGSEGV, 0},
    {"covered, dead, sent", kDefault, true, kDead, &SendSegmentationFault, 0, SIGSEGV, 0},
    {"covered, dead, handled", kExits, true, kDead, &WriteToNull, 0, 0, 9},
    {"covered, reborn", kDefault, true, kReborn, &WriteToNull, 1, SIGSEGV, 0},
    {"covered, reborn, sent", kDefault, true, kReborn, &SendSegmentationFault, 1, SIGSEGV, 0},
    {"covered, reborn, handled", kExits, true, kReborn, &WriteToNull, 1, 0, 9},
    {"reborn, handled", kExits, false, kReborn, &WriteToNull, 1, 0, 9},
    {"sent, handled", kExits, false, kBorn, &SendSegmentationFault, 1, 0, 9},
    {"ignored", kIgnored, false, kBorn, &WriteToNull, 1, SIGSEGV, 0},
    {"sent, ignored", kIgnored, false, kBorn, &SendSegmentationFault, 0, 0, kGoesOn},
    {"covered, sent, ignored", kIgnored, true, kBorn, &SendSegmentationFault, 0, 0, kGoesOn},
};

struct sigaction sFound;

void TellAndPassOn(int signal, siginfo_t* info, void* context)
{
    Tell("host's");
    sFound.sa_sigaction(signal, info, context);
}

void Cover()
{
    struct sigaction action = {};
    action.sa_sigaction = &TellAndPassOn;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigaction(SIGSEGV, &action, &sFound);
}

[[noreturn]] void Live(const Row& row)
{
    if (row.before != kDefault)
        std::signal(
            SIGSEGV, row.before == kIgnored ? SIG_IGN : [](int) { std::_Exit(9); });
    Birth();
    SetGlobal(&TellOfCall);
    if (row.covered)
        Cover();
    if (row.life != kBorn)
        U_Death();
    if (row.life == kReborn)
        Birth();
    row.crash();
    std::_Exit(kGoesOn);
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
        EXPECT_EQ(death.Count("host's"), row.covered);
        EXPECT_EQ(death.Count("handler on"), row.calls);
        EXPECT_EQ(death.Count(kLastLine), row.calls);
    }
}
