// The handlers of the C runtime: of invalid parameters, and of an operator new that fails.

#include <win32/runtime.h>

#include <atomic>
#include <new>

#include <platform/base/locks.h>
#include <platform/base/quiet_new.h>
#include <platform/base/rethrow.h>
#include <platform/base/stacked_handler.h>
#include <platform/base/thread_local.h>

#include "runtime.h"

namespace win32
{
namespace
{
const int kMostCalls = 10000; // for one block: a handler may return non-zero without end

std::atomic<InvalidParameterHandler> sInvalidParameterHandler(nullptr);
std::atomic<NewHandler> sNewHandler(nullptr);

void OnFailedNew(std::size_t level);

platform::Mutex sLock; // held while a handler is changed
platform::StackedHandler<&OnFailedNew> sStandard;

PLATFORM_THREAD_LOCAL(std::size_t, tSize); // of the block for which operator new has failed
PLATFORM_THREAD_LOCAL(int, tQuiet);        // the thread's ScQuietNew objects

// Returns whether operator new is to try again.
bool HasHelped(std::size_t level, std::size_t size)
{
    if (tQuiet)
        return false;
    if (const NewHandler handler = sNewHandler)
        return handler(size) != 0;
    const std::new_handler next = sStandard.Replaced(level);
    if (next)
        next();
    return next != nullptr;
}

// Installed as the standard library's new handler.
void OnFailedNew(std::size_t level)
{
    const std::size_t size = tSize;
    tSize = 0;
    try
    {
        if (HasHelped(level, size))
            return;
    }
    catch (const std::bad_alloc&)
    {
        platform::Rethrow();
    }
    catch (...)
    {
        // Callers of operator new expect no other exception.
    }
    throw platform::BadAllocation();
}

// A handler that was installed over ours is kept.
void Remove()
{
    const std::new_handler current = std::get_new_handler();
    if (sStandard.LevelOf(current) == sStandard.Latest())
        std::set_new_handler(sStandard.Remove(current));
}
} // namespace

void* Allocate(std::size_t size, std::size_t alignment)
{
    for (int calls = 0; calls < kMostCalls;)
    {
        if (void* block = TryAllocate(size, alignment))
            return block;
        const std::new_handler handler = std::get_new_handler();
        if (!handler)
            break;
        calls += sStandard.LevelOf(handler) < sStandard.kLevels;
        tSize = size;
        handler();
    }
    throw platform::BadAllocation();
}

NewHandler _set_new_handler(NewHandler handler)
{
    const platform::ScLock lock(sLock);
    const NewHandler before = sNewHandler.exchange(handler);
    if (handler && !before)
        std::set_new_handler(sStandard.Install(std::get_new_handler()));
    else if (!handler && before)
        Remove();
    return before;
}

InvalidParameterHandler _set_invalid_parameter_handler(InvalidParameterHandler handler)
{
    return sInvalidParameterHandler.exchange(handler);
}

InvalidParameterHandler _get_invalid_parameter_handler()
{
    return sInvalidParameterHandler;
}

void _invalid_parameter(const unsigned short* expression, const unsigned short* function,
                        const unsigned short* file, unsigned int line, std::uintptr_t reserved)
{
    const InvalidParameterHandler handler = sInvalidParameterHandler;
    if (!handler)
        EndWithCrashLog();
    handler(expression, function, file, line, reserved);
}
} // namespace win32

namespace platform
{
ScQuietNew::ScQuietNew()
{
    ++win32::tQuiet;
}

ScQuietNew::~ScQuietNew()
{
    --win32::tQuiet;
}
} // namespace platform
