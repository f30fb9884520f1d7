// The table of exception translators, for birth and death.

#ifndef INDEP_FRAME_TRANSLATORS_H
#define INDEP_FRAME_TRANSLATORS_H

#include "U_Types.h"

// Makes the table, unless there is one. Throws std::bad_alloc.
void Up_MakeTranslatorTable();
void Up_FreeTranslatorTable();

// Tells of an exception that nobody recognises. Returns 14.
U_Status Up_ReportUnknownException(const char* what, const char* type);

#endif
