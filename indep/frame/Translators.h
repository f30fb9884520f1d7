// The table of exception translators, for birth and death.

#ifndef INDEP_FRAME_TRANSLATORS_H
#define INDEP_FRAME_TRANSLATORS_H

#include "U_Types.h"
#include "indep/frame/ThreadPiece.h"

// Makes the table, unless there is one. Throws std::bad_alloc.
void Up_MakeTranslatorTable();
void Up_FreeTranslatorTable();

// While one stands on a thread, an exception that nobody recognises has its line in the
// log, but isn't reported.
typedef ScEntered<struct InTranslation> ScUnreported;

// Tells of an exception that nobody recognises. Returns 14.
U_Status Up_ReportUnknownException(const char* what, const char* type);

#endif
