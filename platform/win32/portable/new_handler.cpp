// The new handler that is told a size. The standard library's isn't, so this library
// has the operator new that knows; the standard library's other forms end in these.

#include <win32/runtime.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include <platform/base/quiet_new.h>
#include <platform/base/thread_local.h>

namespace win32
{
namespace
{
const int kMostCalls = 10000; // for one block: a handler may promise more than it can do

std::atomic<NewHandler> sHandler(nullptr);

boost::mutex& sLock = *new boost::mutex; // guards the change of handlers; never destroyed
std::new_handler sStandardBefore = nullptr;
bool sIsCovered = false; // somebody else has stood in the place of this one when it was to go

// What comes next for whoever stands in the place of the handler below and calls it. Never
// somebody who may: they would call each other for ever.
std::atomic<std::new_handler> sStandardBelow(nullptr);

PLATFORM_THREAD_LOCAL std::size_t tSize = 0; // that the thread's operator new has failed on
PLATFORM_THREAD_LOCAL int tQuiet = 0;        // how many of the thread's stretches keep silent

// Whether to try again.
bool HasHelped(std::size_t size)
{
    if (tQuiet)
        return false;
    if (const NewHandler handler = sHandler)
        return handler(size) != 0;
    const std::new_handler below = sStandardBelow;
    if (below)
        below();
    return below != nullptr;
}

// Stands in the standard library's place.
void CallHandler()
{
    const std::size_t size = tSize;
    tSize = 0;
    try
    {
        if (HasHelped(size))
            return;
    }
    catch (const std::bad_alloc&)
    {
        throw;
    }
    catch (...)
    {
        // Callers of operator new expect no other exception.
    }
    throw platform::BadAllocation();
}

template <class Allocate> void* AllocateOrHandle(std::size_t size, Allocate allocate)
{
    for (int calls = 0; calls < kMostCalls;)
    {
        if (void* block = allocate())
            return block;
        const std::new_handler handler = std::get_new_handler();
        if (!handler)
            break;
        calls += handler == &CallHandler;
        tSize = size;
        handler();
    }
    throw platform::BadAllocation();
}

void Install()
{
    const std::new_handler found = std::set_new_handler(&CallHandler);
    if (found == &CallHandler) // somebody has put it back
        return;
    sStandardBefore = found;
    if (!sIsCovered)
        sStandardBelow = found;
}

void TakeDown()
{
    if (std::get_new_handler() == &CallHandler)
        std::set_new_handler(sStandardBefore);
    else
        sIsCovered = true;
}
} // namespace

NewHandler _set_new_handler(NewHandler handler)
{
    boost::lock_guard<boost::mutex> lock(sLock);
    const NewHandler before = sHandler.exchange(handler);
    if (handler && !before)
        Install();
    else if (!handler && before)
        TakeDown();
    return before;
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

PLATFORM_EXPORT void* operator new(std::size_t size)
{
    return win32::AllocateOrHandle(size, [size] { return std::malloc(size ? size : 1); });
}

PLATFORM_EXPORT void* operator new(std::size_t size, std::align_val_t alignment)
{
    // The size must be a multiple of the alignment.
    const std::size_t unit = static_cast<std::size_t>(alignment);
    const std::size_t whole = size ? (size + unit - 1) / unit * unit : unit;
    return win32::AllocateOrHandle(
        size, [=] { return whole < size ? nullptr : std::aligned_alloc(unit, whole); });
}
