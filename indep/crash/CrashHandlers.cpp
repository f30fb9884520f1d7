// The ways on which the process dies, and the out-of-memory handler.

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
#include "indep/frame/Location.h"
#include "indep/frame/LogSafely.h"
#include "indep/frame/ScTrue.h"
#include "indep/frame/Units.h"
#include "text/OwnTexts.h"

namespace
{
constexpr Units kInvoking = u"InvokingCrashHandler";
const char kInvalidParameterTag[] = "QX_invalid_parameter_handler";

const U_u32 kOutOfMemoryPlace = kModule | 0x28;
const U_u32 kOutOfMemoryText = 112; // index

win32::NewHandler sPreviousNew = nullptr; // null if there was none or ours is not installed
bool sNewIsInstalled = false;
char sOutOfMemoryText[U_ReportTextSize]; // a format, as the handler's installation found it

// A new that fails while a failed new is reported isn't reported.
PLATFORM_THREAD_LOCAL bool tReportsMemory = false;

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

void LogInvalidParameter(const char* text)
{
    LogSafely([text] { WRIL_Log(0, "U", kInvalidParameterTag, text); });
}

// The handlers of std::terminate and of invalid parameters. Only the latest installation of
// either makes the last call, and only between birth and death.

template <std::size_t level> void OnTerminate();

platform::StackedHandler<std::terminate_handler> sTerminate(&OnTerminate<0>, &OnTerminate<1>,
                                                            &OnTerminate<2>, &OnTerminate<3>);

template <std::size_t level>
void OnInvalidParameter(const unsigned short* expression, const unsigned short* function,
                        const unsigned short* file, unsigned int line, std::uintptr_t reserved);

platform::StackedHandler<win32::InvalidParameterHandler> sInvalidParameter(&OnInvalidParameter<0>,
                                                                           &OnInvalidParameter<1>,
                                                                           &OnInvalidParameter<2>,
                                                                           &OnInvalidParameter<3>);

std::atomic<bool> sIsInForce(false); // from birth to death

template <std::size_t level> void OnTerminate()
{
    const std::terminate_handler next = sTerminate.Replaced(level);
    if (sIsInForce && sTerminate.IsLatest(level))
        Up_CallHandler();
    if (next)
        next();
}

template <std::size_t level>
void OnInvalidParameter(const unsigned short* expression, const unsigned short* function,
                        const unsigned short* file, unsigned int line, std::uintptr_t reserved)
{
    const win32::InvalidParameterHandler next = sInvalidParameter.Replaced(level);
    const bool isLast = sIsInForce && sInvalidParameter.IsLatest(level);
    if (isLast)
    {
        const LastCall call; // walks the stack, which needs the filter
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

// In units of 1024 bytes, rounded up.
int Kilobytes(std::size_t size)
{
    const std::size_t kilobytes = size / 1024 + (size % 1024 != 0);
    return kilobytes < INT_MAX ? static_cast<int>(kilobytes) : INT_MAX;
}

// A format that is too long would be cut in a field, maybe.
void KeepOutOfMemoryText()
{
    const char* const format = Up_FormatOf(kOutOfMemoryText);
    const bool fits = std::strlen(format) < sizeof(sOutOfMemoryText);
    U_CopyString(fits ? format : Up_EnglishString(kOutOfMemoryText), sizeof(sOutOfMemoryText),
                 sOutOfMemoryText);
}

void ReportMemory(std::size_t size)
{
    const ScTrue reports(tReportsMemory);
    char text[U_ReportTextSize]; // a report that is under way keeps the thread's own
    Up_FormatText(text, sizeof(text), sOutOfMemoryText, Kilobytes(size));
    Up_ReportErrString(kOutOfMemoryPlace, U_Sev_INFO, text);
}

int OnOutOfMemory(std::size_t size)
{
    try
    {
        if (!tReportsMemory && U_IsOnMainThread())
            ReportMemory(size);
    }
    catch (...)
    {
        // Whatever a callback or a presenter throws: the allocation fails as it would
        // without.
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
        const std::size_t level = sInvalidParameter.Remove(current);
        win32::_set_invalid_parameter_handler(sInvalidParameter.Replaced(level));
        win32::SetUnhandledExceptionFilter(nullptr);
        return;
    }
    win32::KeepStackForFilter();
    win32::SetUnhandledExceptionFilter(&OnUnhandledException);
    const std::size_t level = sInvalidParameter.Install(current);
    if (level != sInvalidParameter.kNone)
        win32::_set_invalid_parameter_handler(sInvalidParameter.Level(level));
}

void Up_InstallTerminateHandler(bool install)
{
    const std::terminate_handler current = std::get_terminate();
    if (!install)
    {
        std::set_terminate(sTerminate.Replaced(sTerminate.Remove(current)));
        return;
    }
    const std::size_t level = sTerminate.Install(current);
    if (level != sTerminate.kNone)
        std::set_terminate(sTerminate.Level(level));
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
