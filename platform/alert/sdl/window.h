// The window of an alert, and what the user does with it.

#ifndef PLATFORM_ALERT_SDL_WINDOW_H
#define PLATFORM_ALERT_SDL_WINDOW_H

#include <platform/control.h>

namespace platform
{
// Shows the alert until it is dismissed. SDL's video must be up. Throws
// std::runtime_error if there can be no window.
AssertAnswer ShowWindow(const Alert& alert);
} // namespace platform

#endif
