#include <win32/threads.h>

#include <cstddef>
#include <cstring>
#include <initializer_list>

#include <platform/base/code_units.h>
#include <win32/exceptions.h>

#include "windows_api.h"

namespace win32
{
namespace
{
static_assert(kThreadPriorityIdle == THREAD_PRIORITY_IDLE &&
              kThreadPriorityLowest == THREAD_PRIORITY_LOWEST &&
              kThreadPriorityNormal == THREAD_PRIORITY_NORMAL &&
              kThreadPriorityHighest == THREAD_PRIORITY_HIGHEST &&
              kThreadPriorityTimeCritical == THREAD_PRIORITY_TIME_CRITICAL);

typedef HRESULT(WINAPI* SetDescription)(HANDLE thread, const wchar_t* description);

const unsigned int kCallingThread = 0xFFFFFFFFu;
const int kLongestThreadName = 63; // bytes

// Returns null if the system lacks the function. The compiler's headers do not declare the
// function, and versions of the system differ in the DLL that has it.
SetDescription FindSetDescription()
{
    for (const wchar_t* const name : {L"kernel32.dll", L"kernelbase.dll"})
    {
        const HMODULE module = ::GetModuleHandleW(name);
        const FARPROC found = module ? ::GetProcAddress(module, "SetThreadDescription") : nullptr;
        if (found)
            return reinterpret_cast<SetDescription>(reinterpret_cast<void*>(found));
    }
    return nullptr;
}

// Stores the name that process viewers show. A name that is not UTF-8 is not stored.
void DescribeCallingThread(const char* name)
{
    static const SetDescription sSetDescription = FindSetDescription();
    wchar_t text[kLongestThreadName + 1] = {};
    const std::size_t known = strnlen(name, kLongestThreadName + 1);
    const std::size_t length = platform::CutUTF8(name, known, kLongestThreadName);
    if (!sSetDescription)
        return;
    if (!length || ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, name,
                                         static_cast<int>(length), text, kLongestThreadName))
        sSetDescription(::GetCurrentThread(), text);
}

// Debuggers read names out of this exception.
void NameForDebugger(void* record)
{
    ::RaiseException(kThreadNamingException, 0, sizeof(ThreadNameRecord) / sizeof(ULONG_PTR),
                     static_cast<const ULONG_PTR*>(record));
}
} // namespace

unsigned int GetCurrentThreadId()
{
    return ::GetCurrentThreadId();
}

void* GetCurrentThread()
{
    return ::GetCurrentThread();
}

int SetThreadPriority(void* thread, int priority)
{
    return ::SetThreadPriority(thread, priority);
}

void RaiseException(unsigned int code, unsigned int flags, unsigned int argumentCount,
                    const void* arguments)
{
    if (code != kThreadNamingException)
    {
        // The arguments do not have the size of the system's, so the exception gets none.
        ::RaiseException(code, flags, 0, nullptr);
        return;
    }
    if (!arguments || argumentCount * sizeof(unsigned int) < sizeof(ThreadNameRecord))
        return;
    ThreadNameRecord record = *static_cast<const ThreadNameRecord*>(arguments);
    if (!record.name || record.threadId != kCallingThread)
        return;
    DescribeCallingThread(record.name);
    if (::IsDebuggerPresent())
        CallUntilException(&NameForDebugger, &record);
}
} // namespace win32
