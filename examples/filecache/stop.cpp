#include "stop.h"

#include <cerrno>
#include <csignal>
#include <system_error>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <U_Context.h>
#include <platform/control.h>
#include <win32/message_queue.h>
#include <win32/threads.h>

namespace
{
const unsigned char kEscape = 27; // as a key and as a character

sigset_t Interrupt()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    return signals;
}

void SetInterruptsHeld(bool held)
{
    const sigset_t signals = Interrupt();
    pthread_sigmask(held ? SIG_BLOCK : SIG_UNBLOCK, &signals, nullptr);
}

bool IsInterruptIgnored()
{
    struct sigaction action = {};
    return sigaction(SIGINT, nullptr, &action) != 0 || action.sa_handler == SIG_IGN;
}

// In the background the terminal is another program's: touching it would suspend
// this one.
bool IsInForeground()
{
    return tcgetpgrp(STDIN_FILENO) == getpgrp();
}

// Makes the calling thread's queue: only then others can post to it.
void MakeQueue()
{
    win32::MSG message;
    win32::PeekMessageW(&message, nullptr, 0, 0, win32::kPeekNoRemove);
}
} // namespace

StopKeys::StopKeys() : mMainThread(win32::GetCurrentThreadId())
{
    if (IsInterruptIgnored() || !Open())
        return;
    MakeQueue();
    SetInterruptsHeld(true);
    try
    {
        TakeTerminal();
        mWatch = std::thread([this] { Watch(); });
    }
    catch (const std::system_error&)
    {
        RestoreTerminal();
        SetInterruptsHeld(false);
    }
}

StopKeys::~StopKeys()
{
    if (mWatch.joinable())
    {
        eventfd_write(mEnd, 1);
        mWatch.join();
        RestoreTerminal();
        SetInterruptsHeld(false);
    }
    for (const int file : {mInterrupts, mEnd})
    {
        if (file >= 0)
            close(file);
    }
}

bool StopKeys::Open()
{
    const sigset_t signals = Interrupt();
    mInterrupts = signalfd(-1, &signals, SFD_CLOEXEC);
    mEnd = eventfd(0, EFD_CLOEXEC);
    return mInterrupts >= 0 && mEnd >= 0;
}

void StopKeys::Watch()
{
    pollfd interrupts = {mInterrupts, POLLIN, 0};
    pollfd end = {mEnd, POLLIN, 0};
    pollfd terminal = {mHasTerminal ? STDIN_FILENO : -1, POLLIN, 0};
    for (;;)
    {
        pollfd watched[] = {interrupts, end, terminal};
        if (poll(watched, sizeof watched / sizeof *watched, -1) < 0)
        {
            if (errno == EINTR)
                continue;
            return;
        }
        if (watched[1].revents)
            return;
        if (watched[0].revents)
        {
            OnInterrupt();
            interrupts.fd = terminal.fd = -1;
        }
        else if (watched[2].revents && !OnTerminal())
            terminal.fd = -1;
    }
}

void StopKeys::OnInterrupt()
{
    signalfd_siginfo taken;
    if (read(mInterrupts, &taken, sizeof taken) != sizeof taken)
        return;
    PostEscape();
    // The next Ctrl-C has the usual effect.
    RestoreTerminal();
    SetInterruptsHeld(false);
}

// Returns false if the terminal sends no more keys.
bool StopKeys::OnTerminal()
{
    if (!IsInForeground())
        return false;
    // Keys that send more than the one character may begin with it too.
    unsigned char keys[64];
    const ssize_t count = read(STDIN_FILENO, keys, sizeof keys);
    if (count == 1 && keys[0] == kEscape)
        PostEscape();
    return count > 0;
}

void StopKeys::PostEscape()
{
    platform::PostThreadMessage(mMainThread, win32::kWmKeyDown, kEscape, 0);
}

// Makes the terminal send each key at once and not show the key.
void StopKeys::TakeTerminal()
{
    if (!IsInForeground() || tcgetattr(STDIN_FILENO, &mTerminal) != 0)
        return;
    termios direct = mTerminal;
    direct.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    direct.c_cc[VMIN] = 1;
    direct.c_cc[VTIME] = 0;
    mHasTerminal = tcsetattr(STDIN_FILENO, TCSADRAIN, &direct) == 0;
}

void StopKeys::RestoreTerminal()
{
    if (mHasTerminal && IsInForeground())
        tcsetattr(STDIN_FILENO, TCSADRAIN, &mTerminal);
    mHasTerminal = false;
}

bool StopCheck::ThrottleAndCheckAbort()
{
    if (!mHasStopped)
        mHasStopped = U_Context::CheckAbortAndFlushCompletionRoutines();
    return mHasStopped;
}
