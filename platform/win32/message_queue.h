// Message queues, under the operating system's own names.
//
// A thread has a queue from its first call of PeekMessageW, GetMessageW,
// SetTimer or CreateWindowExW, or from its first message to itself, until it
// ends. Only that thread takes messages from it; any thread may post.

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
    void* hwnd; // null for the thread's own messages
    unsigned int message;
    unsigned long long wParam;
    long long lParam;
};

const unsigned int kPeekNoRemove = 0;
const unsigned int kPeekRemove = 1;

// The first message from minimum to maximum, all if both are 0; for one window,
// or for all and the thread if it is null. A timer that is due has a message
// behind those that were posted, one however late it is. Returns 0, with
// *message as it was, if there is none. While nothing is queued and no timer
// set, it takes no lock and allocates nothing, but for a thread's first call.
PLATFORM_EXPORT int PeekMessageW(MSG* message, void* window, unsigned int minimum,
                                 unsigned int maximum, unsigned int remove);

// The same, waiting for the message, which it removes. 0 if that is kWmQuit, -1
// without memory for a queue.
PLATFORM_EXPORT int GetMessageW(MSG* message, void* window, unsigned int minimum,
                                unsigned int maximum);

// Posts the character of a key, and returns non-zero if it did. Here the layout
// of the keyboard isn't known: who posts keys posts their characters too, and the
// answer is 0.
PLATFORM_EXPORT int TranslateMessage(const MSG* message);

// Runs the window's procedure on the message and returns its result. What it
// throws passes through. A message of the thread goes to the procedure of
// platform::SetWindowProcedure, if one is set.
PLATFORM_EXPORT long long DispatchMessageW(const MSG* message);

// Both return 0 if there is no such thread with a queue, no such window, or no
// memory. A null window stands for the calling thread.
PLATFORM_EXPORT int PostThreadMessageW(unsigned int threadId, unsigned int message,
                                       unsigned long long wParam, long long lParam);
PLATFORM_EXPORT int PostMessageW(void* window, unsigned int message, unsigned long long wParam,
                                 long long lParam);

// Sets a timer of the calling thread: from then on a kWmTimer message is due
// every interval milliseconds, at least 10, with the timer's id. A window's timer
// has the id given and replaces the one of that id. Without a window the timer
// replaces the thread's own of that id, and has a new id if there is none. There
// are no timer procedures: procedure is null. Returns the id, 0 on failure.
PLATFORM_EXPORT unsigned long long SetTimer(void* window, unsigned long long id,
                                            unsigned int interval, void* procedure);
// Non-zero if there was such a timer. A message that was taken stays taken.
PLATFORM_EXPORT int KillTimer(void* window, unsigned long long id);

typedef long long (*WNDPROC)(void* window, unsigned int message, unsigned long long wParam,
                             long long lParam);

struct WNDCLASSW
{
    WNDPROC lpfnWndProc;
    const unsigned short* lpszClassName;
};

// Names a window procedure. Returns 0 if the name is taken, else its atom.
PLATFORM_EXPORT unsigned short RegisterClassW(const WNDCLASSW* windowClass);

// The parent of windows that take messages and are never seen.
inline void* MessageOnlyParent()
{
    return reinterpret_cast<void*>(~2ull);
}

// A window of the calling thread, of a registered class. Here all windows are
// message-only ones; the numbers, the menu, the instance and the parameter aren't
// used. Null on failure.
PLATFORM_EXPORT void* CreateWindowExW(unsigned int extendedStyle, const unsigned short* className,
                                      const unsigned short* windowName, unsigned int style, int x,
                                      int y, int width, int height, void* parent, void* menu,
                                      void* instance, void* parameter);

// Non-zero for a window that hasn't ended, of whichever thread.
PLATFORM_EXPORT int IsWindow(void* window);

// Ends a window of the calling thread, with its messages and timers; a thread's
// windows end with it. 0 if it has no such window.
PLATFORM_EXPORT int DestroyWindow(void* window);
} // namespace win32

#endif
