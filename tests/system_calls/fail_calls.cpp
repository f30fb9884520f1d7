// Runs a program while one of its calls to the system fails.
//
// Usage: fail_calls error|interrupted|short|close NTH once|for-good BEGIN PROGRAM [ARGUMENT...]
//
//        fail_calls never [NUMBER...]
//
// Failures are counted from the first opening of a file on whose name starts with BEGIN. Ends as
// the program does, or with 121 if the system does not allow to intercept its calls. The last line
// of the standard error is "failed:" and the numbers of the calls that have failed. The second form
// prints the numbers of those calls of the tools that are not among the arguments.

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <thread>

#include <signal.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/system_calls/FailingCalls.h"

namespace
{
const int kUsage = 120;
const int kNotAllowed = 121;

// Shared with the child.
struct HandOver
{
    static const int kUnknown = -2;

    std::atomic<int> intercepted{
        kUnknown}; // the child's descriptor; -1: calls can't be intercepted
    std::atomic<bool> isTaken{false};
};

Failure FailureOf(const char* name)
{
    return !std::strcmp(name, "error")   ? Failure::kError
           : !std::strcmp(name, "short") ? Failure::kShort
           : !std::strcmp(name, "close") ? Failure::kClose
                                         : Failure::kInterrupted;
}
// Returns the child's descriptor, or -1 if the system does not allow to answer the child's calls or
// to read its memory.
int Take(pid_t child, HandOver& handOver)
{
    int found = 0;
    const iovec here = {&found, sizeof(found)};
    const iovec there = {&handOver.intercepted, sizeof(found)};
    if (handOver.intercepted < 0 || process_vm_readv(child, &here, 1, &there, 1, 0) < 0)
        return -1;
    const int process = static_cast<int>(syscall(SYS_pidfd_open, child, 0));
    return static_cast<int>(syscall(SYS_pidfd_getfd, process, found, 0));
}
} // namespace

int main(int count, char** arguments)
{
    FailingCalls& calls = NewShared<FailingCalls>();
    if (count > 1 && !std::strcmp(arguments[1], "never"))
    {
        for (int index = 2; index < count; ++index)
            calls.failed[std::atoi(arguments[index])] = true;
        for (const int number : NeverFailed(calls, true))
            std::printf("%d\n", number);
        return 0;
    }
    if (count < 6)
        return kUsage;
    HandOver& handOver = NewShared<HandOver>();
    calls.Begin(FailureOf(arguments[1]), std::atol(arguments[2]),
                !std::strcmp(arguments[3], "for-good"));
    const pid_t child = fork();
    if (child < 0)
        return kNotAllowed;
    if (!child)
    {
        handOver.intercepted = InterceptCalls();
        if (handOver.intercepted < 0)
            _exit(kNotAllowed);
        while (!handOver.isTaken) // without a call that would wait for the answer
            continue;
        execv(arguments[5], arguments + 5);
        _exit(127);
    }
    while (handOver.intercepted == HandOver::kUnknown)
        std::this_thread::yield();
    calls.process = child;
    const int intercepted = Take(child, handOver);
    int status = 0;
    if (intercepted < 0)
    {
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
        return kNotAllowed;
    }
    handOver.isTaken = true;
    Answer(intercepted, calls, arguments[4]);
    waitpid(child, &status, 0);
    std::fputs("failed:", stderr);
    for (std::size_t number = 0; number < std::size(calls.failed); ++number)
    {
        if (calls.failed[number])
            std::fprintf(stderr, " %zu", number);
    }
    std::fputs("\n", stderr);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
