// A presenter of alerts that shows each in a window, for hosts that have no user
// interface of their own or use SDL themselves:
//
//     platform::SetAlertPresenter(&platform::PresentInWindow);
//
// SDL wants all windows on one thread: call it on the thread that has the host's,
// one alert at a time.

#ifndef PLATFORM_ALERT_SDL_PRESENTER_H
#define PLATFORM_ALERT_SDL_PRESENTER_H

#include <platform/base/export.h>
#include <platform/control.h>

namespace platform
{
// Shows the alert in a window above the others and waits until it is dismissed:
// by a click on its button, Return, Escape, or the end of the window. A text that
// is too long for the screen scrolls. The buttons of an assertion are its answers;
// Tab goes through them, and Escape goes on. Characters that no installed font
// has are drawn as boxes, and all text from left to right.
//
// Tells SetModifierKeys which keys were down when the alert was dismissed. Input
// for the host's other SDL windows is dropped meanwhile; all else stays in SDL's
// queue. Without a display or a font the alert goes to stderr, with the reason.
// Throws std::bad_alloc.
PLATFORM_EXPORT void PresentInWindow(const Alert& alert);
} // namespace platform

#endif
