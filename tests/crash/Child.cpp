#include "tests/crash/Child.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <win32/threads.h>

#include "U_Lifecycle.h"

// A handler here may do what is unsafe in a signal handler: it is the host's last call,
// and the process dies anyway.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options()
{
    return "report_signal_unsafe=0";
}

namespace
{
const unsigned int kLimit = 60; // seconds

// noexcept: an exception that the body does not catch calls std::terminate.
[[noreturn]] void RunChild(const std::function<void()>& body, int out) noexcept
{
    dup2(out, STDERR_FILENO);
    const rlimit noCore = {0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    for (int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT})
        std::signal(signal, SIG_DFL);
    alarm(kLimit);
    body();
    std::_Exit(0);
}

} // namespace

void Death::Expect(int expected, std::initializer_list<std::pair<std::string, long>> texts) const
{
    SCOPED_TRACE(output);
    EXPECT_EQ(end, expected);
    for (const auto& [text, count] : texts)
        EXPECT_EQ(Count(text), count) << text;
}

long Death::Count(const std::string& text) const
{
    long count = 0;
    for (std::size_t at = output.find(text); at != std::string::npos;
         at = output.find(text, at + 1))
        ++count;
    return count;
}

std::string Death::Rest(const std::string& beginning) const
{
    const std::size_t start = ("\n" + output).find("\n" + beginning);
    if (start == std::string::npos)
        return "none";
    const std::size_t rest = start + beginning.size();
    return output.substr(rest, output.find('\n', rest) - rest);
}

Death RunToDeath(const std::function<void()>& body)
{
    Death death = {-1, ""};
    int ends[2];
    if (pipe(ends) != 0)
        return death;
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0)
    {
        close(ends[0]);
        RunChild(body, ends[1]);
    }
    close(ends[1]);
    char piece[4096];
    for (ssize_t length; (length = read(ends[0], piece, sizeof(piece))) > 0;)
        death.output.append(piece, static_cast<std::size_t>(length));
    close(ends[0]);
    int status = 0;
    if (child > 0 && waitpid(child, &status, 0) == child)
        death.end = WIFSIGNALED(status) ? WTERMSIG(status) : ExitWith(WEXITSTATUS(status));
    return death;
}

void Print(const char* text, bool withThread)
{
    char line[256];
    const int length =
        withThread ? std::snprintf(line, sizeof(line), "%s %u\n", text, win32::GetCurrentThreadId())
                   : std::snprintf(line, sizeof(line), "%s\n", text);
    if (write(STDERR_FILENO, line, static_cast<std::size_t>(length)) != length)
        std::_Exit(99);
}

void Birth()
{
    if (U_Birth("Test Host", nullptr) != 0)
        std::_Exit(98);
}

void PrintCall(void* refcon)
{
    Print(static_cast<const char*>(refcon), true);
}

void SetGlobal(U_FatalHandler handler, const char* refcon)
{
    U_SetGlobalUnhandledExceptionOrHardwareErrorHandler(handler, const_cast<char*>(refcon));
}

void SendSegmentationFault()
{
    kill(getpid(), SIGSEGV);
}
