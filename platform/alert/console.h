// The presenter of a host that has put in none, for other presenters that find
// no user.

#ifndef PLATFORM_ALERT_CONSOLE_H
#define PLATFORM_ALERT_CONSOLE_H

#include "../control.h"
#include "../export.h"

namespace platform
{
// Writes the alert to stderr in one piece, framed, in UTF-8, and returns.
// Without memory for that it writes the bare texts. An assertion is answered
// with kAnswerBreak if a debugger is attached: nobody can be asked.
PLATFORM_EXPORT void PresentOnConsole(const Alert& alert);
} // namespace platform

#endif
