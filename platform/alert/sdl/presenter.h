// A presenter of alerts that shows each alert in a window of SDL, for hosts without a user
// interface and for hosts that use SDL themselves.
//
//     platform::SetAlertPresenter(&platform::PresentInWindow);
//
// Thread safety: one thread at a time, and only the thread with the host's own SDL windows.

#ifndef PLATFORM_ALERT_SDL_PRESENTER_H
#define PLATFORM_ALERT_SDL_PRESENTER_H

#include <platform/base/export.h>
#include <platform/control.h>

namespace platform
{
// Shows the alert in a window, and waits until the user dismisses the alert.
//
// - Dismissal: a click on a button, Return, Escape, or the end of the window. An assertion has
//   one button for each answer; Tab moves the focus, and Escape is kAnswerGoOn.
// - Text: drawn from left to right. A text that is too long for the screen scrolls. A character
//   in no installed font is drawn as a box.
// - Modifier keys: those that were down at the dismissal are stored by SetModifierKeys.
// - Events of the host: input for the host's other SDL windows is dropped while the alert is
//   shown. All other events stay in SDL's queue.
//
// Throws: std::bad_alloc.
// Failures: without a display or a font the reason and the alert are written to stderr.
PLATFORM_EXPORT void PresentInWindow(const Alert& alert);
} // namespace platform

#endif
