// Who gets the last call.

#include "U_Fatal.h"

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/recursive_mutex.hpp>

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

// Held only to read or write the handler. Neither is ever destroyed: threads may
// fail until the process is gone.
boost::recursive_mutex& sGlobalLock = *new boost::recursive_mutex;
HardwareExceptionHandler sGlobal = {nullptr, nullptr};

PLATFORM_THREAD_LOCAL HardwareExceptionHandler tLocal = {nullptr, nullptr};

// The calls of the handler and of the log. A failure in either makes no second call of it.
PLATFORM_THREAD_LOCAL LiveCall tLastCall = {};
PLATFORM_THREAD_LOCAL LiveCall tLastLine = {};

HardwareExceptionHandler GlobalHandler()
{
    boost::lock_guard<boost::recursive_mutex> lock(sGlobalLock);
    return sGlobal;
}

HardwareExceptionHandler HandlerInForce()
{
    return tLocal.mFunc ? tLocal : GlobalHandler();
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
        // The process dies of the failure that made the call.
    }
}

void LogReturn()
{
    LogSafely([] { WRIL_Log(0, "U", "HANDLER", "Returned from app registered handler"); });
}

void Give(const HardwareExceptionHandler& handler, U_FatalHandler* func, void** refcon)
{
    if (func)
        *func = handler.mFunc;
    if (refcon)
        *refcon = handler.mRefcon;
}
} // namespace

void Up_CallHandler() noexcept
{
    if (!tLastCall.IsOnStack())
        tLastCall.Make(&CallHandlerInForce);
    if (!tLastLine.IsOnStack())
        tLastLine.Make(&LogReturn);
}

void U_SetGlobalUnhandledExceptionOrHardwareErrorHandler(U_FatalHandler handler, void* refcon)
{
    boost::lock_guard<boost::recursive_mutex> lock(sGlobalLock);
    sGlobal = {handler, refcon};
}

void U_GetGlobalUnhandledExceptionOrHardwareErrorHandler(U_FatalHandler* handler, void** refcon)
{
    Give(GlobalHandler(), handler, refcon);
}

void U_SetLocalUnhandledExceptionOrHardwareErrorHandler(U_FatalHandler handler, void* refcon)
{
    tLocal = {handler, refcon};
    win32::KeepStackForFilter();
}

void U_GetLocalUnhandledExceptionOrHardwareErrorHandler(U_FatalHandler* handler, void** refcon)
{
    Give(tLocal, handler, refcon);
}

void U_GetUnhandledExceptionOrHardwareErrorHandler(U_FatalHandler* handler, void** refcon)
{
    Give(HandlerInForce(), handler, refcon);
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
