#include <win32/exceptions.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csetjmp>
#include <csignal>
#include <functional>
#include <iterator>
#include <utility>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

#include <platform/base/thread_local.h>

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
    std::atomic<bool>
        mIsCovered; // somebody else has stood in its place when it was to be taken down
};

// Written under the lock, the actions only while the handler isn't in place: that reads
// them without. The lock is never destroyed.
boost::mutex& sLock = *new boost::mutex;
Signal sSignals[] = {
    {{}, {}, SIGSEGV, false},
    {{}, {}, SIGBUS, false},
    {{}, {}, SIGFPE, false},
    {{}, {}, SIGILL, false},
};

// How the thread has last called whoever comes next: with which context, from which frame
// of the handler below, for a failure at which address, and whether that comes again.
PLATFORM_THREAD_LOCAL const void* tContext = nullptr;
PLATFORM_THREAD_LOCAL const void* tFrame = nullptr;
PLATFORM_THREAD_LOCAL const void* tAddress = nullptr;
PLATFORM_THREAD_LOCAL bool tComesBack = false;

// The place to which an exception jumps out of CallUntilException; null outside of it.
PLATFORM_THREAD_LOCAL sigjmp_buf* tEscape = nullptr;

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

bool IsSent(const siginfo_t& info)
{
    return info.si_code <= 0;
}

// Whether whoever is called by the handler below passes the exception on to it. If he has
// jumped out instead, a new one may have the same context, but comes from no frame further
// in.
bool IsPassedBack(const siginfo_t& info, const void* context, const void* frame)
{
    const bool comesBack = std::exchange(tComesBack, false) && info.si_addr == tAddress;
    return comesBack || (context == tContext && std::less<const void*>()(frame, tFrame));
}

void ExpectAgain(const siginfo_t& info, bool comesBack)
{
    tAddress = info.si_addr;
    tComesBack = comesBack;
}

// The system's own actions need the exception once more. So does an action for one time
// only: the system is who takes it down.
bool NeedsItOnceMore(const struct sigaction& action)
{
    return Is(action, SIG_DFL) || Is(action, SIG_IGN) ||
           (action.sa_flags & static_cast<int>(SA_RESETHAND)) != 0;
}

// In the way of the system.
void Call(const struct sigaction& action, int number, siginfo_t* info, void* context)
{
    if ((action.sa_flags & SA_SIGINFO) != 0)
        action.sa_sigaction(number, info, context);
    else
        action.sa_handler(number);
}

// Blocks the signals that the system would block for the action.
void BlockFor(const struct sigaction& action, int number, const void* context)
{
    sigset_t blocked = static_cast<const ucontext_t*>(context)->uc_sigmask;
    sigorset(&blocked, &blocked, &action.sa_mask);
    if ((action.sa_flags & SA_NODEFER) == 0)
        sigaddset(&blocked, number);
    pthread_sigmask(SIG_SETMASK, &blocked, nullptr);
}

// Says of the handler below, if it is in place, that it was there before somebody was called,
// in a flag that does nothing, since the handler blocks its signal in any case. Returns
// whether it said so.
bool Mark(int number, bool on)
{
    struct sigaction action = {};
    sigaction(number, nullptr, &action);
    if (!IsOurs(action))
        return true; // nobody has put it back
    const bool was = (action.sa_flags & SA_NODEFER) != 0;
    action.sa_flags = on ? action.sa_flags | SA_NODEFER : action.sa_flags & ~SA_NODEFER;
    sigaction(number, &action, nullptr);
    return was;
}

// Who has covered the handler below in an earlier life, and stands before it now, may put it
// back, as he has found it, and return: his way to pass the exception on.
void CallBefore(const Signal& signal, siginfo_t* info, void* context)
{
    if (signal.mIsCovered)
        Mark(signal.mNumber, true);
    BlockFor(signal.mBefore, signal.mNumber, context);
    Call(signal.mBefore, signal.mNumber, info, context);
    ExpectAgain(*info, signal.mIsCovered && !Mark(signal.mNumber, false));
}

// An instruction that failed does so again on return. A signal that was sent is sent once
// more.
void Repeat(int number, siginfo_t* info)
{
    if (IsSent(*info) &&
        syscall(SYS_rt_tgsigqueueinfo, getpid(), syscall(SYS_gettid), number, info) != 0)
        std::raise(number);
}

// All four are blocked while the filter runs, so a second exception of its own ends the
// process at once. A handler that stood before it is called from here, and this stays in
// place: he may deal with the exception, and later ones need the filter, too.
void OnSignal(int number, siginfo_t* info, void* context)
{
    if (tEscape)
        siglongjmp(*tEscape, 1);
    const int errorBefore = errno;
    const Signal& signal =
        *std::find_if(std::begin(sSignals), std::end(sSignals),
                      [number](const Signal& candidate) { return candidate.mNumber == number; });
    const void* const frame = __builtin_frame_address(0);
    const bool isInPlace = IsOurs(CurrentAction(signal));
    const bool isPassedBack = IsPassedBack(*info, context, frame);
    const bool isFirst = isInPlace && !isPassedBack;
    const struct sigaction& next = isFirst ? signal.mBefore : signal.mBelow;
    if (IsSent(*info) && Is(next, SIG_IGN))
        return; // it would have done nothing without the filter

    const TopLevelExceptionFilter filter = sFilter;
    if (filter && !isPassedBack)
        filter(nullptr);
    errno = errorBefore;
    if (NeedsItOnceMore(next))
    {
        // What somebody has put in the place of this handler meanwhile stays.
        if (!isInPlace || IsOurs(CurrentAction(signal)))
            sigaction(number, &next, nullptr);
        ExpectAgain(*info, isFirst && signal.mIsCovered);
        Repeat(number, info);
    }
    else if (isFirst)
    {
        tContext = context;
        tFrame = frame;
        CallBefore(signal, info, context);
        tContext = nullptr;
    }
    else
        Call(next, number, info, context);
    errno = errorBefore;
}

// Leaves alone what somebody else has put there since. False if somebody has.
bool RestoreAction(const Signal& signal)
{
    if (!IsOurs(CurrentAction(signal)))
        return false;
    sigaction(signal.mNumber, &signal.mBefore, nullptr);
    return true;
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
        // Who has covered the handler calls it in his turn, in every later life, and
        // mustn't be called by it then.
        if (!signal.mIsCovered)
            signal.mBelow = current;
        signal.mBefore = current;
        sigaction(signal.mNumber, &action, nullptr);
    }
}

void TakeActionsDown()
{
    for (Signal& signal : sSignals)
        signal.mIsCovered = !RestoreAction(signal) || signal.mIsCovered;
}
} // namespace

// The four signals are let through, since the caller may be the filter, which blocks them.
bool CallUntilException(void (*function)(void* data), void* data)
{
    sigset_t let;
    sigemptyset(&let);
    for (const Signal& signal : sSignals)
        sigaddset(&let, signal.mNumber);
    sigset_t before;
    pthread_sigmask(SIG_UNBLOCK, &let, &before);
    sigjmp_buf escape;
    sigjmp_buf* volatile outer = tEscape;
    const bool completes = sigsetjmp(escape, 0) == 0;
    if (completes)
    {
        tEscape = &escape;
        function(data);
    }
    tEscape = outer;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return completes;
}

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
