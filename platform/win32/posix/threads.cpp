#include <win32/threads.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <pthread.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <platform/base/code_units.h>
#include <platform/base/thread_local.h>
#include <wril/wril.h>

namespace win32
{
namespace
{
const std::size_t kLongestThreadName = 15; // bytes, the system's limit
const unsigned int kCallingThread = 0xFFFFFFFFu;

PLATFORM_THREAD_LOCAL(unsigned int, tThreadId); // 0 until the first call

void NameCallingThread(const char* name)
{
    char cut[kLongestThreadName + 1] = {};
    const std::size_t known = strnlen(name, kLongestThreadName + 1);
    const std::size_t length = platform::CutUTF8(name, known, kLongestThreadName);
    std::memcpy(cut, name, length);
    pthread_setname_np(pthread_self(), cut);
}

// Returns the distance from the niceness of the process.
int NicenessOf(int priority)
{
    const int kStep = 5;
    const int kFarthest = 19;
    if (priority <= kThreadPriorityIdle || priority >= kThreadPriorityTimeCritical)
        return priority < 0 ? kFarthest : -kFarthest;
    return -kStep * priority;
}
} // namespace

unsigned int GetCurrentThreadId()
{
    if (!tThreadId)
        tThreadId = static_cast<unsigned int>(syscall(SYS_gettid));
    return tThreadId;
}

void* GetCurrentThread()
{
    return reinterpret_cast<void*>(~std::size_t(1));
}

int SetThreadPriority(void* thread, int priority)
{
    if (thread != GetCurrentThread())
        return 0;
    errno = 0; // -1 is a niceness, too
    const int ofProcess = getpriority(PRIO_PROCESS, static_cast<id_t>(getpid()));
    if (ofProcess == -1 && errno != 0)
        return 0;
    const int niceness = ofProcess + NicenessOf(priority);
    return setpriority(PRIO_PROCESS, GetCurrentThreadId(), niceness) == 0;
}

void RaiseException(unsigned int code, unsigned int, unsigned int argumentCount,
                    const void* arguments)
{
    if (code != kThreadNamingException)
    {
        WRIL_sprintf(0, "win32", "RaiseException", "unhandled exception %08X", code);
        std::abort();
    }
    if (!arguments || argumentCount * sizeof(unsigned int) < sizeof(ThreadNameRecord))
        return;
    const ThreadNameRecord* record = static_cast<const ThreadNameRecord*>(arguments);
    if (record->name && record->threadId == kCallingThread)
        NameCallingThread(record->name);
}
} // namespace win32
