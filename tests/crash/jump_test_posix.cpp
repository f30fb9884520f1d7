// Handlers that leave by a jump, and the stacks from which they do.

#include <csetjmp>
#include <csignal>
#include <exception>
#include <tuple>

#include <gtest/gtest.h>

#include <pthread.h>
#include <sys/mman.h>

#include "U_Fatal.h"
#include "examples/filecache/crashes.h"
#include "tests/crash/Child.h"

namespace
{
Crash sSecond = nullptr;

sigjmp_buf sBack;

__attribute__((noinline)) int FailAtDepth(Crash crash, int depth)
{
    volatile char frame[64] = {};
    if (depth == 0)
        crash();
    else
        frame[depth % 64] = static_cast<char>(FailAtDepth(crash, depth - 1));
    return frame[0];
}

const std::size_t kStackSize = 512 << 10; // bytes

// The memory of two stacks of a thread: its own, and above that the stack of its signals.
char* sStacks = nullptr;

void* FailFiveTimesBelowTheSignalStack(void*)
{
    stack_t above = {};
    above.ss_sp = sStacks + kStackSize;
    above.ss_size = kStackSize;
    sigaltstack(&above, nullptr);
    for (volatile int round = 0; round < 5; round = round + 1)
    {
        if (sigsetjmp(sBack, 1) == 0)
            WriteToNull();
    }
    std::_Exit(7);
}

} // namespace

TEST(Jumps, AHandlerThatJumpsOutIsCalledForTheNextFailureAndNotForItsOwn)
{
    const Crash kCallNowhere = [] { reinterpret_cast<void (*)()>(0x1234)(); };
    const std::tuple<Crash, Crash, int, int> rows[] = {
        // the failure in each of five rounds, a second one in the last call, its signal, the calls
        {&WriteToNull, &Terminate, SIGABRT, 5},
        {&OverflowStack, &Terminate, SIGABRT, 5},
        {&Terminate, &Terminate, SIGABRT, 5},
        {&Terminate, &WriteToNull, SIGSEGV, 5},
        {&DivideByZero, &DivideByZero, SIGFPE, 5},
        {kCallNowhere, &Terminate, SIGABRT, 5},
        // A stack that ends at an address without code does not show that the handler runs: one
        // more call is made.
        {&Terminate, kCallNowhere, SIGSEGV, 6},
    };
    for (const auto& [crash, second, signal, calls] : rows)
    {
        const Death death = RunToDeath([crash = crash, second = second] {
            static volatile int sRound = 0;
            sSecond = second;
            Birth([](void* refcon) {
                PrintCall(refcon);
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
        death.Expect(signal, {{"handler on", calls}});
    }
}

TEST(Jumps, ATerminateHandlerFromBeforeBirthMayJumpOutToo)
{
    const Death death = RunToDeath([] {
        std::set_terminate([] { siglongjmp(sBack, 1); });
        Birth(&PrintCall);
        for (volatile int round = 0; round < 3; ++round)
        {
            if (sigsetjmp(sBack, 1) == 0)
                std::terminate();
        }
        std::_Exit(7);
    });
    death.Expect(ExitWith(7), {{"handler on", 3}});
}

TEST(Jumps, AHandlerThatJumpsOutOfASignalStackAboveTheThreadsIsCalledAgain)
{
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP()
        << "the thread sanitizer takes a jump to a lower stack for a return to a newer frame";
#endif
    const Death death = RunToDeath([] {
        sStacks = static_cast<char*>(mmap(nullptr, 2 * kStackSize, PROT_READ | PROT_WRITE,
                                          MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        pthread_attr_setstack(&attributes, sStacks, kStackSize);
        Birth([](void* refcon) {
            PrintCall(refcon);
            siglongjmp(sBack, 1);
        });
        pthread_t thread;
        pthread_create(&thread, &attributes, &FailFiveTimesBelowTheSignalStack, nullptr);
        pthread_join(thread, nullptr);
    });
    death.Expect(ExitWith(7), {{"handler on", 5}});
}
