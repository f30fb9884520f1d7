#include "stop.h"

#include <atomic>
#include <exception>
#include <thread>

#include <win32/native/windows_api.h>
#include <win32/threads.h>

namespace
{
std::atomic<unsigned int> sMainThread(0); // 0: Ctrl-C has its usual effect

// Called on a thread that the system starts for each Ctrl-C, unless Ctrl-C is ignored.
BOOL WINAPI OnInterrupt(DWORD event)
{
    const unsigned int mainThread = event == CTRL_C_EVENT ? sMainThread.exchange(0) : 0;
    if (!mainThread)
        return FALSE;
    PostEscape(mainThread);
    return TRUE;
}
} // namespace

class StopKeys::Watch
{
    const unsigned int mMainThread = win32::GetCurrentThreadId();
    const HANDLE mTerminal = ::GetStdHandle(STD_INPUT_HANDLE);
    const HANDLE mEnd = ::CreateEventW(nullptr, TRUE, FALSE, nullptr); // set to end the watch
    std::thread mThread; // runs only if stdin is a terminal

    void Run() const;
    bool OnTerminal() const;

public:
    Watch();
    ~Watch();
};

StopKeys::Watch::Watch()
{
    MakeQueue();
    sMainThread = mMainThread;
    ::SetConsoleCtrlHandler(&OnInterrupt, TRUE);
    DWORD mode = 0;
    if (!mEnd || !::GetConsoleMode(mTerminal, &mode))
        return;
    try
    {
        mThread = std::thread([this] { Run(); });
    }
    catch (const std::exception&) // a std::system_error, or std::bad_alloc
    {
        // Ctrl-C stops the program without the watch.
    }
}

StopKeys::Watch::~Watch()
{
    ::SetConsoleCtrlHandler(&OnInterrupt, FALSE);
    if (mThread.joinable())
    {
        ::SetEvent(mEnd);
        mThread.join();
    }
    if (mEnd)
        ::CloseHandle(mEnd);
}

void StopKeys::Watch::Run() const
{
    const HANDLE watched[] = {mEnd, mTerminal};
    while (::WaitForMultipleObjects(2, watched, FALSE, INFINITE) == WAIT_OBJECT_0 + 1)
    {
        if (!OnTerminal())
            return;
    }
}

// Returns false if the terminal sends no more keys.
bool StopKeys::Watch::OnTerminal() const
{
    INPUT_RECORD input = {};
    DWORD count = 0;
    if (!::ReadConsoleInputW(mTerminal, &input, 1, &count) || count == 0)
        return false;
    if (input.EventType == KEY_EVENT && input.Event.KeyEvent.bKeyDown &&
        input.Event.KeyEvent.wVirtualKeyCode == VK_ESCAPE)
        PostEscape(mMainThread);
    return true;
}

StopKeys::StopKeys() : mWatch(std::make_unique<Watch>()) {}

StopKeys::~StopKeys() = default;
