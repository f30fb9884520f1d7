// The count of errors, which a deferred stretch puts back.

#ifndef INDEP_ERRORS_ERROR_COUNT_H
#define INDEP_ERRORS_ERROR_COUNT_H

#include "U_Types.h"

// Returns 0, 2 for a damaged record, or 5889 for none.
U_Status Up_SetHowManyErrors(U_u32 count);

#endif
