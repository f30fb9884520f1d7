// Tracing processes and signal stacks, which POSIX alone has.

#include <csignal>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <pthread.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <krobase/debug.h>
#include <win32/exceptions.h>

namespace
{
// Called in a child process that this process traces.
int AskUnderATracer()
{
    raise(SIGSTOP); // until the tracer is attached
    testing::internal::CaptureStderr();
    bool ignoreAlways = false;
    const bool shouldBreak =
        krobase::debug::BreakAfterAssertDialog(ignoreAlways, "a < b", "", "f", 7, "g");
    testing::internal::GetCapturedStderr();
    if (!shouldBreak || ignoreAlways || !krobase::debug::IsDebuggerAttached())
        return 1;
    krobase::debug::BreakIntoDebugger();
    return 2;
}

TEST(Debugger, AnUnseenAssertionBreaksIntoAnAttachedDebugger)
{
    EXPECT_FALSE(krobase::debug::IsDebuggerAttached());
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0)
        _exit(AskUnderATracer());

    int status = 0;
    ASSERT_EQ(waitpid(child, &status, WUNTRACED), child);
    if (ptrace(PTRACE_SEIZE, child, nullptr, nullptr) != 0)
    {
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
        GTEST_SKIP() << "this system lets no process trace another";
    }
    kill(child, SIGCONT);
    std::string stops;
    while (waitpid(child, &status, 0) == child && WIFSTOPPED(status))
    {
        if (WSTOPSIG(status) == SIGTRAP && status >> 16 == 0)
            stops += "break ";
        ptrace(PTRACE_CONT, child, nullptr, nullptr);
    }
    EXPECT_EQ(stops, "break ");
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 2);
}

stack_t Current()
{
    stack_t current = {};
    sigaltstack(nullptr, &current);
    return current;
}

bool IsNone(const stack_t& stack)
{
    return (stack.ss_flags & SS_DISABLE) != 0;
}

void Guarantee()
{
    unsigned int size = win32::kLargestStackGuarantee;
    EXPECT_NE(win32::SetThreadStackGuarantee(&size), 0);
    EXPECT_FALSE(IsNone(Current()));
    EXPECT_GE(Current().ss_size, win32::kLargestStackGuarantee);
}

// Returns the signal stack of a thread after its variables have been destroyed: in the second
// round of destructors of thread-specific values. The thread ends with the stack that it had at
// first, which may be a sanitizer's.
stack_t StackAfter(const std::function<void()>& body)
{
    static stack_t sFound;
    static stack_t sLeft;
    static pthread_key_t key;
    static bool isSecondRound;
    isSecondRound = false;
    pthread_key_create(&key, [](void* value) {
        if (!std::exchange(isSecondRound, true))
        {
            pthread_setspecific(key, value);
            return;
        }
        sLeft = Current();
        sigaltstack(&sFound, nullptr);
    });
    std::thread([&] {
        sFound = Current();
        pthread_setspecific(key, &sFound);
        body();
    }).join();
    pthread_key_delete(key);
    return sLeft;
}

TEST(SignalStack, TheHostsOwnIsRestoredAtTheEndOfTheThread)
{
    std::vector<char> memory(64 << 10);
    stack_t hosts = {};
    hosts.ss_sp = memory.data();
    hosts.ss_size = memory.size();
    stack_t none = {};
    none.ss_flags = SS_DISABLE;

    const stack_t left = StackAfter([&] {
        sigaltstack(&hosts, nullptr);
        Guarantee();
        Guarantee();
    });
    EXPECT_EQ(left.ss_sp, hosts.ss_sp);
    EXPECT_EQ(left.ss_size, hosts.ss_size);

    EXPECT_TRUE(IsNone(StackAfter([&] {
        sigaltstack(&hosts, nullptr);
        Guarantee();
        sigaltstack(&none, nullptr); // the memory of the host's stack may have been freed
        Guarantee();
    })));
}
} // namespace
