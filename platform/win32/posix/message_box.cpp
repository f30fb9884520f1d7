// Sounds. MessageBoxW is part of the alerts, since the host's presenter shows the box.

#include <win32/message_box.h>

#include <atomic>
#include <cstdio>

#include <unistd.h>

#include "../private/switches.h"

namespace win32
{
namespace
{
std::atomic<unsigned int> sBeeps(0);
} // namespace

int MessageBeep(unsigned int)
{
    sBeeps.fetch_add(1);
    if (isatty(STDERR_FILENO))
        std::fputc('\a', stderr);
    return 1;
}

unsigned int BeepCount()
{
    return sBeeps;
}

void ResetBeepCount()
{
    sBeeps = 0;
}
} // namespace win32
