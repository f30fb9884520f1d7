#include <win32/message_queue.h>

#include <map>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include <platform/base/locks.h>
#include <platform/base/quiet_new.h>
#include <platform/base/thread_local.h>
#include <win32/threads.h>

#include "../private/system.h"
#include "thread_queue.h"

namespace win32
{
namespace
{
typedef std::basic_string<unsigned short> ClassName;

struct Window
{
    WNDPROC mProcedure;
    unsigned int mThreadId;
};

// Never destroyed: threads end until the process does.
platform::Mutex sWindowLock;
std::map<ClassName, WNDPROC>&
    sClasses PLATFORM_GUARDED_BY(sWindowLock) = *new std::map<ClassName, WNDPROC>;
std::map<void*, Window>& sWindows PLATFORM_GUARDED_BY(sWindowLock) = *new std::map<void*, Window>;
// The last handle. No handle is used twice.
std::size_t sLastWindow PLATFORM_GUARDED_BY(sWindowLock) = 0;

PLATFORM_THREAD_LOCAL(void*, tCapture);

// Returns false if there is no such window.
bool FindWindow(void* handle, Window& window)
{
    const platform::ScLock lock(sWindowLock);
    const auto found = sWindows.find(handle);
    if (found == sWindows.end())
        return false;
    window = found->second;
    return true;
}

bool IsOwnWindow(void* handle)
{
    Window window = {};
    return FindWindow(handle, window) && window.mThreadId == GetCurrentThreadId();
}
} // namespace

int PeekMessageW(MSG* message, void* window, unsigned int minimum, unsigned int maximum,
                 unsigned int remove)
{
    ThreadQueue* const queue = ThreadQueue::Current();
    return queue && queue->Take({window, minimum, maximum}, remove == kPeekRemove, *message);
}

int GetMessageW(MSG* message, void* window, unsigned int minimum, unsigned int maximum)
{
    ThreadQueue* const queue = ThreadQueue::Current();
    if (!queue)
        return -1;
    queue->WaitAndTake({window, minimum, maximum}, *message);
    return message->message != kWmQuit;
}

int TranslateMessage(const MSG*)
{
    return 0;
}

long long DispatchMessageW(const MSG* message)
{
    if (!message->hwnd)
    {
        CallHostProcedure(*message);
        return 0;
    }
    Window window = {};
    if (!FindWindow(message->hwnd, window))
        return 0;
    return window.mProcedure(message->hwnd, message->message, message->wParam, message->lParam);
}

int PostThreadMessageW(unsigned int threadId, unsigned int message, unsigned long long wParam,
                       long long lParam)
{
    if (threadId == GetCurrentThreadId() && !ThreadQueue::Current())
        return 0;
    const std::shared_ptr<ThreadQueue> queue = ThreadQueue::Of(threadId);
    return queue && queue->Add({nullptr, message, wParam, lParam});
}

int PostMessageW(void* handle, unsigned int message, unsigned long long wParam, long long lParam)
{
    if (!handle)
        return PostThreadMessageW(GetCurrentThreadId(), message, wParam, lParam);
    Window window = {};
    if (!FindWindow(handle, window))
        return 0;
    const std::shared_ptr<ThreadQueue> queue = ThreadQueue::Of(window.mThreadId);
    return queue && queue->Add({handle, message, wParam, lParam});
}

unsigned long long SetTimer(void* window, unsigned long long id, unsigned int interval,
                            void* procedure)
{
    ThreadQueue* const queue = ThreadQueue::Current();
    if (procedure || !queue || (window && !IsOwnWindow(window)))
        return 0;
    return queue->SetTimer(window, id, interval);
}

int KillTimer(void* window, unsigned long long id)
{
    ThreadQueue* const queue = ThreadQueue::Current();
    return queue && queue->KillTimer(window, id);
}

unsigned short RegisterClassW(const WNDCLASSW* windowClass)
{
    if (!windowClass->lpszClassName || !windowClass->lpfnWndProc)
        return 0;
    try
    {
        const platform::ScLock lock(sWindowLock);
        const bool entered =
            sClasses.emplace(windowClass->lpszClassName, windowClass->lpfnWndProc).second;
        const unsigned int kFirstAtom = 0xC000;
        return entered ? static_cast<unsigned short>(kFirstAtom + sClasses.size()) : 0;
    }
    catch (const std::bad_alloc&)
    {
        return 0;
    }
}

void* CreateWindowExW(unsigned int, const unsigned short* className, const unsigned short*,
                      unsigned int, int, int, int, int, void* parent, void*, void*, void*)
{
    if (!className || parent != MessageOnlyParent() || !ThreadQueue::Current())
        return nullptr;
    try
    {
        const platform::ScLock lock(sWindowLock);
        const auto procedure = sClasses.find(className);
        if (procedure == sClasses.end())
            return nullptr;
        void* const handle = reinterpret_cast<void*>(sLastWindow + 1);
        sWindows.emplace(handle, Window{procedure->second, GetCurrentThreadId()});
        ++sLastWindow;
        return handle;
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
}

int IsWindow(void* handle)
{
    Window window = {};
    return FindWindow(handle, window);
}

int DestroyWindow(void* handle)
{
    if (!IsOwnWindow(handle))
        return 0;
    {
        const platform::ScLock lock(sWindowLock);
        sWindows.erase(handle);
    }
    // A post that found the window before its removal may still add a message. The dispatch of
    // such a message calls nothing.
    ThreadQueue::Current()->Drop(handle);
    return 1;
}

long long DefWindowProcW(void* handle, unsigned int message, unsigned long long, long long)
{
    if (message == kWmClose)
        DestroyWindow(handle);
    return 0;
}

void DestroyWindowsOfThread()
{
    const unsigned int threadId = GetCurrentThreadId();
    const platform::ScLock lock(sWindowLock);
    for (auto window = sWindows.begin(); window != sWindows.end();)
        window = window->second.mThreadId == threadId ? sWindows.erase(window) : ++window;
}

void* SetCapture(void* window)
{
    return std::exchange(tCapture, window);
}

void* GetCapture()
{
    return tCapture;
}

int ReleaseCapture()
{
    tCapture = nullptr;
    return 1;
}
} // namespace win32
