// The handlers of failures that end the process, and the handler of a failed operator new.

#include "indep/crash/Fatal.h"

#include <atomic>
#include <climits>
#include <cstdint>
#include <cstring>
#include <exception>
#include <new>

#include <platform/base/quiet_new.h>
#include <platform/base/stacked_handler.h>
#include <platform/base/thread_local.h>
#include <win32/exceptions.h>
#include <win32/runtime.h>
#include <wril/wril.h>

#include "U_Report.h"
#include "U_String.h"
#include "U_Telemetry.h"
#include "U_Threads.h"
#include "indep/frame/Guard.h"
#include "indep/frame/ReentrancyGuard.h"
#include "indep/frame/UTF16Literal.h"
#include "text/OwnTexts.h"

namespace
{
constexpr UTF16Literal kInvoking = u"InvokingCrashHandler";
const char kInvalidParameterTag[] = "QX_invalid_parameter_handler";

const U_u32 kOutOfMemoryLocation = kModule | 0x28;

win32::NewHandler sPreviousNew = nullptr; // null if there was none or ours is not installed
bool sNewIsInstalled = false;
char sOutOfMemoryText[U_ReportTextSize]; // a format

// A failed operator new is not reported while the thread reports another one.
typedef ReentrancyGuard<struct MemoryReport> MemoryReportGuard;

int OnUnhandledException(win32::EXCEPTION_POINTERS*) noexcept
{
    try
    {
        U::telemetry::LogEvent("Stage", "CrashHandler", kInvoking.mUnits, krobase::utility::Guid());
    }
    catch (...)
    {
        // The handler is called also if the provider fails.
    }
    Up_CallHandler();
    return 0; // the search for a handler continues
}

void LogInvalidParameter(const char* text)
{
    LogSafely([text] { WRIL_Log(0, "U", kInvalidParameterTag, text); });
}

// The handlers of std::terminate and of invalid parameters. Only the latest installation of
// either makes the last call, and only between birth and death.

void OnTerminate(std::size_t level);
void OnInvalidParameter(std::size_t level, const unsigned short* expression,
                        const unsigned short* function, const unsigned short* file,
                        unsigned int line, std::uintptr_t reserved);

platform::StackedHandler<&OnTerminate> sTerminate;
platform::StackedHandler<&OnInvalidParameter> sInvalidParameter;
std::atomic<bool> sIsInForce(false); // from birth to death

void OnTerminate(std::size_t level)
{
    const std::terminate_handler next = sTerminate.Replaced(level);
    if (sIsInForce && level == sTerminate.Latest())
        Up_CallHandler();
    if (next)
        next();
}

void OnInvalidParameter(std::size_t level, const unsigned short* expression,
                        const unsigned short* function, const unsigned short* file,
                        unsigned int line, std::uintptr_t reserved)
{
    const win32::InvalidParameterHandler next = sInvalidParameter.Replaced(level);
    const bool isLast = sIsInForce && level == sInvalidParameter.Latest();
    if (isLast)
    {
        const LastCall call; // walks the stack: must precede the removal of the filter
        win32::_set_invalid_parameter_handler(nullptr);
        win32::SetUnhandledExceptionFilter(nullptr);
        call.Make();
    }
    if (next)
        next(expression, function, file, line, reserved);
    if (!isLast)
        return;
    LogInvalidParameter("Intentionally passing an invalid param to the runtime to get a crashlog.");
    win32::_invalid_parameter(nullptr, nullptr, nullptr, 0, 0);
    LogInvalidParameter("You should never see this.");
}

// Returns the size in units of 1024 bytes, rounded up.
int Kilobytes(std::size_t size)
{
    const std::size_t kilobytes = size / 1024 + (size % 1024 != 0);
    return kilobytes < INT_MAX ? static_cast<int>(kilobytes) : INT_MAX;
}

// A format that is too long could be cut within a field: the English one replaces it.
void KeepOutOfMemoryText()
{
    const char* const format = Up_FormatOf(kTextOutOfMemoryRequested);
    const bool fits = std::strlen(format) < sizeof(sOutOfMemoryText);
    U_CopyString(fits ? format : Up_EnglishString(kTextOutOfMemoryRequested),
                 sizeof(sOutOfMemoryText), sOutOfMemoryText);
}

void ReportMemory(std::size_t size)
{
    const MemoryReportGuard reports;
    // Not the thread's logging buffer: an unfinished report may use that.
    char text[U_ReportTextSize];
    Up_FormatText(text, sizeof(text), sOutOfMemoryText, Kilobytes(size));
    Up_ReportErrString(kOutOfMemoryLocation, U_Sev_INFO, text);
}

int OnOutOfMemory(std::size_t size)
{
    try
    {
        if (!MemoryReportGuard::IsInside() && U_IsOnMainThread())
            ReportMemory(size);
    }
    catch (...)
    {
        // An exception of a callback or a presenter does not replace std::bad_alloc.
    }
    throw platform::BadAllocation();
}
} // namespace

void Up_InstallCrashHandlers(bool install)
{
    const win32::InvalidParameterHandler current = win32::_get_invalid_parameter_handler();
    sIsInForce = install;
    if (!install)
    {
        win32::_set_invalid_parameter_handler(sInvalidParameter.Remove(current));
        win32::SetUnhandledExceptionFilter(nullptr);
        return;
    }
    win32::KeepStackForFilter();
    win32::SetUnhandledExceptionFilter(&OnUnhandledException);
    win32::_set_invalid_parameter_handler(sInvalidParameter.Install(current));
}

void Up_InstallTerminateHandler(bool install)
{
    const std::terminate_handler current = std::get_terminate();
    std::set_terminate(install ? sTerminate.Install(current) : sTerminate.Remove(current));
}

void Up_InstallNewHandler(bool install)
{
    if (install == sNewIsInstalled)
        return;
    if (install)
        KeepOutOfMemoryText();
    const win32::NewHandler previous =
        win32::_set_new_handler(install ? &OnOutOfMemory : sPreviousNew);
    sPreviousNew = install ? previous : nullptr;
    sNewIsInstalled = install;
}
