#include <win32/process.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <platform/base/printable.h>
#include <platform/base/write_all_posix.h>

#include "../private/system.h"

namespace win32
{
namespace
{
// A figure that the system keeps of the process.
struct StatusFigure
{
    const char* mLabel; // with its colon
    std::size_t mValue;
};

void ParseLine(const char* line, StatusFigure& figure)
{
    std::size_t value = 0;
    const std::size_t length = std::strlen(figure.mLabel);
    if (std::strncmp(line, figure.mLabel, length) == 0 &&
        std::sscanf(line + length, "%zu", &value) == 1)
        figure.mValue = value;
}

// Reads figures from /proc/self/status, in the units of that file. A figure that the file
// lacks keeps its value. Returns false if the file can't be read.
bool ReadStatusFigures(StatusFigure* figures, std::size_t count)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> status(
        std::fopen("/proc/self/status", "r"), &std::fclose);
    if (!status)
        return false;
    char line[128];
    do
    {
        std::rewind(status.get()); // an interrupted read has dropped a part of a line
        while (std::fgets(line, sizeof(line), status.get()))
        {
            for (std::size_t i = 0; i < count; ++i)
                ParseLine(line, figures[i]);
        }
    } while (std::ferror(status.get()) && errno == EINTR);
    return !std::ferror(status.get());
}

// A file of the C library whose writes are those of WriteAll.
void* CookieOf(int descriptor)
{
    return reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor));
}

int DescriptorOf(void* cookie)
{
    return static_cast<int>(reinterpret_cast<std::intptr_t>(cookie));
}

ssize_t WriteLog(void* cookie, const char* text, std::size_t size)
{
    return static_cast<ssize_t>(platform::WriteAll(DescriptorOf(cookie), {text, size}));
}

int CloseLog(void* cookie)
{
    return close(DescriptorOf(cookie));
}
} // namespace

void* GetCurrentProcess()
{
    return reinterpret_cast<void*>(~std::size_t(0));
}

unsigned int GetCurrentProcessId()
{
    return static_cast<unsigned int>(getpid());
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

int IsDebuggerPresent()
{
    StatusFigure tracer = {"TracerPid:", 0};
    return ReadStatusFigures(&tracer, 1) && tracer.mValue != 0;
}

void DebugBreak()
{
    std::raise(SIGTRAP);
}

bool OtherThreadsHaveEnded()
{
    return false;
}

void WriteDebugString(const char* text)
{
    platform::WritePrintable(stderr, text, "\t\r\n");
}

int Beep(unsigned int)
{
    if (isatty(STDERR_FILENO))
        platform::WriteToStderr("\a");
    return 1;
}

std::FILE* OpenPrivateLog(const char* path)
{
    const mode_t kForThisUser = 0600;
    const int descriptor =
        open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW, kForThisUser);
    if (descriptor < 0)
        return nullptr;
    const cookie_io_functions_t functions = {nullptr, &WriteLog, nullptr, &CloseLog};
    std::FILE* const file = fopencookie(CookieOf(descriptor), "a", functions);
    if (!file)
        close(descriptor);
    return file;
}
} // namespace win32
