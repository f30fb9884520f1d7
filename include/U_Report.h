// Errors: their way to the user and the log, their codes in words, and what a
// thread last reported.
//
// A report is a text with a severity and a location code (the module in the high half,
// a place in it in the low half; 0 for none). It is logged and handed to the logging
// callbacks as the interaction mask says (U_Interact.h); it is counted whatever the
// mask says, unless it is a detail, a callback ends it, or, fatal ones apart, the thread
// is in quiet mode;
// and then, if the mask says so, it is shown at once, or posted (U_Posted.h) if it
// comes from another thread than the UI thread, belongs to a group, or alerts are held
// back. A thread that reports while it is reporting, say in a logging callback or while
// the alert of its own report is up, is ignored without a trace. A report of multibyte text
// is dropped without memory to convert the text, and returns 4. A message that
// can't be shown is posted. One that can't be posted, for want of memory or outside the library's
// life, doesn't reach the user, and nobody is told. What is neither an int nor a std::exception
// passes out of a report from whatever it calls. Over a damaged record a report goes without the
// host's name, and the process is dying from then on.
//
// Each thread keeps its last error code and the text of its latest report, in
// multibyte form in the active code page. Readers make nothing: a thread that
// has never reported has the empty text and zeros. Any thread, also before
// birth and after death.

#ifndef U_REPORT_H
#define U_REPORT_H

#include <stddef.h>

#include <boost/smart_ptr/intrusive_ptr.hpp>

#include <kroview/ui.h>

#include "U_Types.h"

// The size in bytes of the text of a report, with its terminator.
const size_t U_ReportTextSize = 512;

// What the calling thread last reported: the text, which needs room for
// U_ReportTextSize bytes, the severity, the location code, and the status or
// system code. Severity and location are those of its latest report that was neither
// quiet nor ended by a callback. Each may be null. Always 0.
U_EXPORT U_Status U_GetLastError(char* text, U_u16* severity, U_u32* location, U_u32* error);

// The meaning of a status code in the current language: "a bad parameter was passed" for 3.
// Negative codes are system codes. A code without a meaning of its own gives "error 13".
// An errno and the codes of a family of its own, such as those of hogs, share their numbers
// with status codes and have no text here: the result is the text of the status code. For an
// errno, such as one of U_Birth, use strerror. Without memory throws std::bad_alloc or the int
// 4.
U_EXPORT U_UTF16String U_GetStatusText(U_Status code);

// Reports a text. What a logging callback throws passes through, and so does its
// code, as an int; the report ends there, neither counted nor shown. On the UI thread it may
// return only when the user has dismissed the alert.
U_EXPORT void U_ReportError(U_u32 location, U_u16 severity, const U_UTF16String& text);

// Posts a text for the user, without log, callbacks and counts. It is dropped without
// a word if the mask doesn't show its severity, in quiet mode unless it is fatal,
// while the very same message is the last that was shown (not on the UI thread), and
// for want of memory or outside the library's life. A fatal one doesn't make the process
// die. Never throws an int or a std::exception.
U_EXPORT void U_AsyncReport(U_u32 location, U_u16 severity, const U_UTF16String& text);

// Forgets which message was shown last: other threads may post it again.
U_EXPORT void U_ClearLastReportedError();

// Says where alerts are shown: both are needed for the host's own message box, else the
// system's serves. The library keeps a reference on the node until other values come,
// or until it is unloaded; it doesn't own the supplier. For the UI thread, once the
// host's interface exists; birth and death clear both.
U_EXPORT void U_SetPencartValuesForUErrors(kroview::pencart::SupplierInterface* supplier,
                                           boost::intrusive_ptr<kroview::ui::UI_Node> node);

// For close neighbours.

// What the operation above has stored.
U_EXPORT extern kroview::pencart::SupplierInterface* Up_DrawSupplierP0;
U_EXPORT extern boost::intrusive_ptr<kroview::ui::UI_Node> Up_TopLevelWindowP0;

// The report proper, without the thread logging buffer. grouped says that the
// text belongs to a group. Throws as U_ReportError does.
U_EXPORT void Up_Report16(U_u32 location, U_u16 severity, const U_UTF16String& text, bool grouped);

// Reports the text in the thread logging buffer. Returns 0, or the code of the
// callback or failure that ended the report.
U_EXPORT U_Status Up_ReportError(U_u32 location, U_u16 severity);

// Puts a text, null for an empty one, into that buffer, cut at a character if need be,
// and reports it. Returns what Up_ReportError does.
U_EXPORT U_Status Up_ReportErrString(U_u32 location, U_u16 severity, const char* text);

// The same with the meaning of a status code, which shows in hexadecimal if it has
// none, or of a system code, which always shows, in decimal. For the code 0 only the
// thread's last error is set. The code is the result, and the thread's last error
// also after the report.
U_EXPORT U_Status Up_ReportNuloErrString(U_u32 location, U_u16 severity, U_u32 code,
                                         const char* text);
U_EXPORT U_Status Up_ReportSyserrString(U_u32 location, U_u16 severity, U_i32 code,
                                        const char* text);

// A text of the library's own in the current language, or in English while none has
// been chosen; "[?]" for an unknown index, and for a text that can't be looked up for
// want of memory. It stays until the library dies and isn't to be written to.
U_EXPORT char* Up_String(U_u32 index);

// Appends the meaning of a status code or of a system code to the text in the
// thread logging buffer, in the place of a full stop. A code without a text
// appears as a number. The meaning of a status code gives up its own full stop, too:
// the message ends in one. What doesn't fit is cut at a character.
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
