// The ways on which the process dies, and the out-of-memory handler.

#include "indep/crash/Fatal.h"

#include <climits>
#include <cstdint>
#include <cstring>
#include <exception>
#include <new>
#include <utility>

#include <platform/base/quiet_new.h>
#include <platform/base/thread_local.h>
#include <win32/exceptions.h>
#include <win32/runtime.h>
#include <wril/wril.h>

#include "LiveCall.h"
#include "U_Report.h"
#include "U_String.h"
#include "U_Telemetry.h"
#include "U_Threads.h"
#include "indep/frame/Guard.h"
#include "indep/frame/ReentrancyGuard.h"
#include "indep/frame/Units.h"
#include "text/OwnTexts.h"

namespace
{
constexpr Units kInvoking = u"InvokingCrashHandler";
const char kInvalidParameterTag[] = "QX_invalid_parameter_handler";

const U_u32 kOutOfMemoryPlace = kModule | 0x28;
const U_u32 kOutOfMemoryText = 112; // index

// Who stood before birth. A birth that fails leaves its handlers. Where the host covers one
// then, and the birth that is tried again covers the host's in its turn, that may call what
// it has found, in that life and after it: then it is the turn of who stood below them all.
template <class Handler> struct Previous
{
    Handler mNext = nullptr; // null: nobody
    Handler mBelow = nullptr;
    bool mIsInstalled = false;
    bool mIsCovered = false; // has been, and stays so

    void Find(Handler found, Handler ours)
    {
        if (found != ours)
        {
            mIsCovered = mIsCovered || mIsInstalled;
            mNext = found;
            if (!mIsCovered)
                mBelow = found;
        }
        else if (!mIsInstalled) // somebody has put it back between two lives
            mNext = mBelow;
        mIsInstalled = true;
    }

    Handler TakeDown()
    {
        mIsInstalled = false;
        return std::exchange(mNext, nullptr);
    }
};

// Written by birth and death.
Previous<win32::InvalidParameterHandler> sPreviousInvalidParameter;
Previous<std::terminate_handler> sPreviousTerminate;
win32::NewHandler sPreviousNew = nullptr; // null if nothing stood there or nothing is installed

// The calls of mNext.
PLATFORM_THREAD_LOCAL LiveCall tPreviousInvalidParameter = {};
PLATFORM_THREAD_LOCAL LiveCall tPreviousTerminate = {};

bool sNewIsInstalled = false;
char sOutOfMemoryText[U_ReportTextSize]; // a format, as the handler's installation found it

// A new that fails while a failed new is reported is not reported.
typedef ReentrancyGuard<struct MemoryReport> MemoryReportGuard;

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
    if (!sPreviousTerminate.mIsInstalled || tPreviousTerminate.IsOnStack())
    {
        if (sPreviousTerminate.mBelow)
            sPreviousTerminate.mBelow();
        return;
    }
    Up_CallHandler();
    if (sPreviousTerminate.mNext)
        tPreviousTerminate.Make(sPreviousTerminate.mNext);
}

void LogInvalidParameter(const char* text)
{
    LogSafely([text] { WRIL_Log(0, "U", kInvalidParameterTag, text); });
}

void OnInvalidParameter(const unsigned short* expression, const unsigned short* function,
                        const unsigned short* file, unsigned int line, std::uintptr_t reserved)
{
    if (!sPreviousInvalidParameter.mIsInstalled || tPreviousInvalidParameter.IsOnStack())
    {
        if (sPreviousInvalidParameter.mBelow)
            sPreviousInvalidParameter.mBelow(expression, function, file, line, reserved);
        return;
    }
    win32::_set_invalid_parameter_handler(nullptr);
    win32::SetUnhandledExceptionFilter(nullptr);
    Up_CallHandler();
    if (sPreviousInvalidParameter.mNext)
        tPreviousInvalidParameter.Make(
            [=] { sPreviousInvalidParameter.mNext(expression, function, file, line, reserved); });
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
    const MemoryReportGuard reports;
    char text[U_ReportTextSize]; // a report that is under way keeps the thread's own
    Up_FormatText(text, sizeof(text), sOutOfMemoryText, Kilobytes(size));
    Up_ReportErrString(kOutOfMemoryPlace, U_Sev_INFO, text);
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
        // Whatever a callback or a presenter throws: the allocation fails as it would
        // without.
    }
    throw platform::BadAllocation();
}
} // namespace

void Up_InstallCrashHandlers(bool install)
{
    if (!install)
    {
        win32::_set_invalid_parameter_handler(sPreviousInvalidParameter.TakeDown());
        win32::SetUnhandledExceptionFilter(nullptr);
        return;
    }
    win32::KeepStackForFilter();
    win32::SetUnhandledExceptionFilter(&OnUnhandledException);
    sPreviousInvalidParameter.Find(win32::_get_invalid_parameter_handler(), &OnInvalidParameter);
    win32::_set_invalid_parameter_handler(&OnInvalidParameter);
}

void Up_InstallTerminateHandler(bool install)
{
    if (!install)
    {
        std::set_terminate(sPreviousTerminate.TakeDown());
        return;
    }
    sPreviousTerminate.Find(std::set_terminate(&OnTerminate), &OnTerminate);
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
