// What the report path needs of the logging callbacks.

#ifndef INDEP_ERRORS_LOGGING_CALLBACKS_H
#define INDEP_ERRORS_LOGGING_CALLBACKS_H

#include "U_Types.h"

// Calls every callback, in the order of the slots. Returns the answer of the
// last one; 0 without one, or without a good record, whose functions can't be
// trusted. What a callback throws passes through.
U_Status Up_CallLoggingCallbacks(U_u32 location, const char* text, U_u16 severity);

#endif
