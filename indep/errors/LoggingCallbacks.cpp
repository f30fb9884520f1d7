#include "indep/errors/LoggingCallbacks.h"

#include <algorithm>
#include <iterator>

#include <boost/thread/lock_guard.hpp>

#include "U_Interact.h"
#include "indep/errors/Globals.h"
#include "indep/errors/Refuse.h"

namespace
{
typedef boost::lock_guard<boost::recursive_mutex> CallbackLock;

const U_u16 kAddPlace = 21;
const U_u16 kRemovePlace = 22;

// Both words are null in a free slot.
bool ReplaceFirst(U_LoggingCallback oldCallback, void* oldRefcon, U_LoggingCallback callback,
                  void* refcon)
{
    U_Globals* globals = Globals();
    CallbackLock lock(*globals->mLoggingLock);
    for (std::size_t slot = 0; slot < kMostLoggingCallbacks; ++slot)
    {
        if (globals->mLoggingFuncs[slot] != oldCallback ||
            globals->mLoggingRefcons[slot] != oldRefcon)
            continue;
        globals->mLoggingFuncs[slot] = callback;
        globals->mLoggingRefcons[slot] = refcon;
        return true;
    }
    return false;
}

// Told without the lock, for which threads that report would queue up in vain.
bool HasCallbacks(const U_Globals& globals)
{
    const auto& callbacks = globals.mLoggingFuncs;
    return std::any_of(std::begin(callbacks), std::end(callbacks),
                       [](const auto& callback) { return callback.load() != nullptr; });
}
} // namespace

U_Status U_AddLoggingCallback(U_LoggingCallback callback, void* refcon)
{
    if (!callback)
        return BadArgument("logging_func can not be NULL", kModule | kAddPlace);
    if (U_Status damaged = Up_ValidateGlobals(kAddPlace))
        return damaged;
    if (!ReplaceFirst(nullptr, nullptr, callback, refcon))
        return BadArgument("can not add any more logging_funcs", kModule | kAddPlace);
    return 0;
}

U_Status U_RemoveLoggingCallback(U_LoggingCallback callback, void* refcon)
{
    if (!callback)
        return BadArgument("logging_func can not be NULL", kModule | kRemovePlace);
    if (U_Status damaged = Up_ValidateGlobals(kRemovePlace))
        return damaged;
    if (!ReplaceFirst(callback, refcon, nullptr, nullptr))
        return BadArgument("can not find logging_func/refcon pair to remove",
                           kModule | kRemovePlace);
    return 0;
}

U_Status Up_CallLoggingCallbacks(U_u32 location, const char* text, U_u16 severity)
{
    if (!Up_GlobalsAreGood() || !HasCallbacks(*Globals()))
        return 0;
    U_Globals* globals = Globals();
    CallbackLock lock(*globals->mLoggingLock);
    U_Status answer = 0;
    for (std::size_t slot = 0; slot < kMostLoggingCallbacks; ++slot)
    {
        // Read one by one: a callback may change the slots behind its own.
        if (U_LoggingCallback callback = globals->mLoggingFuncs[slot])
            answer = callback(globals->mLoggingRefcons[slot], location, severity, text);
    }
    return answer;
}
