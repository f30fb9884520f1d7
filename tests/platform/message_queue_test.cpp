#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include <krobase/gate.h>
#include <platform/control.h>
#include <tolv/keyboard.h>
#include <win32/message_queue.h>
#include <win32/threads.h>

#include "tests/support/FailingNew.h"
#include "tests/support/OnThreads.h"

using krobase::threads::Gate;
using testing::ElementsAre;
using testing::IsEmpty;
using win32::MSG;

namespace
{
const int kGenerous = 60000; // milliseconds

const unsigned short kClassName[] = {'T', 'e', 's', 't', 'W', 'i', 'n', 'd', 'o', 'w', 0};

std::vector<std::string> sDispatched; // one thread at a time dispatches

long long Record(void* window, unsigned int message, unsigned long long wParam, long long lParam)
{
    if (message < win32::kWmUser)
        return win32::DefWindowProcW(window, message, wParam, lParam);
    sDispatched.push_back(std::to_string(message) + " " + std::to_string(wParam) + " " +
                          std::to_string(lParam));
    return 7;
}

void* MakeWindow(void* parent = win32::MessageOnlyParent(),
                 const unsigned short* className = kClassName)
{
    const win32::WNDCLASSW windowClass = {&Record, kClassName};
    win32::RegisterClassW(&windowClass);
    return win32::CreateWindowExW(0, className, nullptr, 0, 0, 0, 0, 0, parent, nullptr, nullptr,
                                  nullptr);
}

void Post(unsigned int message, unsigned long long wParam = 0)
{
    EXPECT_TRUE(win32::PostThreadMessageW(win32::GetCurrentThreadId(), message, wParam, 0));
}

// Removes all messages of the calling thread and returns their numbers in order.
std::vector<unsigned int> TakeAll()
{
    std::vector<unsigned int> numbers;
    MSG message;
    while (win32::PeekMessageW(&message, nullptr, 0, 0, win32::kPeekRemove))
        numbers.push_back(message.message);
    return numbers;
}

// Each test has a thread of its own, and so an empty queue.

TEST(MessageQueues, AThreadHasAQueueFromItsFirstCallUntilItEnds)
{
    Gate asked(false);
    Gate looked(false);
    Gate posted(false);
    unsigned int threadId = 0;
    std::thread looker([&] {
        threadId = win32::GetCurrentThreadId();
        asked.Open();
        EXPECT_TRUE(posted.PassThrough(kGenerous));
        EXPECT_THAT(TakeAll(), IsEmpty());
        looked.Open();
        MSG message;
        EXPECT_GT(win32::GetMessageW(&message, nullptr, 0, 0), 0) << "the call waits";
        EXPECT_EQ(message.message, 1234u);
        EXPECT_EQ(win32::GetMessageW(&message, nullptr, 0, 0), 0);
    });
    ASSERT_TRUE(asked.PassThrough(kGenerous));
    EXPECT_FALSE(platform::PostThreadMessage(threadId, 1, 0, 0));
    posted.Open();
    ASSERT_TRUE(looked.PassThrough(kGenerous));
    EXPECT_TRUE(platform::PostThreadMessage(threadId, 1234, 0, 0));
    EXPECT_TRUE(platform::PostThreadMessage(threadId, win32::kWmQuit, 0, 0));
    looker.join();
    EXPECT_FALSE(platform::PostThreadMessage(threadId, 1, 0, 0))
        << "the queue ended with its thread";
}

TEST(MessageQueues, AWindowReceivesMessagesUntilItIsDestroyed)
{
    void* window = nullptr;
    sDispatched.clear();
    OnFreshThread([&] {
        window = MakeWindow();
        MSG message;
        EXPECT_TRUE(win32::PostMessageW(window, 1024, 2, -3));
        ASSERT_TRUE(win32::PeekMessageW(&message, nullptr, 0, 0, win32::kPeekRemove));
        EXPECT_EQ(win32::DispatchMessageW(&message), 7);
        EXPECT_THAT(sDispatched, ElementsAre("1024 2 -3"));

        win32::PostMessageW(window, 1024, 0, 0);
        Post(1025);
        EXPECT_NE(win32::SetTimer(window, 4, 10, nullptr), 0u);
        OnFreshThread([&] {
            EXPECT_FALSE(win32::DestroyWindow(window)) << "the window is another thread's";
            EXPECT_EQ(win32::SetTimer(window, 1, 10, nullptr), 0u);
        });
        EXPECT_TRUE(win32::DestroyWindow(window));
        EXPECT_FALSE(win32::DestroyWindow(window));
        EXPECT_FALSE(win32::PostMessageW(window, 1024, 0, 0));
        EXPECT_EQ(win32::DispatchMessageW(&message), 0);
        EXPECT_FALSE(win32::KillTimer(window, 4));
        EXPECT_THAT(TakeAll(), ElementsAre(1025u));
        window = MakeWindow();
        EXPECT_EQ(MakeWindow(nullptr), nullptr) << "a visible window";
    });
    EXPECT_FALSE(win32::IsWindow(window)) << "the window ended with its thread";
    EXPECT_FALSE(win32::PostMessageW(window, 1024, 0, 0));
}

TEST(MessageQueues, AClassHasANameAndAProcedure)
{
    const unsigned short kOtherName[] = {'O', 't', 'h', 'e', 'r', 0};
    for (const win32::WNDCLASSW& windowClass :
         {win32::WNDCLASSW{&Record, nullptr}, {nullptr, kOtherName}})
        EXPECT_EQ(win32::RegisterClassW(&windowClass), 0);
    OnFreshThread([&] {
        for (const unsigned short* const name :
             {static_cast<const unsigned short*>(nullptr), kOtherName})
            EXPECT_EQ(MakeWindow(win32::MessageOnlyParent(), name), nullptr);
    });
}

TEST(MessageQueues, AnExceptionOfAProcedureReachesTheDispatcher)
{
    const unsigned short kThrowing[] = {'T', 'h', 'r', 'o', 'w', 's', 0};
    const win32::WNDPROC throwing = [](void* window, unsigned int message,
                                       unsigned long long wParam, long long lParam) -> long long {
        if (message == win32::kWmUser)
            throw static_cast<int>(wParam);
        return win32::DefWindowProcW(window, message, wParam, lParam);
    };
    OnFreshThread([&] {
        const win32::WNDCLASSW windowClass = {throwing, kThrowing};
        EXPECT_NE(win32::RegisterClassW(&windowClass), 0);
        EXPECT_EQ(win32::RegisterClassW(&windowClass), 0) << "the name is taken";
        void* const window = MakeWindow(win32::MessageOnlyParent(), kThrowing);
        for (const unsigned int code : {14u, 15u})
        {
            win32::PostMessageW(window, win32::kWmUser, code, 0);
            MSG message;
            ASSERT_TRUE(win32::PeekMessageW(&message, nullptr, 0, 0, win32::kPeekRemove));
            EXPECT_THAT([&] { win32::DispatchMessageW(&message); },
                        testing::Throws<int>(static_cast<int>(code)));
        }
        win32::PostMessageW(window, win32::kWmClose, 0, 0);
        MSG message;
        ASSERT_TRUE(win32::PeekMessageW(&message, nullptr, 0, 0, win32::kPeekRemove));
        EXPECT_EQ(win32::DispatchMessageW(&message), 0);
        EXPECT_FALSE(win32::IsWindow(window)) << "the system's handling of the message";
    });
}

TEST(MessageQueues, AWindowWithoutMemoryIsNullAndNoException)
{
    OnFreshThread([] {
        MakeWindow(); // registers the class and makes the thread's queue
        void* window = nullptr;
        EXPECT_NO_THROW(FailEachNew([&] { window = MakeWindow(); }, [](long) {}));
        EXPECT_NE(window, nullptr) << "the last call has all the memory";
    });
}

TEST(MessageQueues, AQuitOutsideTheFilterIsKept)
{
    OnFreshThread([] {
        MSG message;
        Post(win32::kWmQuit, 5);
        EXPECT_FALSE(win32::PeekMessageW(&message, nullptr, win32::kWmKeyFirst, win32::kWmKeyLast,
                                         win32::kPeekRemove));
        EXPECT_FALSE(win32::PeekMessageW(&message, nullptr, 0, 1, win32::kPeekRemove));
        EXPECT_FALSE(win32::PeekMessageW(&message, MakeWindow(), 0, 0, win32::kPeekRemove));
        EXPECT_EQ(win32::GetMessageW(&message, nullptr, 0, 0), 0);
        EXPECT_EQ(message.wParam, 5u);
    });
}

TEST(MessageQueues, ATimerPostsMessagesUntilItIsKilled)
{
    OnFreshThread([] {
        void* const window = MakeWindow();
        EXPECT_NE(win32::SetTimer(nullptr, 0, 1000000, nullptr), 0u);
        EXPECT_EQ(win32::SetTimer(window, 9, 1000000, nullptr), 9u);
        EXPECT_EQ(win32::SetTimer(window, 8, 1000000, nullptr), 8u);
        EXPECT_EQ(win32::SetTimer(window, 9, 100, nullptr), 9u) << "a shorter interval";
        MSG message;
        while (!win32::PeekMessageW(&message, window, 0, 0, win32::kPeekNoRemove))
            std::this_thread::yield();
        for (int i = 0; i < 2; ++i)
        {
            ASSERT_GT(win32::GetMessageW(&message, nullptr, 0, 0), 0);
            EXPECT_EQ(message.hwnd, window);
            EXPECT_EQ(message.message, win32::kWmTimer);
            EXPECT_EQ(message.wParam, 9u);
        }
        EXPECT_TRUE(win32::KillTimer(window, 9));
        EXPECT_FALSE(win32::KillTimer(window, 9));
    });
}

TEST(MessageQueues, FlushingDiscardsKeysUpToTheStop)
{
    OnFreshThread([] {
        for (unsigned int number : {256u, 1024u, 258u, 257u, 256u})
            Post(number);
        FlushEvents(kKeyDownEvent, kKeyUpEvent);
        EXPECT_THAT(TakeAll(), ElementsAre(1024u, 257u, 256u));
        Post(261); // a key with Alt is released
        FlushEvents(kKeyDownEvent, 0);
        EXPECT_THAT(TakeAll(), ElementsAre(261u)) << "another kind ends the flush";
    });
    EXPECT_EQ(platform::FlushEventsCount(), 2u);
    platform::ResetAll();
    EXPECT_EQ(platform::FlushEventsCount(), 0u);
}
} // namespace
