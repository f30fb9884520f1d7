#include "stop.h"

#include <cerrno>
#include <csignal>
#include <exception>
#include <thread>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <termios.h>
#include <unistd.h>

#include <win32/threads.h>

namespace
{
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

// In the background the terminal is another program's. A program in the background that changes the
// terminal is suspended.
bool IsInForeground()
{
    return tcgetpgrp(STDIN_FILENO) == getpgrp();
}
} // namespace

class StopKeys::Watch
{
public:
    Watch();
    ~Watch();
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

private:
    bool Open();
    void Run();
    void OnInterrupt();
    bool OnTerminal();
    void TakeTerminal();
    void RestoreTerminal();

    const unsigned int mMainThread = win32::GetCurrentThreadId();
    int mInterrupts = -1; // readable once there was a SIGINT
    int mEnd = -1;        // readable once the watch is to end
    bool mHasTerminal = false;
    termios mTerminal = {}; // as it was found
    std::thread mThread;
};

StopKeys::Watch::Watch()
{
    if (!Open())
        return;
    MakeQueue();
    SetInterruptsHeld(true);
    try
    {
        TakeTerminal();
        mThread = std::thread([this] { Run(); });
    }
    catch (const std::exception&) // a std::system_error, or std::bad_alloc
    {
        RestoreTerminal();
        SetInterruptsHeld(false);
    }
}

StopKeys::Watch::~Watch()
{
    if (mThread.joinable())
    {
        eventfd_write(mEnd, 1);
        mThread.join();
        RestoreTerminal();
        SetInterruptsHeld(false);
    }
    for (const int file : {mInterrupts, mEnd})
    {
        if (file >= 0)
            close(file);
    }
}

bool StopKeys::Watch::Open()
{
    const sigset_t signals = Interrupt();
    mInterrupts = signalfd(-1, &signals, SFD_CLOEXEC);
    mEnd = eventfd(0, EFD_CLOEXEC);
    return mInterrupts >= 0 && mEnd >= 0;
}

void StopKeys::Watch::Run()
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

void StopKeys::Watch::OnInterrupt()
{
    signalfd_siginfo taken;
    if (read(mInterrupts, &taken, sizeof taken) != sizeof taken)
        return;
    PostEscape(mMainThread);
    // The next Ctrl-C has the usual effect.
    RestoreTerminal();
    SetInterruptsHeld(false);
}

// Returns false if the terminal sends no more keys.
bool StopKeys::Watch::OnTerminal()
{
    if (!IsInForeground())
        return false;
    // Keys that send more than the one character may begin with it too.
    unsigned char keys[64];
    const ssize_t count = read(STDIN_FILENO, keys, sizeof keys);
    if (count == 1 && keys[0] == kEscape)
        PostEscape(mMainThread);
    return count > 0;
}

// Makes the terminal send each key at once and not show the key.
void StopKeys::Watch::TakeTerminal()
{
    if (!IsInForeground() || tcgetattr(STDIN_FILENO, &mTerminal) != 0)
        return;
    termios direct = mTerminal;
    direct.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    direct.c_cc[VMIN] = 1;
    direct.c_cc[VTIME] = 0;
    mHasTerminal = tcsetattr(STDIN_FILENO, TCSADRAIN, &direct) == 0;
}

void StopKeys::Watch::RestoreTerminal()
{
    if (mHasTerminal && IsInForeground())
        tcsetattr(STDIN_FILENO, TCSADRAIN, &mTerminal);
    mHasTerminal = false;
}

StopKeys::StopKeys() : mWatch(IsInterruptIgnored() ? nullptr : std::make_unique<Watch>()) {}

StopKeys::~StopKeys() = default;
