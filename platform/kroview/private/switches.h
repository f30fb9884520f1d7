// The switches of the user interface, for platform/control.h.

#ifndef KROVIEW_SWITCHES_H
#define KROVIEW_SWITCHES_H

#include <krobase/text.h>

namespace kroview
{
krobase::utility::UTF16String ClipboardText();
void EmptyClipboard();

// Ends the capture without a word to its owner, who may be gone.
void ForgetInputCapture();
} // namespace kroview

#endif
