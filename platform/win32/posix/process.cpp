#include <win32/process.h>

#include <iterator>

#include <sys/resource.h>

#include "status_figures.h"

namespace win32
{
void* GetCurrentProcess()
{
    return reinterpret_cast<void*>(~std::size_t(0));
}

int GetProcessMemoryInfo(void* process, PROCESS_MEMORY_COUNTERS* counters, unsigned int size)
{
    if (process != GetCurrentProcess() || !counters || size < sizeof(*counters))
        return 0;
    enum
    {
        kPeak,
        kResident,
        kAnonymous,
        kSwapped
    };
    StatusFigure kilobytes[] = {{"VmHWM:", 0}, {"VmRSS:", 0}, {"RssAnon:", 0}, {"VmSwap:", 0}};
    rusage usage;
    if (!ReadStatusFigures(kilobytes, std::size(kilobytes)) || getrusage(RUSAGE_SELF, &usage) != 0)
        return 0;

    *counters = PROCESS_MEMORY_COUNTERS();
    counters->cb = sizeof(*counters);
    counters->PageFaultCount = static_cast<unsigned int>(usage.ru_minflt + usage.ru_majflt);
    counters->PeakWorkingSetSize = kilobytes[kPeak].mValue << 10;
    counters->WorkingSetSize = kilobytes[kResident].mValue << 10;
    counters->PagefileUsage = (kilobytes[kAnonymous].mValue + kilobytes[kSwapped].mValue) << 10;
    return 1;
}
} // namespace win32
