// Operations of the report path for the other families of the library.

#ifndef INDEP_ERRORS_REPORT_H
#define INDEP_ERRORS_REPORT_H

#include <exception>

#include "U_Types.h"

// Reports a bad argument as a failed verification. Returns 3. `why` names the operation and
// the argument.
U_Status BadArgument(const char* why, U_u32 location = 0);

// Translates as U_TranslateAndReportException does, but only logs an exception that no
// translator recognises. For the display of a message: a report of the failure would be one
// more message that cannot be shown.
U_Status Up_TranslateUnreported(std::exception& exception);

// Steps of birth and death.

// Makes the table of exception translators, unless the table exists. Throws std::bad_alloc.
void Up_MakeTranslatorTable();
void Up_FreeTranslatorTable();

// Makes the posted list, the table of quiet modes and the calling thread's logging buffer.
// Throws std::bad_alloc.
void Up_ErrorsBirth();

// Frees the list with the messages that are still posted, and the table.
void Up_ErrorsDeath();

#endif
