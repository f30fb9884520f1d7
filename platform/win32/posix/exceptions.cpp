#include <win32/exceptions.h>

#include <atomic>
#include <csignal>
#include <iterator>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include <sys/syscall.h>
#include <unistd.h>

#include "signal_stack.h"

namespace win32
{
namespace
{
const int kSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL};

std::atomic<TopLevelExceptionFilter> sFilter(nullptr);

// What the signals did before. Written under the lock, and only while the handler
// below isn't installed: it reads them without. The lock is never destroyed.
boost::mutex& sLock = *new boost::mutex;
struct sigaction sBefore[std::size(kSignals)];

void OnSignal(int signal, siginfo_t* info, void*);

bool IsOurs(const struct sigaction& action)
{
    return (action.sa_flags & SA_SIGINFO) != 0 && action.sa_sigaction == &OnSignal;
}

// Leaves alone what somebody else has put there since.
void RestoreAction(std::size_t at)
{
    struct sigaction current;
    if (sigaction(kSignals[at], nullptr, &current) == 0 && IsOurs(current))
        sigaction(kSignals[at], &sBefore[at], nullptr);
}

// All four are blocked meanwhile, so a second exception of the filter's own ends the
// process at once.
void OnSignal(int signal, siginfo_t* info, void*)
{
    if (const TopLevelExceptionFilter filter = sFilter)
        filter(nullptr);
    for (std::size_t at = 0; at < std::size(kSignals); ++at)
    {
        if (kSignals[at] == signal)
            RestoreAction(at);
    }
    // An instruction that failed does so again on return, and now the action from
    // before is taken, with all that it may want to know. A signal that was sent is sent
    // once more.
    if (info->si_code <= 0)
        syscall(SYS_rt_tgsigqueueinfo, getpid(), syscall(SYS_gettid), signal, info);
}

void InstallActions()
{
    struct sigaction action = {};
    action.sa_sigaction = &OnSignal;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    for (int signal : kSignals)
        sigaddset(&action.sa_mask, signal);
    for (std::size_t at = 0; at < std::size(kSignals); ++at)
    {
        struct sigaction current;
        sigaction(kSignals[at], nullptr, &current);
        if (IsOurs(current)) // somebody has put it back
            continue;
        sBefore[at] = current;
        sigaction(kSignals[at], &action, nullptr);
    }
}
} // namespace

TopLevelExceptionFilter SetUnhandledExceptionFilter(TopLevelExceptionFilter filter)
{
    boost::lock_guard<boost::mutex> lock(sLock);
    const TopLevelExceptionFilter before = sFilter.exchange(filter);
    if (filter && !before)
        InstallActions();
    for (std::size_t at = 0; !filter && before && at < std::size(kSignals); ++at)
        RestoreAction(at);
    return before;
}

int SetThreadStackGuarantee(unsigned int* size)
{
    std::size_t before = 0;
    if (!size || *size > kSignalStackSize || !ProvideSignalStack(&before))
        return 0;
    *size = static_cast<unsigned int>(before);
    return 1;
}
} // namespace win32
