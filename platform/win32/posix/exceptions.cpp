#include <win32/exceptions.h>

#include <algorithm>
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
std::atomic<TopLevelExceptionFilter> sFilter(nullptr);

// A signal that stands for hardware exceptions, with the actions of others: of those
// who were there first, and of those who have come since and call the handler below in
// their turn.
struct Signal
{
    struct sigaction mBefore; // what comes next when the handler below is in place
    struct sigaction mBelow;  // what comes next for whoever stands in its place and calls it
    int mNumber;
    bool mIsCovered; // somebody else stood in its place when it was to be taken down
};

// Written under the lock, and only while the handler isn't in place: that reads them
// without. The lock is never destroyed.
boost::mutex& sLock = *new boost::mutex;
Signal sSignals[] = {
    {{}, {}, SIGSEGV, false},
    {{}, {}, SIGBUS, false},
    {{}, {}, SIGFPE, false},
    {{}, {}, SIGILL, false},
};

// The thread's filter has run, and who comes next may call the handler again for the
// same exception.
thread_local bool sHasPassedOn = false;

void OnSignal(int number, siginfo_t* info, void* context);

struct sigaction CurrentAction(const Signal& signal)
{
    struct sigaction current = {};
    sigaction(signal.mNumber, nullptr, &current);
    return current;
}

bool IsOurs(const struct sigaction& action)
{
    return (action.sa_flags & SA_SIGINFO) != 0 && action.sa_sigaction == &OnSignal;
}

bool Is(const struct sigaction& action, void (*handler)(int))
{
    return (action.sa_flags & SA_SIGINFO) == 0 && action.sa_handler == handler;
}

// Leaves alone what somebody else has put there since. False if somebody has.
bool RestoreAction(const Signal& signal)
{
    if (!IsOurs(CurrentAction(signal)))
        return false;
    sigaction(signal.mNumber, &signal.mBefore, nullptr);
    return true;
}

// Calls an action in the way of the system. Its own needs the exception once more.
void Call(const struct sigaction& action, int number, siginfo_t* info, void* context)
{
    if ((action.sa_flags & SA_SIGINFO) != 0)
        action.sa_sigaction(number, info, context);
    else if (Is(action, SIG_DFL) || Is(action, SIG_IGN)) // nor can an exception be ignored
        std::signal(number, SIG_DFL);
    else
        action.sa_handler(number);
}

// All four are blocked meanwhile, so a second exception of the filter's own ends the
// process at once.
void OnSignal(int number, siginfo_t* info, void* context)
{
    const Signal& signal =
        *std::find_if(std::begin(sSignals), std::end(sSignals),
                      [number](const Signal& candidate) { return candidate.mNumber == number; });
    const bool isSent = info->si_code <= 0;
    const bool isInPlace = IsOurs(CurrentAction(signal));
    const struct sigaction& next = isInPlace ? signal.mBefore : signal.mBelow;
    if (isSent && Is(next, SIG_IGN))
        return; // it would have done nothing without the filter

    const TopLevelExceptionFilter filter = sFilter;
    if (filter && (isInPlace || !sHasPassedOn))
        filter(nullptr);
    sHasPassedOn = isInPlace;
    if (isInPlace)
        RestoreAction(signal);
    else
        Call(next, number, info, context);
    // An instruction that failed does so again on return, and now the next action is
    // taken, with all that it may want to know. A signal that was sent is sent once more,
    // unless whoever comes next has had it already.
    const bool comesAgain = isInPlace || Is(next, SIG_DFL);
    if (isSent && comesAgain &&
        syscall(SYS_rt_tgsigqueueinfo, getpid(), syscall(SYS_gettid), number, info) != 0)
        std::raise(number);
}

void InstallActions()
{
    struct sigaction action = {};
    action.sa_sigaction = &OnSignal;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    for (const Signal& signal : sSignals)
        sigaddset(&action.sa_mask, signal.mNumber);
    for (Signal& signal : sSignals)
    {
        const struct sigaction current = CurrentAction(signal);
        if (IsOurs(current)) // somebody has put it back
            continue;
        // Who has covered the handler calls it in his turn, and mustn't be called by it
        // then.
        if (!signal.mIsCovered)
            signal.mBelow = current;
        signal.mBefore = current;
        sigaction(signal.mNumber, &action, nullptr);
    }
}

void TakeActionsDown()
{
    for (Signal& signal : sSignals)
        signal.mIsCovered = !RestoreAction(signal);
}
} // namespace

TopLevelExceptionFilter SetUnhandledExceptionFilter(TopLevelExceptionFilter filter)
{
    boost::lock_guard<boost::mutex> lock(sLock);
    const TopLevelExceptionFilter before = sFilter.exchange(filter);
    if (filter && !before)
        InstallActions();
    if (!filter && before)
        TakeActionsDown();
    return before;
}

int SetThreadStackGuarantee(unsigned int* size)
{
    std::size_t before = 0;
    if (!size || *size > kLargestStackGuarantee || !ProvideSignalStack(&before))
        return 0;
    *size = static_cast<unsigned int>(before);
    return 1;
}
} // namespace win32
