#include "tests/crash/Child.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

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

// Reads after the end of a mapped file.
__attribute__((noinline, no_sanitize_address, no_sanitize_thread)) void ReadBeyondFile()
{
    std::FILE* const empty = std::tmpfile();
    const volatile char* const mapped = static_cast<const volatile char*>(
        mmap(nullptr, 1, PROT_READ, MAP_SHARED, fileno(empty), 0));
    std::_Exit(*mapped);
}
} // namespace

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
        death.end = EndOf(status);
    return death;
}

std::vector<SystemCrash> SystemCrashes()
{
    return {{"bus error", &ReadBeyondFile, SIGBUS},
            {"signal from elsewhere", &SendSegmentationFault, SIGSEGV}};
}

void SendSegmentationFault()
{
    kill(getpid(), SIGSEGV);
}

void SetBadAccessAction(void (*action)(int signal))
{
    std::signal(SIGSEGV, action);
}

bool WriteRaw(const char* text, std::size_t length)
{
    return write(STDERR_FILENO, text, length) == static_cast<ssize_t>(length);
}
