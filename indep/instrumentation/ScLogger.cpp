#include "indep/instrumentation/ScLogger.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>

#include <krobase/high_precision_time.h>
#include <krobase/threads.h>
#include <win32/clocks.h>
#include <win32/process.h>
#include <wril/wril.h>

#include "indep/frame/Guard.h"

namespace HighPrecisionTime = krobase::utility::HighPrecisionTime;

namespace
{
const std::size_t kLineSize = 2048;
const double kNanosPerSecond = 1e9;

void WriteStamp(std::FILE* file)
{
    std::fprintf(file, "[%lld:%llx] ",
                 static_cast<long long>(krobase::threads::GetCurrentProcessID()),
                 static_cast<unsigned long long>(krobase::threads::GetCurrentThreadID()));
    win32::_timeb64 now;
    win32::_ftime64(&now);
    if (const std::tm* local = win32::_localtime64(&now.time))
        std::fprintf(file, "%02d/%02d/%04d %02d:%02d:%02d.%03d ", local->tm_mon + 1, local->tm_mday,
                     local->tm_year + 1900, local->tm_hour, local->tm_min, local->tm_sec,
                     now.millitm);
}

// Formats the text of a line and writes it without the line end.
#if defined(__GNUC__)
__attribute__((format(printf, 2, 3)))
#endif
void WriteText(std::FILE* file, const char* format, ...)
{
    char line[kLineSize];
    std::va_list values;
    va_start(values, format);
    const int length = std::vsnprintf(line, sizeof(line), format, values);
    va_end(values);
    if (length > 0)
        std::fwrite(line, 1, std::min(static_cast<std::size_t>(length), sizeof(line) - 1), file);
}
} // namespace

U_ScFileLogger::U_ScFileLogger(const char* pathname) : path(pathname)
{
    errno = 0; // an old value would be taken for the reason
    file = win32::OpenPrivateLog(path.c_str());
    if (file)
        return;
    const int reason = errno;
    LogSafely([&] {
        WRIL_sprintf(0, "U", "U_ScFileLogger", "can't open %s: error %d", path.c_str(), reason);
    });
    if (reason != 0)
        throw reason;
}

U_ScFileLogger::~U_ScFileLogger()
{
    if (file)
        std::fclose(file);
}

// Returns false without a file.
bool U_ScFileLogger::BeginLine()
{
    if (!file)
        return false;
    // A failed write may have left half a line.
    if (std::ferror(file))
    {
        std::clearerr(file);
        std::fputc('\n', file);
    }
    if (stampLines)
        WriteStamp(file);
    return true;
}

void U_ScFileLogger::EndLine()
{
    std::fputc('\n', file);
    std::fflush(file);
}

void U_ScFileLogger::Printf(const char* format, ...)
{
    if (!BeginLine())
        return;
    std::va_list values;
    va_start(values, format);
    std::vfprintf(file, format, values);
    va_end(values);
    EndLine();
}

void U_ScFileLogger::StartSpan()
{
    startTicks = HighPrecisionTime::GetTickCount();
    if (!BeginLine())
        return;
    WriteStartLine();
    EndLine();
}

void U_ScFileLogger::EndSpan()
{
    endTicks = HighPrecisionTime::GetTickCount();
    const U_u64 span = std::max(startTicks, endTicks) - std::min(startTicks, endTicks);
    elapsedNanos = HighPrecisionTime::ConvertToNanos(span);
    if (!BeginLine())
        return;
    WriteEndLine();
    EndLine();
}

// The span starts and ends here and not in the base class, since in this constructor and destructor
// the virtual functions are those of this class.
U_ScGlobalLogger::U_ScGlobalLogger(const char* pathname) : U_ScFileLogger(pathname)
{
    StartSpan();
}

U_ScGlobalLogger::~U_ScGlobalLogger()
{
    EndSpan();
}

void U_ScGlobalLogger::WriteStartLine()
{
    WriteText(file, " * log start");
}

void U_ScGlobalLogger::WriteEndLine()
{
    WriteText(file, " * log end: delta=%.3f", static_cast<double>(elapsedNanos) / kNanosPerSecond);
}
