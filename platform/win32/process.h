// The process, under the operating system's own names. Any thread.

#ifndef WIN32_PROCESS_H
#define WIN32_PROCESS_H

#include <cstddef>

#include <platform/base/export.h>

namespace win32
{
// Sizes in bytes. Figures that this system doesn't keep are 0.
struct PROCESS_MEMORY_COUNTERS
{
    unsigned int cb;
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

// Stands for the calling process.
PLATFORM_EXPORT void* GetCurrentProcess();

// Fills in the figures of the calling process, the only one it knows. size is
// the structure's. 0 on failure.
PLATFORM_EXPORT int GetProcessMemoryInfo(void* process, PROCESS_MEMORY_COUNTERS* counters,
                                         unsigned int size);
} // namespace win32

#endif
