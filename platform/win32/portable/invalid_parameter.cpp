#include <win32/runtime.h>

#include <atomic>
#include <cstdlib>

namespace win32
{
namespace
{
std::atomic<InvalidParameterHandler> sHandler(nullptr);
} // namespace

InvalidParameterHandler _set_invalid_parameter_handler(InvalidParameterHandler handler)
{
    return sHandler.exchange(handler);
}

InvalidParameterHandler _get_invalid_parameter_handler()
{
    return sHandler;
}

void _invalid_parameter(const unsigned short* expression, const unsigned short* function,
                        const unsigned short* file, unsigned int line, std::uintptr_t reserved)
{
    const InvalidParameterHandler handler = sHandler;
    if (!handler)
        std::abort();
    handler(expression, function, file, line, reserved);
}
} // namespace win32
