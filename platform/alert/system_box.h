// The message box of the operating system.

#ifndef PLATFORM_ALERT_SYSTEM_BOX_H
#define PLATFORM_ALERT_SYSTEM_BOX_H

#include <platform/control.h>

namespace platform
{
// Shows the alert in the system's message box, and waits until the user has dismissed the box.
//
// Returns: false if the system has no message boxes, or no desktop to show one on.
// Throws: the exceptions of window procedures that the box calls while it waits.
bool PresentInSystemBox(const Alert& alert);
} // namespace platform

#endif
