// Messages that the system itself sends to windows and threads.

#include <functional>
#include <utility>

#include <gmock/gmock.h>

#include <kroview/datatransfer.h>
#include <win32/message_queue.h>
#include <win32/native/windows_api.h>

#include "tests/support/OnThreads.h"

namespace
{
const unsigned short kClassName[] = {'S', 'e', 'n', 't', 0};

const unsigned int kNone = ~0u;
thread_local unsigned int sThrowOn = kNone;

// Throws the number of a message.
long long Throw(void* window, unsigned int message, unsigned long long wParam, long long lParam)
{
    if (message == sThrowOn)
        throw static_cast<int>(message);
    return win32::DefWindowProcW(window, message, wParam, lParam);
}

void* MakeWindow()
{
    const win32::WNDCLASSW windowClass = {&Throw, kClassName};
    win32::RegisterClassW(&windowClass);
    return win32::CreateWindowExW(0, kClassName, nullptr, 0, 0, 0, 0, 0, win32::MessageOnlyParent(),
                                  nullptr, nullptr, nullptr);
}

TEST(SystemMessages, AQuitOfTheSystemOutsideTheFilterIsKept)
{
    OnFreshThread([] {
        ::PostQuitMessage(5);
        win32::MSG message = {};
        for (const unsigned int remove : {win32::kPeekNoRemove, win32::kPeekRemove})
            EXPECT_FALSE(win32::PeekMessageW(&message, nullptr, win32::kWmKeyFirst,
                                             win32::kWmKeyLast, remove));
        EXPECT_FALSE(win32::PeekMessageW(&message, MakeWindow(), 0, 0, win32::kPeekRemove));
        EXPECT_TRUE(win32::PeekMessageW(&message, nullptr, win32::kWmQuit, win32::kWmQuit,
                                        win32::kPeekRemove));
        EXPECT_EQ(message.wParam, 5u);
        EXPECT_FALSE(win32::PeekMessageW(&message, nullptr, 0, 0, win32::kPeekRemove));
    });
}

TEST(SystemMessages, AnExceptionOfAProcedureReachesTheCallThatMadeTheSystemCallIt)
{
    typedef std::pair<unsigned int, std::function<void(void* window)>> Row;
    const Row kRows[] = {
        {WM_NCCREATE, [](void*) { MakeWindow(); }},
        {WM_CREATE, [](void*) { MakeWindow(); }},
        {WM_DESTROY, [](void* window) { win32::DestroyWindow(window); }},
        {WM_CAPTURECHANGED, [](void*) { win32::SetCapture(nullptr); }},
        {WM_CAPTURECHANGED, [](void*) { win32::ReleaseCapture(); }},
        {WM_DESTROYCLIPBOARD,
         [](void* window) {
             EXPECT_TRUE(::OpenClipboard(static_cast<HWND>(window)) && ::EmptyClipboard() &&
                         ::CloseClipboard())
                 << "the window has the clipboard";
             kroview::datatransfer::NewClipboardSendData({'t'});
         }},
    };
    for (const auto& [message, call] : kRows)
    {
        SCOPED_TRACE(message);
        OnFreshThread([number = message, makeCall = call] {
            void* const window = MakeWindow();
            win32::SetCapture(window);
            sThrowOn = number;
            EXPECT_THAT([&] { makeCall(window); }, testing::Throws<int>(static_cast<int>(number)));
            sThrowOn = kNone;
            EXPECT_NO_THROW(win32::DestroyWindow(window)) << "each exception is thrown once";
        });
    }
}
} // namespace
