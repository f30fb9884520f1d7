// The way of an alert to the user, for all boxes of the platform and for other presenters.

#ifndef PLATFORM_ALERT_PRESENT_H
#define PLATFORM_ALERT_PRESENT_H

#include <platform/base/export.h>
#include <platform/control.h>

namespace platform
{
// Hands the alert to the presenter, on the calling thread with no lock held.
// Throws what the presenter throws.
void Present(const Alert& alert);

// Writes the alert to stderr in one piece, framed, in UTF-8, and returns.
// Without memory for that it writes the bare texts. An assertion is answered
// with kAnswerBreak if a debugger is attached: nobody can be asked.
PLATFORM_EXPORT void PresentOnConsole(const Alert& alert);
} // namespace platform

#endif
