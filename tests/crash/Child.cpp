#include "tests/crash/Child.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include <gtest/gtest.h>

#include <poll.h>
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
const int kLimit = 60; // seconds

// noexcept: an exception that the body does not catch calls std::terminate.
[[noreturn]] void RunChild(const std::function<void()>& body, int out) noexcept
{
    dup2(out, STDERR_FILENO);
    const rlimit noCore = {0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    for (int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT})
        std::signal(signal, SIG_DFL);
    body();
    std::_Exit(0);
}

// Reads until the process has closed its end, has printed the last words or has used up the
// time. Returns whether the process has closed its end.
bool Listen(int in, const std::string& lastWords, std::string* output)
{
    const std::time_t end = std::time(nullptr) + kLimit;
    pollfd wait = {in, POLLIN, 0};
    char piece[4096];
    while (std::time(nullptr) < end)
    {
        if (poll(&wait, 1, 1000) <= 0)
            continue;
        const ssize_t length = read(in, piece, sizeof(piece));
        if (length <= 0)
            return true;
        output->append(piece, static_cast<std::size_t>(length));
        if (!lastWords.empty() && output->find(lastWords) != std::string::npos)
            return false;
    }
    return false;
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

Death RunToDeath(const std::function<void()>& body, const std::string& lastWords)
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
    if (child > 0)
    {
        if (!Listen(ends[0], lastWords, &death.output))
            kill(child, SIGKILL);
        int status = 0;
        waitpid(child, &status, 0);
        death.end = WIFSIGNALED(status) ? WTERMSIG(status) : ExitWith(WEXITSTATUS(status));
    }
    close(ends[0]);
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
