#include <win32/message_queue.h>

#include <exception>
#include <functional>
#include <map>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include <platform/base/locks.h>
#include <platform/base/per_thread.h>
#include <win32/threads.h>

#include "../private/system.h"
#include "windows_api.h"

extern "C" IMAGE_DOS_HEADER __ImageBase; // the start of this module

namespace win32
{
namespace
{
static_assert(kWmClose == WM_CLOSE && kWmQuit == WM_QUIT && kWmUser == WM_USER);
static_assert(kWmKeyFirst == WM_KEYFIRST && kWmKeyLast == WM_KEYLAST && kWmKeyDown == WM_KEYDOWN &&
              kWmKeyUp == WM_KEYUP && kWmSysKeyUp == WM_SYSKEYUP && kWmTimer == WM_TIMER);
static_assert(kPeekNoRemove == PM_NOREMOVE && kPeekRemove == PM_REMOVE);

// Searched by texts of any type, so that a search allocates nothing.
typedef std::map<std::basic_string<unsigned short>, WNDPROC, std::less<>> Classes;

// Never destroyed: threads end until the process does.
platform::Mutex sClassLock;
Classes& sClasses PLATFORM_GUARDED_BY(sClassLock) = *new Classes;

// A thread has an object of this class from its first window on.
struct ProcedureFailure
{
    std::exception_ptr mFirst;
};

HWND Native(void* window)
{
    return static_cast<HWND>(window);
}

::MSG Native(const MSG& message)
{
    ::MSG native = {};
    native.hwnd = Native(message.hwnd);
    native.message = message.message;
    native.wParam = message.wParam;
    native.lParam = message.lParam;
    return native;
}

MSG Own(const ::MSG& message)
{
    return {message.hwnd, message.message, message.wParam, message.lParam};
}

HINSTANCE Module()
{
    return reinterpret_cast<HINSTANCE>(&__ImageBase);
}

void KeepException()
{
    ProcedureFailure* const failure = platform::PerThread<ProcedureFailure>::Find();
    if (!failure)
        std::terminate();
    if (!failure->mFirst)
        failure->mFirst = std::current_exception();
}

// The procedure of all classes. The window stores the procedure of its class, which is the
// parameter of CreateWindowExW.
LRESULT CALLBACK CallProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_NCCREATE)
    {
        const CREATESTRUCTW& creation = *reinterpret_cast<const CREATESTRUCTW*>(lParam);
        ::SetWindowLongPtrW(window, 0, reinterpret_cast<LONG_PTR>(creation.lpCreateParams));
    }
    const WNDPROC procedure = reinterpret_cast<WNDPROC>(::GetWindowLongPtrW(window, 0));
    if (!procedure)
        return ::DefWindowProcW(window, message, wParam, lParam);
    try
    {
        return procedure(window, message, wParam, lParam);
    }
    catch (...)
    {
        KeepException();
        return message == WM_CREATE ? -1 : 0; // -1: no window is made
    }
}

// Returns null for an unknown class.
WNDPROC FindProcedure(const unsigned short* className)
{
    if (!className)
        return nullptr;
    const platform::ScLock lock(sClassLock);
    const auto found = sClasses.find(std::basic_string_view<unsigned short>(className));
    return found != sClasses.end() ? found->second : nullptr;
}

bool IsOwnWindow(HWND window)
{
    return ::GetWindowThreadProcessId(window, nullptr) == ::GetCurrentThreadId();
}

// The system returns the message of PostQuitMessage whatever the filter is.
bool IsUnwantedQuit(const ::MSG& message, const void* window, unsigned int minimum,
                    unsigned int maximum)
{
    const bool isAnyNumber = !minimum && !maximum;
    return message.message == WM_QUIT &&
           (window || (!isAnyNumber && (WM_QUIT < minimum || WM_QUIT > maximum)));
}

// Makes the queue of the calling thread.
void MakeQueue()
{
    ::MSG message;
    ::PeekMessageW(&message, nullptr, WM_USER, WM_USER, PM_NOREMOVE);
}
} // namespace

void RethrowFromProcedures()
{
    ProcedureFailure* const failure = platform::PerThread<ProcedureFailure>::Find();
    if (failure && failure->mFirst)
        std::rethrow_exception(std::exchange(failure->mFirst, nullptr));
}

// A message that was removed is returned even if a procedure has thrown meanwhile: the next call
// throws the exception.
int PeekMessageW(MSG* message, void* window, unsigned int minimum, unsigned int maximum,
                 unsigned int remove)
{
    ::MSG taken;
    const bool isTaken = ::PeekMessageW(&taken, Native(window), minimum, maximum, remove) != 0;
    if (isTaken && !IsUnwantedQuit(taken, window, minimum, maximum))
    {
        *message = Own(taken);
        return 1;
    }
    if (isTaken && remove == kPeekRemove)
        ::PostQuitMessage(static_cast<int>(taken.wParam));
    RethrowFromProcedures();
    return 0;
}

int GetMessageW(MSG* message, void* window, unsigned int minimum, unsigned int maximum)
{
    RethrowFromProcedures();
    ::MSG taken;
    const int result = ::GetMessageW(&taken, Native(window), minimum, maximum);
    if (result >= 0)
        *message = Own(taken);
    return result;
}

int TranslateMessage(const MSG* message)
{
    const ::MSG native = Native(*message);
    return ::TranslateMessage(&native);
}

long long DispatchMessageW(const MSG* message)
{
    if (!message->hwnd)
        CallHostProcedure(*message);
    const ::MSG native = Native(*message);
    const long long result = ::DispatchMessageW(&native);
    RethrowFromProcedures();
    return result;
}

int PostThreadMessageW(unsigned int threadId, unsigned int message, unsigned long long wParam,
                       long long lParam)
{
    if (threadId == GetCurrentThreadId())
        MakeQueue();
    return ::PostThreadMessageW(threadId, message, wParam, lParam);
}

int PostMessageW(void* window, unsigned int message, unsigned long long wParam, long long lParam)
{
    if (!window)
        return PostThreadMessageW(GetCurrentThreadId(), message, wParam, lParam);
    return ::PostMessageW(Native(window), message, wParam, lParam);
}

unsigned long long SetTimer(void* window, unsigned long long id, unsigned int interval,
                            void* procedure)
{
    if (procedure || (window && !IsOwnWindow(Native(window))))
        return 0;
    return ::SetTimer(Native(window), id, interval, nullptr);
}

int KillTimer(void* window, unsigned long long id)
{
    return ::KillTimer(Native(window), id);
}

unsigned short RegisterClassW(const WNDCLASSW* windowClass)
{
    if (!windowClass->lpszClassName || !windowClass->lpfnWndProc)
        return 0;
    ::WNDCLASSW native = {};
    native.lpfnWndProc = &CallProcedure;
    native.cbWndExtra = sizeof(WNDPROC);
    native.hInstance = Module();
    native.lpszClassName = Wide(windowClass->lpszClassName);
    try
    {
        const platform::ScLock lock(sClassLock);
        const auto [position, isNew] =
            sClasses.emplace(windowClass->lpszClassName, windowClass->lpfnWndProc);
        const ATOM atom = isNew ? ::RegisterClassW(&native) : 0;
        if (isNew && !atom)
            sClasses.erase(position);
        return atom;
    }
    catch (const std::bad_alloc&)
    {
        return 0;
    }
}

void* CreateWindowExW(unsigned int extendedStyle, const unsigned short* className,
                      const unsigned short* windowName, unsigned int style, int x, int y, int width,
                      int height, void* parent, void*, void*, void*)
{
    if (parent != MessageOnlyParent() || !platform::PerThread<ProcedureFailure>::Make())
        return nullptr;
    const WNDPROC procedure = FindProcedure(className);
    if (!procedure)
        return nullptr;
    void* const window = ::CreateWindowExW(extendedStyle, Wide(className), Wide(windowName), style,
                                           x, y, width, height, Native(parent), nullptr, Module(),
                                           reinterpret_cast<void*>(procedure));
    if (!window)
        RethrowFromProcedures();
    return window;
}

int IsWindow(void* window)
{
    return ::IsWindow(Native(window));
}

int DestroyWindow(void* window)
{
    const int result = ::DestroyWindow(Native(window));
    RethrowFromProcedures();
    return result;
}

long long DefWindowProcW(void* window, unsigned int message, unsigned long long wParam,
                         long long lParam)
{
    return ::DefWindowProcW(Native(window), message, wParam, lParam);
}

void* SetCapture(void* window)
{
    void* const before = ::SetCapture(Native(window));
    RethrowFromProcedures();
    return before;
}

void* GetCapture()
{
    return ::GetCapture();
}

int ReleaseCapture()
{
    const int result = ::ReleaseCapture();
    RethrowFromProcedures();
    return result;
}
} // namespace win32
