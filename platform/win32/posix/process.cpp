#include <win32/process.h>

#include <cstdio>
#include <cstring>
#include <memory>

#include <sys/resource.h>

namespace win32
{
namespace
{
// Takes the value of one line of /proc/self/status, in bytes.
void TakeFigure(const char* line, const char* label, std::size_t& figure)
{
    unsigned long long kilobytes = 0;
    const std::size_t length = std::strlen(label);
    if (std::strncmp(line, label, length) == 0 &&
        std::sscanf(line + length, "%llu", &kilobytes) == 1)
        figure = static_cast<std::size_t>(kilobytes) << 10;
}
} // namespace

void* GetCurrentProcess()
{
    return reinterpret_cast<void*>(~std::size_t(0));
}

int GetProcessMemoryInfo(void* process, PROCESS_MEMORY_COUNTERS* counters, unsigned int size)
{
    if (process != GetCurrentProcess() || !counters || size < sizeof(*counters))
        return 0;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> status(
        std::fopen("/proc/self/status", "r"), &std::fclose);
    rusage usage;
    if (!status || getrusage(RUSAGE_SELF, &usage) != 0)
        return 0;

    *counters = PROCESS_MEMORY_COUNTERS();
    counters->cb = sizeof(*counters);
    counters->PageFaultCount = static_cast<unsigned int>(usage.ru_minflt + usage.ru_majflt);
    std::size_t anonymous = 0;
    std::size_t swapped = 0;
    char line[128];
    while (std::fgets(line, sizeof(line), status.get()))
    {
        TakeFigure(line, "VmHWM:", counters->PeakWorkingSetSize);
        TakeFigure(line, "VmRSS:", counters->WorkingSetSize);
        TakeFigure(line, "RssAnon:", anonymous);
        TakeFigure(line, "VmSwap:", swapped);
    }
    counters->PagefileUsage = anonymous + swapped;
    return 1;
}
} // namespace win32
