#include <win32/input.h>

#include <utility>

#include <platform/base/thread_local.h>

namespace win32
{
namespace
{
PLATFORM_THREAD_LOCAL void* tCapture = nullptr;
} // namespace

void* SetCapture(void* window)
{
    return std::exchange(tCapture, window);
}

void* GetCapture()
{
    return tCapture;
}

int ReleaseCapture()
{
    tCapture = nullptr;
    return 1;
}
} // namespace win32
