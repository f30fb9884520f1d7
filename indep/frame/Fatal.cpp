// Who gets the last call.

#include "U_Fatal.h"

#include <atomic>
#include <new>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/recursive_mutex.hpp>

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

// What fails in the last call or behind it doesn't make another, until there is reason to
// expect something else of it. Other values than these count such reasons, from 2 on.
const unsigned int kArmed = 0;
const unsigned int kCalling = 1; // or the handler has jumped out

std::atomic<unsigned int> sArmings(2);
PLATFORM_THREAD_LOCAL unsigned int tLastCall = kArmed; // else the count that it has ended at
PLATFORM_THREAD_LOCAL unsigned int tOwnArmings = 0;    // by local handlers

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

void Give(const HardwareExceptionHandler& handler, U_FatalHandler* func, void** refcon)
{
    if (func)
        *func = handler.mFunc;
    if (refcon)
        *refcon = handler.mRefcon;
}
} // namespace

unsigned int Up_ArmingsOfThread() noexcept
{
    return sArmings + tOwnArmings;
}

void Up_CallHandler() noexcept
{
    if (tLastCall != kCalling && tLastCall != sArmings)
    {
        tLastCall = kCalling;
        try
        {
            const HardwareExceptionHandler handler = HandlerInForce();
            if (handler.mFunc)
                handler.mFunc(handler.mRefcon);
        }
        catch (...)
        {
            // The process dies of what came before.
        }
        if (tLastCall == kCalling) // no local handler has been set
            tLastCall = sArmings;
    }
    LogSafely([] { WRIL_Log(0, "U", "HANDLER", "Returned from app registered handler"); });
}

void Up_ArmLastCalls() noexcept
{
    ++sArmings;
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
    Up_ArmLastCalls();
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
    tLastCall = kArmed;
    ++tOwnArmings;
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
