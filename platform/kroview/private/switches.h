// The switches of the user interface, for platform/control.h.

#ifndef KROVIEW_SWITCHES_H
#define KROVIEW_SWITCHES_H

#include <krobase/text.h>

namespace kroview
{
krobase::utility::UTF16String ClipboardText();
void EmptyClipboard();

// Ends the capture, and does not call its `onEnd`: the owner may be gone.
void ForgetInputCapture();
} // namespace kroview

#endif
