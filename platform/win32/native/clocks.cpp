#include <win32/clocks.h>

#include "../private/system.h"
#include "windows_api.h"

namespace win32
{
unsigned int GetTickCount()
{
    return ::GetTickCount();
}

long long SystemFrequency()
{
    LARGE_INTEGER frequency = {};
    return ::QueryPerformanceFrequency(&frequency) ? frequency.QuadPart : 0;
}

bool ReadSystemCounter(long long* counts)
{
    LARGE_INTEGER now = {};
    const bool isRead = ::QueryPerformanceCounter(&now) != 0;
    *counts = now.QuadPart;
    return isRead;
}

// The C runtime converts some hours before 1970, too.

std::tm* _gmtime64(const long long* seconds)
{
    return *seconds < 0 ? nullptr : ::_gmtime64(seconds);
}

std::tm* _localtime64(const long long* seconds)
{
    return *seconds < 0 ? nullptr : ::_localtime64(seconds);
}
} // namespace win32
