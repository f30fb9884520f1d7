// Threads, under the operating system's own names.

#ifndef WIN32_THREADS_H
#define WIN32_THREADS_H

#include <platform/base/export.h>

namespace win32
{
PLATFORM_EXPORT unsigned int GetCurrentThreadId();
PLATFORM_EXPORT unsigned int GetCurrentProcessId();

// Stands for the calling thread.
PLATFORM_EXPORT void* GetCurrentThread();

const int kThreadPriorityIdle = -15;
const int kThreadPriorityLowest = -2;
const int kThreadPriorityNormal = 0; // that of the process's first thread
const int kThreadPriorityHighest = 2;
const int kThreadPriorityTimeCritical = 15;

// Sets the priority of the calling thread, the only one it knows. 0 if the
// system refuses, as it may to raise one.
PLATFORM_EXPORT int SetThreadPriority(void* thread, int priority);

const unsigned int kThreadNamingException = 0x406D1388u;

// What the thread-naming exception carries.
struct ThreadNameRecord
{
    unsigned int type; // 0x1000
    const char* name;
    unsigned int threadId; // 0xFFFFFFFF, the calling thread; others aren't named
    unsigned int flags;    // 0
};

// Raises an exception with argumentCount arguments. The thread-naming
// exception is absorbed at once, after the thread has its name, cut at a
// character boundary to what the system holds. Any other ends the process.
PLATFORM_EXPORT void RaiseException(unsigned int code, unsigned int flags,
                                    unsigned int argumentCount, const void* arguments);
} // namespace win32

#endif
