// Message queues, timers and windows, under the operating system's own names.
//
//     win32::SetTimer(nullptr, 0, 1000, nullptr);
//     win32::MSG message;
//     while (win32::GetMessageW(&message, nullptr, 0, 0) > 0)
//         win32::DispatchMessageW(&message);
//
// A thread has a queue from its first call of PeekMessageW, GetMessageW, SetTimer or
// CreateWindowExW, or from the first message that it posts to itself, until it ends.
//
// Thread safety: all functions may be called on any thread. A thread takes messages from its
// own queue only; any thread may post to any queue.
//
// Procedures of windows: on Windows the system may call the procedure also within PeekMessageW,
// GetMessageW, CreateWindowExW, DestroyWindow, SetCapture and ReleaseCapture, and within the copy
// to the clipboard. If the procedure throws, that call throws the exception once the system has
// returned. PeekMessageW and GetMessageW first return a message that they have removed; the next
// call then throws.

#ifndef WIN32_MESSAGE_QUEUE_H
#define WIN32_MESSAGE_QUEUE_H

#include <platform/base/export.h>

namespace win32
{
const unsigned int kWmClose = 0x10;
const unsigned int kWmQuit = 0x12;
const unsigned int kWmKeyFirst = 0x100;
const unsigned int kWmKeyDown = 0x100;
const unsigned int kWmKeyUp = 0x101;
const unsigned int kWmSysKeyUp = 0x105;
const unsigned int kWmKeyLast = 0x109;
const unsigned int kWmTimer = 0x113;
const unsigned int kWmUser = 0x400;

struct MSG
{
    void* hwnd; // null for a message to the thread
    unsigned int message;
    unsigned long long wParam;
    long long lParam;
};

const unsigned int kPeekNoRemove = 0;
const unsigned int kPeekRemove = 1;

// Stores the first message of the calling thread whose number is from `minimum` to `maximum`,
// or any if both are 0; of one window, or of all windows and the thread if `window` is null.
// Removes the message from the queue if `remove` is kPeekRemove. Posted messages precede timer
// messages; a timer that is due has one message, however late the call is.
//
// While the queue is empty and no timer is set, the call takes no lock and allocates nothing,
// except for the first call of a thread.
//
// Returns: non-zero, or 0 if there is no such message; then *message is unchanged.
PLATFORM_EXPORT int PeekMessageW(MSG* message, void* window, unsigned int minimum,
                                 unsigned int maximum, unsigned int remove);

// Waits until there is such a message, stores the message and removes it from the queue. On
// Windows the message of the system's own PostQuitMessage ends each wait.
//
// Returns: non-zero; 0 if the message is kWmQuit; -1 without memory for a queue.
PLATFORM_EXPORT int GetMessageW(MSG* message, void* window, unsigned int minimum,
                                unsigned int maximum);

// Posts the character of a key message, and returns non-zero if there was one. A system that does
// not know the layout of the keyboard returns 0: there, a caller that posts keys also posts their
// characters.
PLATFORM_EXPORT int TranslateMessage(const MSG* message);

// Calls the procedure of the message's window and returns the result. A message to the thread
// is passed to the procedure of platform::SetWindowProcedure, if one is set, and the result
// is 0.
//
// Throws: the exceptions of both procedures.
PLATFORM_EXPORT long long DispatchMessageW(const MSG* message);

// Post a message to a thread, or to a window. A null window means the calling thread.
//
// Returns: non-zero; 0 if there is no such thread with a queue, no such window, or no room for the
//   message: no memory, or on Windows the system's limit of messages in a queue.
PLATFORM_EXPORT int PostThreadMessageW(unsigned int threadId, unsigned int message,
                                       unsigned long long wParam, long long lParam);
PLATFORM_EXPORT int PostMessageW(void* window, unsigned int message, unsigned long long wParam,
                                 long long lParam);

// Sets a timer of the calling thread. From then on a kWmTimer message, whose wParam is the id
// of the timer, is due every `interval` milliseconds, at least 10. `procedure` is null.
//
//  - With a window of the calling thread, the timer has the given id and replaces the window's
//    timer of that id.
//  - With a null window, the timer replaces the thread's own timer of the given id. If there
//    is none, the timer has a new id.
//
// Returns: the id of the timer, or 0 on failure.
PLATFORM_EXPORT unsigned long long SetTimer(void* window, unsigned long long id,
                                            unsigned int interval, void* procedure);

// Removes a timer. A timer message that was taken before remains valid.
//
// Returns: 0 if there was no such timer.
PLATFORM_EXPORT int KillTimer(void* window, unsigned long long id);

typedef long long (*WNDPROC)(void* window, unsigned int message, unsigned long long wParam,
                             long long lParam);

struct WNDCLASSW
{
    WNDPROC lpfnWndProc;
    const unsigned short* lpszClassName;
};

// Handles a message as the system does without a procedure: kWmClose destroys the window.
//
// The system sends messages of its own to a window, such as those of its creation. A procedure
// passes each message that it does not know to this function, and returns the result.
PLATFORM_EXPORT long long DefWindowProcW(void* window, unsigned int message,
                                         unsigned long long wParam, long long lParam);

// Registers a window procedure under the name of a class, until the process ends.
//
// Returns: the atom of the class; 0 if the name is taken, without memory, and for a null name or
//   procedure.
PLATFORM_EXPORT unsigned short RegisterClassW(const WNDCLASSW* windowClass);

// The parent of windows that receive messages and are never visible.
inline void* MessageOnlyParent()
{
    return reinterpret_cast<void*>(~2ull);
}

// Makes a window of the calling thread. `className` is a registered class and `parent` is
// MessageOnlyParent(); the other arguments are not used.
//
// Returns: the window, or null on failure.
PLATFORM_EXPORT void* CreateWindowExW(unsigned int extendedStyle, const unsigned short* className,
                                      const unsigned short* windowName, unsigned int style, int x,
                                      int y, int width, int height, void* parent, void* menu,
                                      void* instance, void* parameter);

// Returns non-zero for a window, of any thread, that is not destroyed.
PLATFORM_EXPORT int IsWindow(void* window);

// Destroys a window of the calling thread, with its messages and timers. The windows of a
// thread that ends are destroyed too.
//
// Returns: 0 if the calling thread has no such window.
PLATFORM_EXPORT int DestroyWindow(void* window);

// The window that receives the mouse input of the calling thread wherever the pointer is; null
// if there is none. SetCapture returns the previous window. ReleaseCapture sets null and
// returns 1.
PLATFORM_EXPORT void* SetCapture(void* window);
PLATFORM_EXPORT void* GetCapture();
PLATFORM_EXPORT int ReleaseCapture();
} // namespace win32

#endif
