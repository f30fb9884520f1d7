#include "stack_trace.h"

#include <algorithm>

// All threads share one state of the look-ups. Boost's other choice, a state for each thread,
// reads all debug information again for each thread and never frees it.
#define BOOST_STACKTRACE_USE_BACKTRACE
#define BOOST_STACKTRACE_BACKTRACE_FORCE_STATIC
#include <boost/stacktrace/frame.hpp>
#include <boost/stacktrace/safe_dump_to.hpp>

#include "private/call_site.h"

namespace krobase
{
namespace debug
{
std::size_t GenerateStackTrace(void** frames, std::size_t count, std::size_t skip)
{
    void* found[kMostFrames + 1]; // with a terminator
    const std::size_t all = boost::stacktrace::safe_dump_to(skip + 1, found, sizeof(found)) - 1;
    const std::size_t taken = std::min(all, count);
    std::copy(found, found + taken, frames);
    return taken;
}

std::string FunctionAt(const void* address)
{
    return boost::stacktrace::frame(address).name();
}

std::string PathAt(const void* address)
{
    return boost::stacktrace::frame(address).source_file();
}

std::size_t LineAt(const void* address)
{
    return boost::stacktrace::frame(address).source_line();
}
} // namespace debug
} // namespace krobase
