#include "stack_trace.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <exception>
#include <string>

#include <platform/base/code_units.h>
#include <platform/base/locks.h>

#include "private/call_site.h"

namespace krobase
{
namespace debug
{
namespace
{
platform::Mutex sLookUpLock; // held during a look-up

// Looks up the call that returns to the frame. Returns an empty value after a failure. The look-up
// uses the last byte of the call, since the return address itself may belong to the next line
// or to the next function.
template <class Result> Result OfCall(void* frame, Result (*lookUp)(const void* address))
{
    if (!frame)
        return Result();
    try
    {
        const platform::ScLock lock(sLookUpLock);
        return lookUp(static_cast<const char*>(frame) - 1);
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

const char* StackFrameFunctionName(void* frame, char* buffer, std::size_t size)
{
    return CopyCut(OfCall(frame, &FunctionAt), buffer, size);
}

const char* StackFrameFullFilePath(void* frame, char* buffer, std::size_t size)
{
    return CopyCut(OfCall(frame, &PathAt), buffer, size);
}

int StackFrameLineNumber(void* frame)
{
    return static_cast<int>(std::min<std::size_t>(OfCall(frame, &LineAt), INT_MAX));
}
} // namespace debug
} // namespace krobase
