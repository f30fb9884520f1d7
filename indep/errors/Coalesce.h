// Grouped messages made into one a group.

#ifndef INDEP_ERRORS_COALESCE_H
#define INDEP_ERRORS_COALESCE_H

#include "indep/errors/PostedErrors.h"

// Entries without a group keep their order; behind them stands one entry for
// each group, in the order of the groups' keys by code unit. errors stay as they
// are if anything is thrown.
void Coalesce(PostedErrors& errors);

#endif
