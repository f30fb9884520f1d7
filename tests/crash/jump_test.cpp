// Handlers that leave by a jump, and the stacks from which they do.

#include <csetjmp>
#include <exception>
#include <tuple>

#include <gtest/gtest.h>

#include <alloca.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/wait.h>

#include "U_Fatal.h"
#include "examples/filecache/crashes.h"
#include "tests/crash/Child.h"

namespace
{
Crash sSecond = nullptr;

sigjmp_buf sBack;

// Crashes that many calls deep in the stack.
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

// Overwrites the frame pointer of its caller.
__attribute__((noinline)) void GiveInvalidParameterOnADamagedStack()
{
    static_cast<void**>(__builtin_frame_address(0))[0] = reinterpret_cast<void*>(0x10);
    GiveInvalidParameter();
}

// The frame has a size that is unknown to the compiler, so the unwinder needs the frame pointer.
__attribute__((noinline)) char DamageTheStack(volatile std::size_t size)
{
    volatile char* const block = static_cast<volatile char*>(alloca(size));
    block[0] = 1;
    GiveInvalidParameterOnADamagedStack();
    return block[0];
}
} // namespace

TEST(Jumps, AHandlerThatJumpsOutIsCalledForTheNextFailureAndNotForItsOwn)
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
        SCOPED_TRACE(death.output);
        EXPECT_TRUE(WIFSIGNALED(death.status)) << death.status;
        EXPECT_EQ(death.Count("handler on"), calls);
    }
}

TEST(Jumps, ATerminateHandlerFromBeforeBirthMayJumpOutToo)
{
    const Death death = RunToDeath([] {
        std::set_terminate([] { siglongjmp(sBack, 1); });
        Birth();
        SetGlobal([](void*) { Print("saved"); });
        for (volatile int round = 0; round < 3; ++round)
        {
            if (sigsetjmp(sBack, 1) == 0)
                std::terminate();
        }
        std::_Exit(7);
    });
    EXPECT_TRUE(death.WithCode(7)) << death.output;
    EXPECT_EQ(death.Count("saved"), 3);
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
        Birth();
        SetGlobal([](void* refcon) {
            PrintCall(refcon);
            siglongjmp(sBack, 1);
        });
        pthread_t thread;
        pthread_create(&thread, &attributes, &FailFiveTimesBelowTheSignalStack, nullptr);
        pthread_join(thread, nullptr);
    });
    SCOPED_TRACE(death.output);
    EXPECT_TRUE(death.WithCode(7)) << death.status;
    EXPECT_EQ(death.Count("handler on"), 5);
}

TEST(Jumps, ADamagedStackLosesNoCallForAnInvalidParameter)
{
    const Death death = RunToDeath([] {
        static bool sJumps = true;
        Birth();
        SetGlobal([](void* refcon) {
            PrintCall(refcon);
            if (sJumps)
                siglongjmp(sBack, 1);
        });
        if (sigsetjmp(sBack, 1) == 0)
            std::terminate();
        sJumps = false;
        DamageTheStack(16);
    });
    SCOPED_TRACE(death.output);
    EXPECT_TRUE(death.BySignal(SIGABRT)) << death.status;
    EXPECT_EQ(death.Count("handler on"), 2);
}
