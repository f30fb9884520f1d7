// From a message to the user's eyes.

#ifndef INDEP_ERRORS_SHOW_H
#define INDEP_ERRORS_SHOW_H

#include "U_Types.h"

// Shows a composed text in an alert and waits until the user dismisses it. On
// the way the message becomes the last reported one and goes to telemetry; what
// fails there with an int or a std::exception neither keeps it from the user nor is
// reported, a translator's own report apart. sizeHint is the host's message box's.
// Throws what the system's message box throws.
void Up_ShowMessage(U_u32 location, U_u16 severity, const U_UTF16String& text, float sizeHint);

#endif
