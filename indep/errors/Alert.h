// The alert itself.

#ifndef INDEP_ERRORS_ALERT_H
#define INDEP_ERRORS_ALERT_H

#include "U_Types.h"

// Shows the text, and the location under it unless it is a plain message, in
// the host's message box, or in the system's if the host has none or it fails.
// With Shift held down at the end the text goes to the clipboard. Throws what
// the system's box throws.
void Up_ShowAlert(const char* location, U_u16 severity, const U_UTF16String& text, float sizeHint);

#endif
