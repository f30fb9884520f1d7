// The host's handlers and the last call.

#include "U_Fatal.h"

#include <platform/base/locks.h>
#include <platform/base/thread_local.h>
#include <win32/exceptions.h>
#include <wril/wril.h>

#include "LiveCall.h"
#include "indep/crash/Fatal.h"
#include "indep/frame/Guard.h"

namespace
{
struct HardwareExceptionHandler
{
    U_FatalHandler mFunc;
    void* mRefcon;
};

// The lock is held only to read or write the handler.
platform::RecursiveMutex sGlobalLock;
HardwareExceptionHandler sGlobal PLATFORM_GUARDED_BY(sGlobalLock) = {nullptr, nullptr};

PLATFORM_THREAD_LOCAL(HardwareExceptionHandler, tLocal);

// The calls of the handler and of the log. A failure within one of them does not repeat it.
PLATFORM_THREAD_LOCAL(LiveCall, tHandlerCall);
PLATFORM_THREAD_LOCAL(LiveCall, tLogCall);

HardwareExceptionHandler GlobalHandler()
{
    const platform::ScLock lock(sGlobalLock);
    return sGlobal;
}

HardwareExceptionHandler HandlerInForce()
{
    const HardwareExceptionHandler local = tLocal;
    return local.mFunc ? local : GlobalHandler();
}

void CallHandlerInForce()
{
    try
    {
        const HardwareExceptionHandler handler = HandlerInForce();
        if (handler.mFunc)
            handler.mFunc(handler.mRefcon);
    }
    catch (...)
    {
        // The failure that led to the call ends the process.
    }
}

void LogReturn()
{
    LogSafely([] { WRIL_Log(0, "U", "HANDLER", "Returned from app registered handler"); });
}

void Copy(const HardwareExceptionHandler& handler, U_FatalHandler* func, void** refcon)
{
    if (func)
        *func = handler.mFunc;
    if (refcon)
        *refcon = handler.mRefcon;
}
} // namespace

LastCall::LastCall() noexcept
    : mCallsHandler(!LiveCall::IsOnStack(tHandlerCall)), mLogs(!LiveCall::IsOnStack(tLogCall))
{
}

void LastCall::Make() const noexcept
{
    if (mCallsHandler)
        LiveCall::Make(tHandlerCall, &CallHandlerInForce);
    if (mLogs)
        LiveCall::Make(tLogCall, &LogReturn);
}

void Up_CallHandler() noexcept
{
    LastCall().Make();
}

void U_SetGlobalUnhandledExceptionOrHardwareErrorHandler(U_FatalHandler handler, void* refcon)
{
    const platform::ScLock lock(sGlobalLock);
    sGlobal = {handler, refcon};
}

void U_GetGlobalUnhandledExceptionOrHardwareErrorHandler(U_FatalHandler* handler, void** refcon)
{
    Copy(GlobalHandler(), handler, refcon);
}

void U_SetLocalUnhandledExceptionOrHardwareErrorHandler(U_FatalHandler handler, void* refcon)
{
    tLocal = {handler, refcon};
    win32::KeepStackForFilter();
}

void U_GetLocalUnhandledExceptionOrHardwareErrorHandler(U_FatalHandler* handler, void** refcon)
{
    Copy(tLocal, handler, refcon);
}

void U_GetUnhandledExceptionOrHardwareErrorHandler(U_FatalHandler* handler, void** refcon)
{
    Copy(HandlerInForce(), handler, refcon);
}

typedef U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler ScHandler;

ScHandler::U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler(U_FatalHandler handler,
                                                                     void* refcon)
{
    U_GetLocalUnhandledExceptionOrHardwareErrorHandler(&mPreviousFunc, &mPreviousRefcon);
    U_SetLocalUnhandledExceptionOrHardwareErrorHandler(handler, refcon);
}

ScHandler::~U_ScSetAndRestoreUnhandledExceptionOrHardwareErrorHandler()
{
    U_SetLocalUnhandledExceptionOrHardwareErrorHandler(mPreviousFunc, mPreviousRefcon);
}

ScHandler& ScHandler::operator=(const ScHandler&) = default;

U_FatalHandler ScHandler::GetPreviousExceptionFunc() const
{
    return mPreviousFunc;
}

void* ScHandler::GetPreviousExceptionRefcon() const
{
    return mPreviousRefcon;
}
