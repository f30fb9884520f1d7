// Reports: a failure's way to the log, the logging callbacks and the user; the texts of
// status codes; the latest report of each thread.
//
//     const U_u32 kOpenFile = 0x10001; // module 1, place 1
//     const U_Status failure = U_Err_UnsupportedVersion;
//     U_ReportError(kOpenFile, U_Sev_WARNING, U_GetStatusText(failure));
//     U_u16 severity = 0;
//     U_GetLastError(nullptr, &severity, nullptr, nullptr); // U_Sev_WARNING
//
// Terms, explained in docs/concepts.md:
//
// - Location code: the source of a report. The high half is the module, the low half a
//   place in the module; 0 is no location.
// - Severity: one of the U_Sev_ bits of U_Types.h.
// - Interaction mask: the severities that are shown, and those that are logged (U_Interact.h).
//
// A report passes these steps:
//
// 1. The log gets a line, and each logging callback is called, if the interaction mask has the
//    severity (U_Interact.h). In a quiet stretch without logging (U_Posted.h) only a fatal
//    report does both. A callback can end the report here.
// 2. The report is counted (U_GetHowManyErrors), whatever the mask is. A U_Sev_DETAIL is not
//    counted. In quiet mode (U_Posted.h) only a fatal report is counted and shown.
// 3. If the mask shows the severity, the message is shown at once. The message is posted
//    (U_Posted.h) instead if the thread is not the UI thread, the message belongs to a group
//    (U_Group.h), or alerts are held back.
//
// Each thread keeps its last error code and the text of its latest report, as multibyte text
// in the active code page. A thread that has never reported has an empty text and zeros;
// reading them allocates nothing.
//
// Thread safety: all functions may be called on any thread, also before birth and after death,
// except U_SetPencartValuesForUErrors.
//
// Failures:
//
// - A report inside a report of the same thread, for example in a logging callback or while the
//   alert is up, is ignored. Exceptions: U_AsyncReport posts as usual, and Up_Report16 and
//   Up_ReportError set the thread's last error to 0.
// - A message that cannot be shown is posted. A message that cannot be posted, without memory
//   or outside the library's life, is lost without a report.
// - Without memory to convert its text, a report of multibyte text is dropped and returns 4.
// - An exception that is neither an int nor a std::exception passes out of the report, whatever
//   function threw it.
// - If the library's record is damaged or missing, messages have no host's name. A damaged
//   record also makes the process die (U_Die).

#ifndef U_REPORT_H
#define U_REPORT_H

#include <stddef.h>

#include <boost/smart_ptr/intrusive_ptr.hpp>

#include <kroview/ui.h>

#include "U_Types.h"

// The size in bytes of a report's multibyte text, with the terminator.
const size_t U_ReportTextSize = 512;

// Reports a text, which should be in the user's language. On the UI thread, the function
// returns when the user has dismissed the alert.
//
// Throws: the code of a logging callback that ends the report, as an int, and any exception
// that a callback throws. The report is then neither counted nor shown.
U_EXPORT void U_ReportError(U_u32 location, U_u16 severity, const U_UTF16String& text);

// Posts a text for the user, without the log, the callbacks and the count. A fatal report does
// not make the process die.
//
// The text is dropped without a report if
//
// - the interaction mask does not show its severity;
// - the thread is in quiet mode and the severity is not fatal;
// - the thread is not the UI thread and the same message is the last that was shown;
// - there is no memory, or the library is not alive.
//
// Throws: no int and no std::exception.
U_EXPORT void U_AsyncReport(U_u32 location, U_u16 severity, const U_UTF16String& text);

// Stores the calling thread's latest report: the text in `text`, which has at least
// U_ReportTextSize bytes; the severity and the location of the latest report that was neither
// quiet nor ended by a callback; the status or system code. Each pointer may be null.
//
// Returns: 0.
U_EXPORT U_Status U_GetLastError(char* text, U_u16* severity, U_u32* location, U_u32* error);

// Returns the meaning of a status code in the current language: "a bad parameter was passed"
// for 3. Negative codes are system codes. A code without a meaning of its own results in
// "error 13".
//
// An errno, and a code of a family of its own such as U_Hog.h, has no text here: the result is
// the text of the status code with the same number. Use strerror for an errno, such as those
// that U_Birth returns.
//
// Throws: std::bad_alloc or the int 4, without memory.
U_EXPORT U_UTF16String U_GetStatusText(U_Status code);

// Forgets the last message that was shown, so that other threads may post that message again.
U_EXPORT void U_ClearLastReportedError();

// Sets the supplier and the node that the host's message box needs. While either is null,
// alerts use the system's message box. Birth and death reset both.
//
// The library keeps a reference to the node until new values are set or the library is
// unloaded. The library does not own the supplier.
//
// Thread safety: for the UI thread, once the host's user interface exists.
U_EXPORT void U_SetPencartValuesForUErrors(kroview::pencart::SupplierInterface* supplier,
                                           boost::intrusive_ptr<kroview::ui::UI_Node> node);

// For close neighbours.

// The values of U_SetPencartValuesForUErrors.
U_EXPORT extern kroview::pencart::SupplierInterface* Up_DrawSupplierP0;
U_EXPORT extern boost::intrusive_ptr<kroview::ui::UI_Node> Up_TopLevelWindowP0;

// Reports a text as U_ReportError does, but leaves the thread logging buffer unchanged.
// `grouped` is true for a text that belongs to a group. Throws as U_ReportError does.
U_EXPORT void Up_Report16(U_u32 location, U_u16 severity, const U_UTF16String& text, bool grouped);

// Reports the text in the thread logging buffer. Returns 0, or the code of the callback or
// failure that ended the report.
U_EXPORT U_Status Up_ReportError(U_u32 location, U_u16 severity);

// Stores a text in the thread logging buffer, cut at a character boundary to fit, and reports
// the text. A null text is an empty one. Returns the result of Up_ReportError.
U_EXPORT U_Status Up_ReportErrString(U_u32 location, U_u16 severity, const char* text);

// Report a text with the meaning of a code at its end. A status code without a meaning appears
// as a hexadecimal number; a system code always appears, as a decimal number. For the code 0
// the functions only set the thread's last error.
//
// Returns: `code`, which is also the thread's last error after the report.
U_EXPORT U_Status Up_ReportNuloErrString(U_u32 location, U_u16 severity, U_u32 code,
                                         const char* text);
U_EXPORT U_Status Up_ReportSyserrString(U_u32 location, U_u16 severity, U_i32 code,
                                        const char* text);

// Returns one of the library's own texts in the current language; in English until a language
// is chosen. The caller must not write to the text, which is valid until the library's death.
//
// Failures: "[?]" for an unknown index, and for a text that needs memory when there is none.
U_EXPORT char* Up_String(U_u32 index);

// Append the meaning of a status code or of a system code to the text in the thread logging
// buffer. The meaning replaces a full stop at the end of the text. A code without a meaning
// appears as a number. The message ends in one full stop, also if the meaning of a
// status code has its own. The result is cut at a character boundary to fit the buffer.
U_EXPORT void Up_NuloEnglishError(U_u32 code);
U_EXPORT void Up_SysEnglishError(U_i32 code);

// Return the code, the severity and the location of the thread's last report; 0 without one.
U_EXPORT U_u32 Up_GetThreadLastError();
U_EXPORT U_u16 Up_GetThreadLastSeverity();
U_EXPORT U_u32 Up_GetThreadLastLocation();

// Sets the thread's last error. Returns `code`.
U_EXPORT U_u32 Up_SetThreadLastError(U_u32 code);

// Returns the thread logging buffer of U_ReportTextSize bytes. The first call makes the buffer,
// with an empty text. Without memory, the result is a buffer that all threads share.
U_EXPORT char* Up_GetThreadLoggingBuffer();

#endif
