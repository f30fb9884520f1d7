// Errors: their codes in words, and what a thread last reported.
//
// Each thread keeps its last error code and the text of its latest report, in
// multibyte form in the active code page. Readers make nothing: a thread that
// has never reported has the empty text and zeros. Any thread, also before
// birth and after death.

#ifndef U_REPORT_H
#define U_REPORT_H

#include <stddef.h>

#include "U_Types.h"

// The size in bytes of the text of a report, with its terminator.
const size_t U_ReportTextSize = 512;

// What the calling thread last reported: the text, which needs room for
// U_ReportTextSize bytes, the severity, the location code, and the status or
// system code. Each may be null. Always 0.
U_EXPORT U_Status U_GetLastError(char* text, U_u16* severity, U_u32* location, U_u32* error);

// For close neighbours.

// A text of the library's own in the current language, or in English while none
// has been chosen; "[?]" for an unknown index. It stays until the library dies
// and isn't to be written to.
U_EXPORT char* Up_String(U_u32 index);

// Appends the meaning of a status code or of a system code to the text in the
// thread logging buffer, in the place of a full stop. A code without a text
// appears as a number. What doesn't fit is cut at a character.
U_EXPORT void Up_NuloEnglishError(U_u32 code);
U_EXPORT void Up_SysEnglishError(U_i32 code);

U_EXPORT U_u32 Up_GetThreadLastError();
U_EXPORT U_u16 Up_GetThreadLastSeverity();
U_EXPORT U_u32 Up_GetThreadLastLocation();

// Returns code, which is lost if there is no memory.
U_EXPORT U_u32 Up_SetThreadLastError(U_u32 code);

// The thread logging buffer, U_ReportTextSize bytes, empty at first; made if
// need be. Without memory it is one that all threads share.
U_EXPORT char* Up_GetThreadLoggingBuffer();

#endif
