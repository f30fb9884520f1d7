// Threads, under the operating system's own names.
//
//     const win32::ThreadNameRecord record = {0x1000, "Loader", 0xFFFFFFFF, 0};
//     win32::RaiseException(win32::kThreadNamingException, 0,
//                           sizeof(record) / sizeof(unsigned int), &record);
//     win32::SetThreadPriority(win32::GetCurrentThread(), win32::kThreadPriorityLowest);
//
// Thread safety: all functions may be called on any thread.

#ifndef WIN32_THREADS_H
#define WIN32_THREADS_H

#include <platform/base/export.h>

namespace win32
{
PLATFORM_EXPORT unsigned int GetCurrentThreadId();

// Returns a handle that means the calling thread.
PLATFORM_EXPORT void* GetCurrentThread();

const int kThreadPriorityIdle = -15;
const int kThreadPriorityLowest = -2;
const int kThreadPriorityNormal = 0; // the priority of the process's first thread
const int kThreadPriorityHighest = 2;
const int kThreadPriorityTimeCritical = 15;

// Sets the priority of a thread, which is GetCurrentThread().
//
// Returns: 0 if the system refuses, for example to raise a priority.
PLATFORM_EXPORT int SetThreadPriority(void* thread, int priority);

const unsigned int kThreadNamingException = 0x406D1388u;

// The arguments of the thread-naming exception.
struct ThreadNameRecord
{
    unsigned int type; // 0x1000
    const char* name;
    unsigned int threadId; // 0xFFFFFFFF, the calling thread; other threads are not named
    unsigned int flags;    // 0
};

// Raises an exception with `argumentCount` arguments of the size of an unsigned int. The
// thread-naming exception sets the name of the thread, cut at a character boundary to the
// length that the system stores, and the function returns. Any other exception ends the
// process, unless on Windows a debugger or a handler of the host continues the thread.
PLATFORM_EXPORT void RaiseException(unsigned int code, unsigned int flags,
                                    unsigned int argumentCount, const void* arguments);
} // namespace win32

#endif
