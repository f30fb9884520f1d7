#include <win32/input.h>

#include <utility>

namespace win32
{
namespace
{
thread_local void* sCapture = nullptr;
} // namespace

void* SetCapture(void* window)
{
    return std::exchange(sCapture, window);
}

void* GetCapture()
{
    return sCapture;
}

int ReleaseCapture()
{
    sCapture = nullptr;
    return 1;
}
} // namespace win32
