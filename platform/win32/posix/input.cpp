#include <win32/input.h>

#include <utility>

namespace win32
{
namespace
{
thread_local void* tCapture = nullptr;
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
