// A report made once more, at the end of a deferred stretch.

#ifndef INDEP_ERRORS_REPEAT_H
#define INDEP_ERRORS_REPEAT_H

#include "U_Types.h"

// As Up_ReportErrString. isLogged says that the log has had its line already.
U_Status Up_RepeatReport(U_u32 location, U_u16 severity, const char* text, bool isLogged);

#endif
