// The process, under the operating system's own names: its memory, its debugger, its debug
// output and its log files.
//
//     win32::PROCESS_MEMORY_COUNTERS counters = {};
//     win32::GetProcessMemoryInfo(win32::GetCurrentProcess(), &counters, sizeof(counters));
//     if (counters.WorkingSetSize > (1u << 30))
//         win32::OutputDebugStringA("more than 1 GiB\n");
//
// Thread safety: all functions may be called on any thread.

#ifndef WIN32_PROCESS_H
#define WIN32_PROCESS_H

#include <cstddef>
#include <cstdio>

#include <platform/base/export.h>

namespace win32
{
// Returns a handle that means the calling process.
PLATFORM_EXPORT void* GetCurrentProcess();

PLATFORM_EXPORT unsigned int GetCurrentProcessId();

// Sizes in bytes. Figures that the system does not keep are 0.
struct PROCESS_MEMORY_COUNTERS
{
    unsigned int cb; // the size of the structure
    unsigned int PageFaultCount;
    std::size_t PeakWorkingSetSize;
    std::size_t WorkingSetSize;
    std::size_t QuotaPeakPagedPoolUsage;
    std::size_t QuotaPagedPoolUsage;
    std::size_t QuotaPeakNonPagedPoolUsage;
    std::size_t QuotaNonPagedPoolUsage;
    std::size_t PagefileUsage;
    std::size_t PeakPagefileUsage;
};

// Stores the figures of a process, which is GetCurrentProcess(). `size` is the size of the
// structure.
//
// Returns: 0 on failure.
PLATFORM_EXPORT int GetProcessMemoryInfo(void* process, PROCESS_MEMORY_COUNTERS* counters,
                                         unsigned int size);

// Returns non-zero if a debugger is attached to the process.
PLATFORM_EXPORT int IsDebuggerPresent();

// Stops the calling thread in the debugger. Without a debugger the process ends.
PLATFORM_EXPORT void DebugBreak();

// Returns true if the process ends and the system has already ended all other threads, as in the
// static destructors of a DLL on Windows. Such a thread may have ended with a lock locked.
bool OtherThreadsHaveEnded();

// Passes a text, without a line end of its own, to the sink of platform/control.h. By default
// passes the text to the system's debugger on Windows, and elsewhere to stderr, where control
// characters other than tabs and line ends become escapes. Null writes nothing.
PLATFORM_EXPORT void OutputDebugStringA(const char* text);

// Opens a log file for appending. If there is none, makes a file that only this user may read
// and write. Refuses a path whose last part is a symbolic link. The programs that the process
// starts do not inherit the file. On Windows the path is in the active code page.
//
// Returns: the file, which the caller closes with std::fclose; null with the reason in errno.
PLATFORM_EXPORT std::FILE* OpenPrivateLog(const char* path);
} // namespace win32

#endif
