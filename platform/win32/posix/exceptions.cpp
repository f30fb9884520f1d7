#include <win32/exceptions.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csetjmp>
#include <csignal>
#include <iterator>
#include <utility>

#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

#include <platform/base/locks.h>
#include <platform/base/stacked_handler.h>
#include <platform/base/thread_local.h>

namespace win32
{
namespace
{
std::atomic<TopLevelExceptionFilter> sFilter(nullptr);

void OnSignal(std::size_t level, int number, siginfo_t* info, void* context);

typedef platform::StackedHandler<&OnSignal> SignalHandler;

// A signal that reports hardware exceptions.
struct Signal
{
    explicit constexpr Signal(int number) : mNumber(number) {}

    int mNumber;
    SignalHandler mHandler;
    // The actions that the levels have replaced. Each is written while its level is not in use.
    struct sigaction mReplaced[SignalHandler::kLevels] = {};
};

platform::Mutex sLock; // held while handlers are changed
Signal sSignals[] = {Signal(SIGSEGV), Signal(SIGBUS), Signal(SIGFPE), Signal(SIGILL)};

// One call of CallUntilException, with the signals that were sent meanwhile.
struct Escape
{
    sigjmp_buf mExit;
    siginfo_t mSent[std::size(sSignals)]; // one for each of the signals; si_signo 0: none
};

// The innermost call on the thread; null outside.
PLATFORM_THREAD_LOCAL(Escape*, tEscape);

struct sigaction CurrentAction(const Signal& signal)
{
    struct sigaction current = {};
    sigaction(signal.mNumber, nullptr, &current);
    return current;
}

sigset_t AllSignals()
{
    sigset_t all;
    sigemptyset(&all);
    for (const Signal& signal : sSignals)
        sigaddset(&all, signal.mNumber);
    return all;
}

// In an action, a handler of any type has the same location.
bool IsInstalled(const Signal& signal, std::size_t level)
{
    return SignalHandler::LevelOf(CurrentAction(signal).sa_sigaction) == level;
}

bool IsSent(const siginfo_t& info)
{
    return info.si_code <= 0;
}

// Only the system can carry out its own actions, and remove an action that is for one time only.
// For such an action the filter installs the action and repeats the exception.
bool NeedsItOnceMore(const struct sigaction& action)
{
    return action.sa_handler == SIG_DFL || action.sa_handler == SIG_IGN ||
           (action.sa_flags & static_cast<int>(SA_RESETHAND)) != 0;
}

// Calls the action's handler as the system would.
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

// The instruction that failed fails again on return. A signal that was sent is sent again.
void Repeat(int number, const siginfo_t& info)
{
    if (IsSent(info) &&
        syscall(SYS_rt_tgsigqueueinfo, getpid(), syscall(SYS_gettid), number, &info) != 0)
        std::raise(number);
}

// Within CallUntilException. The function that failed is left. A signal that was sent is kept
// until CallUntilException returns: if the filter has made that call, the filter must not run
// within itself.
void LeaveOrKeep(Escape& escape, std::size_t index, const siginfo_t& info)
{
    if (!IsSent(info))
        siglongjmp(escape.mExit, 1);
    escape.mSent[index] = info;
}

// The replaced action is called from here, while this handler stays installed: the action may
// deal with the exception, and later exceptions need the filter, too. All signals of the table
// are blocked while the filter runs, so a second exception of its own ends the process at once.
void Handle(const Signal& signal, std::size_t level, siginfo_t* info, void* context)
{
    const int number = signal.mNumber;
    const struct sigaction& next = signal.mReplaced[level];
    if (IsSent(*info) && next.sa_handler == SIG_IGN)
        return; // without the filter the signal would have had no effect

    // False if a handler that was installed over this one has called this one.
    const bool isInstalled = IsInstalled(signal, level);
    const TopLevelExceptionFilter filter = sFilter;
    if (filter && level == signal.mHandler.Latest())
    {
        const int errorBefore = errno;
        filter(nullptr);
        errno = errorBefore;
    }
    if (NeedsItOnceMore(next))
    {
        // An action that was installed while the filter ran is kept.
        if (!isInstalled || IsInstalled(signal, level))
            sigaction(number, &next, nullptr);
        Repeat(number, *info);
        return;
    }
    if (isInstalled)
        BlockFor(next, number, context);
    Call(next, number, info, context);
}

void OnSignal(std::size_t level, int number, siginfo_t* info, void* context)
{
    const int errorBefore = errno;
    const Signal* const signal =
        std::find_if(std::begin(sSignals), std::end(sSignals),
                     [number](const Signal& candidate) { return candidate.mNumber == number; });
    if (tEscape)
        LeaveOrKeep(*tEscape, static_cast<std::size_t>(signal - sSignals), *info);
    else
        Handle(*signal, level, info, context);
    errno = errorBefore;
}

void InstallHandlers()
{
    for (Signal& signal : sSignals)
    {
        const struct sigaction current = CurrentAction(signal);
        struct sigaction ours = {};
        ours.sa_sigaction = signal.mHandler.Install(current.sa_sigaction);
        if (ours.sa_sigaction == current.sa_sigaction)
            continue;
        ours.sa_flags = SA_SIGINFO | SA_ONSTACK;
        ours.sa_mask = AllSignals();
        signal.mReplaced[signal.mHandler.Latest()] = current;
        sigaction(signal.mNumber, &ours, nullptr);
    }
}

// An action that was installed over ours is kept.
void RemoveHandlers()
{
    for (Signal& signal : sSignals)
    {
        const std::size_t level = signal.mHandler.Latest();
        if (!IsInstalled(signal, level))
            continue;
        signal.mHandler.Remove(CurrentAction(signal).sa_sigaction);
        sigaction(signal.mNumber, &signal.mReplaced[level], nullptr);
    }
}

// Not inline: no variable of the caller may change between sigsetjmp and the jump. Unblocks the
// signals: the caller may be the filter, which blocks them.
__attribute__((noinline)) bool CallUntilJump(Escape& escape, void (*function)(void*), void* data)
{
    if (sigsetjmp(escape.mExit, 0) != 0)
        return false;
    const sigset_t all = AllSignals();
    pthread_sigmask(SIG_UNBLOCK, &all, nullptr);
    function(data);
    return true;
}
} // namespace

bool CallUntilException(void (*function)(void* data), void* data)
{
    Escape escape = {};
    sigset_t before;
    pthread_sigmask(SIG_BLOCK, nullptr, &before);
    Escape* const outer = std::exchange(tEscape, &escape);
    const bool completes = CallUntilJump(escape, function, data);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    tEscape = outer;
    std::atomic_signal_fence(std::memory_order_seq_cst); // no signal is kept after this
    for (const siginfo_t& info : escape.mSent)
    {
        if (info.si_signo != 0)
            Repeat(info.si_signo, info);
    }
    return completes;
}

TopLevelExceptionFilter SetUnhandledExceptionFilter(TopLevelExceptionFilter filter)
{
    const platform::ScLock lock(sLock);
    const TopLevelExceptionFilter before = sFilter.exchange(filter);
    if (filter && !before)
        InstallHandlers();
    if (!filter && before)
        RemoveHandlers();
    return before;
}
} // namespace win32
