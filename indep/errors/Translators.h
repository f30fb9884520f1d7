// The table of exception translators, for birth and death.

#ifndef INDEP_ERRORS_TRANSLATORS_H
#define INDEP_ERRORS_TRANSLATORS_H

#include <exception>

#include "U_Types.h"

// Makes the table, unless there is one. Throws std::bad_alloc.
void Up_MakeTranslatorTable();
void Up_FreeTranslatorTable();

// Translates as U_TranslateAndReportException does, but only logs an exception that no
// translator recognises. For the display of a message: a report of the failure would be one
// more message that cannot be shown.
U_Status Up_TranslateUnreported(std::exception& exception);

#endif
