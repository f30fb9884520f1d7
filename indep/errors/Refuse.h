// Calls that an entry point can't serve.

#ifndef INDEP_ERRORS_REFUSE_H
#define INDEP_ERRORS_REFUSE_H

#include "U_Types.h"

// Reports a failed verification and returns 3. why tells what was asked for and
// what is wrong with it.
U_Status BadArgument(const char* why, U_u32 location = 0);

#endif
