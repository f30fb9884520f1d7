// Runs a program while one of its calls to the system fails.
//
// Usage: fail_calls error|interrupted|short NTH once|for-good BEGIN PROGRAM [ARGUMENT...]
//
// Failures are counted from the first file on whose path has the text BEGIN. Ends as the program
// does. The last line of the standard error is "failed: 1" if a call has failed, otherwise
// "failed: 0".

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/system_calls/FailingCalls.h"

namespace
{
const int kUsage = 120;
const int kNotAllowed = 121;

struct HandOver
{
    std::atomic<int> intercepted{0}; // the child's descriptor; -1 if calls can't be intercepted
    std::atomic<bool> isTaken{false};
};

Failure FailureOf(const char* name)
{
    return !std::strcmp(name, "error")   ? Failure::kError
           : !std::strcmp(name, "short") ? Failure::kShort
                                         : Failure::kInterrupted;
}
} // namespace

int main(int count, char** arguments)
{
    if (count < 6)
        return kUsage;
    FailingCalls& calls = NewShared<FailingCalls>();
    HandOver& handOver = NewShared<HandOver>();
    calls.Begin(FailureOf(arguments[1]), std::atol(arguments[2]),
                !std::strcmp(arguments[3], "for-good"));
    const pid_t child = fork();
    if (!child)
    {
        handOver.intercepted = InterceptCalls();
        while (!handOver.isTaken) // without a call that would wait for the answer
            continue;
        execv(arguments[5], arguments + 5);
        _exit(127);
    }
    while (!handOver.intercepted)
        std::this_thread::yield();
    if (handOver.intercepted < 0)
        return kNotAllowed;
    const int process = static_cast<int>(syscall(SYS_pidfd_open, child, 0));
    const int intercepted =
        static_cast<int>(syscall(SYS_pidfd_getfd, process, handOver.intercepted.load(), 0));
    calls.process = child;
    handOver.isTaken = true;
    Answer(intercepted, calls, arguments[4]);
    int status = 0;
    waitpid(child, &status, 0);
    std::fprintf(stderr, "failed: %d\n", calls.hasFailed ? 1 : 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
