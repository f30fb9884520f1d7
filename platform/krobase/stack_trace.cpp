#include "stack_trace.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <exception>
#include <string>

// All threads share one state of the look-ups, under a lock of ours. Boost's other choice, a
// state for each thread, reads all debug information again for each thread and never frees it.
#define BOOST_STACKTRACE_USE_BACKTRACE
#define BOOST_STACKTRACE_BACKTRACE_FORCE_STATIC
#include <boost/stacktrace/frame.hpp>
#include <boost/stacktrace/safe_dump_to.hpp>

#include <platform/base/code_units.h>
#include <platform/base/locks.h>

namespace krobase
{
namespace debug
{
namespace
{
platform::Mutex sLookUpLock; // guards the state of the look-ups, which Boost owns

// Looks up the call that returns to the frame. Returns an empty value after a failure. The look-up
// uses the last byte of the call, since the return address itself may belong to the next line
// or to the next function.
template <class LookUp> auto OfCall(void* frame, LookUp lookUp)
{
    typedef decltype(lookUp(boost::stacktrace::frame())) Result;
    if (!frame)
        return Result();
    try
    {
        const platform::ScLock lock(sLookUpLock);
        return lookUp(boost::stacktrace::frame(static_cast<const char*>(frame) - 1));
    }
    catch (const std::exception&)
    {
        return Result();
    }
}

const char* CopyCut(const std::string& text, char* buffer, std::size_t size)
{
    if (!buffer || !size)
        return nullptr;
    const std::size_t length = platform::CutUTF8(text.data(), text.size(), size - 1);
    std::memcpy(buffer, text.data(), length);
    buffer[length] = '\0';
    return length ? buffer : nullptr;
}
} // namespace

std::size_t GenerateStackTrace(void** frames, std::size_t count, std::size_t skip)
{
    void* found[kMostFrames + 1]; // with a terminator
    const std::size_t all = boost::stacktrace::safe_dump_to(skip + 1, found, sizeof(found)) - 1;
    const std::size_t taken = std::min(all, count);
    std::copy(found, found + taken, frames);
    return taken;
}

const char* StackFrameFunctionName(void* frame, char* buffer, std::size_t size)
{
    return CopyCut(OfCall(frame, [](const auto& call) { return call.name(); }), buffer, size);
}

const char* StackFrameFullFilePath(void* frame, char* buffer, std::size_t size)
{
    return CopyCut(OfCall(frame, [](const auto& call) { return call.source_file(); }), buffer,
                   size);
}

int StackFrameLineNumber(void* frame)
{
    const std::size_t line = OfCall(frame, [](const auto& call) { return call.source_line(); });
    return static_cast<int>(std::min<std::size_t>(line, INT_MAX));
}
} // namespace debug
} // namespace krobase
