// The ways on which the process dies, and the out-of-memory handler.

#include <climits>
#include <exception>
#include <new>

#include <win32/exceptions.h>
#include <win32/runtime.h>
#include <wril/wril.h>

#include "U_Report.h"
#include "U_Telemetry.h"
#include "U_Threads.h"
#include "indep/errors/Strings.h"
#include "indep/frame/Fatal.h"
#include "indep/frame/Globals.h"
#include "indep/frame/Units.h"

namespace
{
constexpr Units kInvoking = u"InvokingCrashHandler";
const char kInvalidParameterTag[] = "QX_invalid_parameter_handler";

const U_u32 kOutOfMemoryPlace = kModule | 0x28;
const U_u32 kOutOfMemoryText = 112; // index

// What stood before birth; null if nothing did or nothing is installed. Written by
// birth and death.
win32::InvalidParameterHandler sPreviousInvalidParameter = nullptr;
std::terminate_handler sPreviousTerminate = nullptr;
win32::NewHandler sPreviousNew = nullptr;

bool sNewIsInstalled = false;

// A new that fails while a failed new is reported isn't reported.
thread_local bool sReportsMemory = false;

class BadAllocation : public std::bad_alloc
{
public:
    const char* what() const noexcept override { return "bad allocation"; }
};

int OnUnhandledException(win32::EXCEPTION_POINTERS*) noexcept
{
    try
    {
        U::telemetry::LogEvent("Stage", "CrashHandler", kInvoking.mUnits, krobase::utility::Guid());
    }
    catch (...)
    {
        // A provider that fails doesn't keep the host from its call.
    }
    Up_CallHandler();
    return 0; // the search for somebody who handles it goes on
}

void OnTerminate()
{
    Up_CallHandler();
    if (sPreviousTerminate)
        sPreviousTerminate();
}

void LogInvalidParameter(const char* text)
{
    try
    {
        WRIL_Log(0, "U", kInvalidParameterTag, text);
    }
    catch (...)
    {
        // The process ends all the same.
    }
}

void OnInvalidParameter(const unsigned short* expression, const unsigned short* function,
                        const unsigned short* file, unsigned int line, std::uintptr_t reserved)
{
    win32::_set_invalid_parameter_handler(nullptr);
    win32::SetUnhandledExceptionFilter(nullptr);
    Up_CallHandler();
    if (sPreviousInvalidParameter)
        sPreviousInvalidParameter(expression, function, file, line, reserved);
    LogInvalidParameter("Intentionally passing an invalid param to the runtime to get a crashlog.");
    win32::_invalid_parameter(nullptr, nullptr, nullptr, 0, 0);
    LogInvalidParameter("You should never see this.");
}

// In units of 1024 bytes, rounded up.
int Kilobytes(std::size_t size)
{
    const std::size_t kilobytes = size / 1024 + (size % 1024 != 0);
    return kilobytes < INT_MAX ? static_cast<int>(kilobytes) : INT_MAX;
}

class ScReportsMemory
{
public:
    ScReportsMemory() { sReportsMemory = true; }
    ~ScReportsMemory() { sReportsMemory = false; }
    ScReportsMemory(const ScReportsMemory&) = delete;
    ScReportsMemory& operator=(const ScReportsMemory&) = delete;
};

void ReportMemory(std::size_t size)
{
    const ScReportsMemory reports;
    char text[U_ReportTextSize]; // a report that is under way keeps the thread's own
    Up_FormatString(text, sizeof(text), kOutOfMemoryText, Kilobytes(size));
    Up_ReportErrString(kOutOfMemoryPlace, U_Sev_INFO, text);
}

int OnOutOfMemory(std::size_t size)
{
    try
    {
        if (!sReportsMemory && U_IsOnMainThread())
            ReportMemory(size);
    }
    catch (...)
    {
        // Whatever a callback or a presenter throws: the allocation fails as it would
        // without.
    }
    throw BadAllocation();
}
} // namespace

void Up_InstallCrashHandlers(bool install)
{
    if (!install)
    {
        win32::_set_invalid_parameter_handler(sPreviousInvalidParameter);
        sPreviousInvalidParameter = nullptr;
        win32::SetUnhandledExceptionFilter(nullptr);
        return;
    }
    Up_PrepareThreadForOverflow();
    win32::SetUnhandledExceptionFilter(&OnUnhandledException);
    // A birth that failed has left its handlers, which aren't their own predecessors.
    const win32::InvalidParameterHandler previous = win32::_get_invalid_parameter_handler();
    if (previous != &OnInvalidParameter)
        sPreviousInvalidParameter = previous;
    win32::_set_invalid_parameter_handler(&OnInvalidParameter);
}

void Up_InstallTerminateHandler(bool install)
{
    if (!install)
    {
        std::set_terminate(sPreviousTerminate);
        sPreviousTerminate = nullptr;
        return;
    }
    const std::terminate_handler previous = std::set_terminate(&OnTerminate);
    if (previous != &OnTerminate)
        sPreviousTerminate = previous;
}

void Up_InstallNewHandler(bool install)
{
    if (install == sNewIsInstalled)
        return;
    if (install)
        Up_String(kOutOfMemoryText); // resolved while there is memory for that
    const win32::NewHandler previous =
        win32::_set_new_handler(install ? &OnOutOfMemory : sPreviousNew);
    sPreviousNew = install ? previous : nullptr;
    sNewIsInstalled = install;
}
