// The system's message box.

#include <gtest/gtest.h>

#include <platform/control.h>
#include <win32/message_box.h>
#include <win32/native/windows_api.h>

#include "tests/support/System.h"

namespace
{
int sWindows = 0; // that the thread has made

// Counts the windows of the thread, and presses the button of a message box.
LRESULT CALLBACK Watch(int event, WPARAM window, LPARAM details)
{
    sWindows += event == HCBT_CREATEWND;
    if (event == HCBT_ACTIVATE)
        ::PostMessageW(reinterpret_cast<HWND>(window), WM_COMMAND, IDOK, 0);
    return ::CallNextHookEx(nullptr, event, window, details);
}

// Returns the count of windows that an alert makes.
int WindowsOfAnAlert()
{
    const unsigned short kText[] = {'t', 0};
    const HHOOK hook = ::SetWindowsHookExW(WH_CBT, &Watch, nullptr, ::GetCurrentThreadId());
    sWindows = 0;
    win32::MessageBoxW(nullptr, kText, kText, 0);
    ::UnhookWindowsHookEx(hook);
    return sWindows;
}

TEST(SystemBox, IsShownOnTheDesktopAlone)
{
    platform::ResetAll();
    testing::internal::CaptureStderr();
    EXPECT_GT(WindowsOfAnAlert(), 0);
    {
        const ScNoDesktop noDesktop;
        EXPECT_EQ(WindowsOfAnAlert(), 0);
    }
    EXPECT_GT(WindowsOfAnAlert(), 0);
    testing::internal::GetCapturedStderr();
}
} // namespace
