// Who gets the last call.

#include "U_Fatal.h"

#include <new>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/recursive_mutex.hpp>

#include <live_call.h>
#include <thread_local.h>
#include <win32/exceptions.h>
#include <wril/wril.h>

#include "indep/frame/Fatal.h"
#include "indep/frame/LogSafely.h"
#include "indep/frame/ThreadPiece.h"

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

// The calls of the handler and of the log. A failure in either makes no second call of it.
PLATFORM_THREAD_LOCAL platform::LiveCall tLastCall = {};
PLATFORM_THREAD_LOCAL platform::LiveCall tLastLine = {};

HardwareExceptionHandler GlobalHandler()
{
    boost::lock_guard<boost::recursive_mutex> lock(sGlobalLock);
    return sGlobal;
}

HardwareExceptionHandler LocalHandler()
{
    const HardwareExceptionHandler* const local = ThreadPiece<HardwareExceptionHandler>::Find();
    return local ? *local : HardwareExceptionHandler{nullptr, nullptr};
}

HardwareExceptionHandler HandlerInForce()
{
    const HardwareExceptionHandler local = LocalHandler();
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

void Up_PrepareThreadForOverflow()
{
    unsigned int size = win32::kLargestStackGuarantee;
    win32::SetThreadStackGuarantee(&size);
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
    HardwareExceptionHandler* const local = ThreadPiece<HardwareExceptionHandler>::Make();
    if (!local)
        throw std::bad_alloc();
    local->mFunc = handler;
    local->mRefcon = refcon;
    Up_PrepareThreadForOverflow();
}

void U_GetLocalUnhandledExceptionOrHardwareErrorHandler(U_FatalHandler* handler, void** refcon)
{
    Give(LocalHandler(), handler, refcon);
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

// The thread has its record since the constructor, so this doesn't throw.
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
