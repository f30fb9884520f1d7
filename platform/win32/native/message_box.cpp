// Sounds. MessageBoxW is part of the alerts, since the host's presenter shows the box.

#include <win32/message_box.h>

#include <atomic>

#include "../private/switches.h"
#include "windows_api.h"

namespace win32
{
namespace
{
static_assert(kBoxIconError == MB_ICONERROR && kBoxIconQuestion == MB_ICONQUESTION &&
              kBoxIconWarning == MB_ICONWARNING && kBoxIconNote == MB_ICONINFORMATION &&
              kBoxTaskModal == MB_TASKMODAL && kBoxTopmost == MB_TOPMOST);

std::atomic<unsigned int> sBeeps(0);
} // namespace

int MessageBeep(unsigned int type)
{
    sBeeps.fetch_add(1);
    return ::MessageBeep(type);
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
