// Arguments that an entry point can't use.

#ifndef INDEP_ERRORS_REFUSE_H
#define INDEP_ERRORS_REFUSE_H

#include "U_Types.h"

// Reports a failed verification and returns 3. why names the operation and what it
// was given.
U_Status RefuseArgument(const char* why, U_u32 location = 0);

#endif
