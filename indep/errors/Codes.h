// Codes in words, for the report path.

#ifndef INDEP_ERRORS_CODES_H
#define INDEP_ERRORS_CODES_H

#include "U_Types.h"

// As Up_NuloEnglishError and Up_SysEnglishError, with the buffer of
// U_ReportTextSize bytes that the caller has already written its text to.
void AppendStatusText(U_u32 code, char* buffer);
void AppendSystemText(U_i32 code, char* buffer);

#endif
