// Functions for presenters of alerts: the icon, the text in lines, and the console as a last
// resort.
//
//     platform::SetAlertPresenter([](const platform::Alert& alert) {
//         const auto fits = [](const krobase::utility::UTF16String& line) {
//             return line.size() <= 80;
//         };
//         if (platform::WrapText(alert.text, fits).size() > 1000)
//             platform::PresentOnConsole(alert);
//     });
//
// Thread safety: all functions may be called on any thread.

#ifndef PLATFORM_ALERT_LAYOUT_H
#define PLATFORM_ALERT_LAYOUT_H

#include <vector>

#include <boost/function.hpp>

#include <kroview/messagebox.h>
#include <platform/base/export.h>
#include <platform/control.h>

namespace platform
{
// Returns the icon of the alert, from `icon` or from `flags`.
PLATFORM_EXPORT kroview::dialogs::messagebox::Icon IconOf(const Alert& alert);

// Returns whether the line has room.
typedef boost::function<bool(const krobase::utility::UTF16String& line)> LineFits;

// Returns the text in lines that fit.
//
// - A line is broken where the script of the text allows. A word that does not fit is broken
//   inside; a character that does not fit is a line of its own.
// - The line ends "\n", "\r\n", "\r", U+2028 and U+2029 begin a new line. Other control
//   characters become spaces.
// - Spaces at the end of a line, and empty lines at the end of the text, are left out.
//
// Throws: std::bad_alloc; the exceptions of `fits`.
PLATFORM_EXPORT std::vector<krobase::utility::UTF16String>
WrapText(const krobase::utility::UTF16String& text, const LineFits& fits);

// Writes the alert to stderr in one call, in a frame, in UTF-8, and returns. If a debugger is
// attached, the answer to an assertion is kAnswerBreak, since no user answers.
//
// Failures: without memory for the frame, the bare texts are written, with the escapes of
//   Printable.
PLATFORM_EXPORT void PresentOnConsole(const Alert& alert);
} // namespace platform

#endif
