// What presenters of alerts need to lay one out. Any thread.

#ifndef PLATFORM_ALERT_LAYOUT_H
#define PLATFORM_ALERT_LAYOUT_H

#include <vector>

#include <boost/function.hpp>

#include <kroview/messagebox.h>
#include <platform/base/export.h>
#include <platform/control.h>

namespace platform
{
// The icon that the alert asks for, whichever box it is for.
PLATFORM_EXPORT kroview::dialogs::messagebox::Icon IconOf(const Alert& alert);

// Whether there is room for the line.
typedef boost::function<bool(const krobase::utility::UTF16String& line)> LineFits;

// The text in lines that fit, broken where its script allows, and inside a word
// that has no room itself. Spaces at the end of a line go, and so do empty lines
// at the end of the text. Line ends in the text ("\n", "\r\n", "\r", U+2028,
// U+2029) begin a new line; other control characters become spaces. A character that doesn't
// fit alone has a line of its own.
PLATFORM_EXPORT std::vector<krobase::utility::UTF16String>
WrapText(const krobase::utility::UTF16String& text, const LineFits& fits);
} // namespace platform

#endif
