// Posted errors, quiet mode and deferred reports: three ways to keep alerts back.
//
//     U_IncrementPostErrors(); // no alert from here on
//     U_StartQuietErrorsOnCurrentThread(true);
//     // an attempt whose failure is an answer
//     U_EndQuietErrorsOnCurrentThread();
//     U_DecrementPostErrors();
//     U_DisplayPostedErrors();
//
// Terms, explained in docs/concepts.md:
//
// - Posted: a message that cannot be shown at once waits in a list of the process until
//   U_DisplayPostedErrors shows it.
// - Quiet mode: a thread drops its own reports.
// - Deferred: a stretch of code keeps its errors back. The end of the stretch reports the last
//   of them, or none.
// - Interaction mask: the severities that are shown, and those that are logged (U_Interact.h).
//
// A message that equals the last shown message is not posted, except by the UI thread, until
// U_ClearLastReportedError (U_Report.h).
//
// Thread safety: all functions may be called on any thread, except U_DisplayPostedErrors.

#ifndef U_POSTED_H
#define U_POSTED_H

#include "U_Types.h"

// Hold alerts back: while there were more increments than decrements, reports on the UI thread
// are posted as those of other threads are.
//
// The count may be negative. An unmatched decrement cancels the next increment. Before birth,
// after death and with a damaged record both functions do nothing.
U_EXPORT void U_IncrementPostErrors();
U_EXPORT void U_DecrementPostErrors();

// Shows the messages posted so far, each once and in order. The messages of a group (U_Group.h)
// are one alert, after the messages without a group. Returns when the user has dismissed the
// last alert. Meanwhile other threads may post. Death shows the messages that are left, and logs
// those that it cannot show.
//
// Thread safety: for the UI thread. A call on another thread is not refused, but must not run
// at the same time as U_SetPencartValuesForUErrors.
//
// Failures:
//
// - A message that the system's message box cannot show stays posted, without a report. An
//   exception of the host's message box that no translator recognises leaves a line in the log.
// - An exception that is neither an int nor a std::exception passes through. The messages that
//   were not shown stay posted.
// - Without memory to put groups together, their messages are shown one by one in the order of
//   posting, with their identifiers.
U_EXPORT void U_DisplayPostedErrors();

// Enter and leave a level of quiet mode for the calling thread. In quiet mode the thread's
// reports are neither counted nor shown, except fatal ones. If `keepLogging` is false, the
// reports do not reach the log and the callbacks either, also in the levels inside.
//
// Returns: 0; 3, reported, if the library is not alive, or if the thread leaves more levels
// than it has entered; 4, not reported, without memory.
U_EXPORT U_Status U_StartQuietErrorsOnCurrentThread(bool keepLogging);
U_EXPORT U_Status U_EndQuietErrorsOnCurrentThread();

// The state of a deferred stretch. The caller owns the structure and passes it to the end.
struct U_DeferredState
{
    U_u32 mSavedInteract = 0;      // the interaction mask at the start
    U_u32 mTempId = 0;             // of the mask of the stretch; 0 without one
    U_u32 mErrorCount = 0;         // errors counted before the stretch
    char* mSavedMessage = nullptr; // the thread logging buffer at the start, or null; owned
};

// Starts a deferred stretch: on all threads, a severity is shown or logged only if both `mask`
// and the mask in force have its bit (U_Interact.h). Stretches nest. Each start needs its end,
// also after a failure.
//
// Returns: 0; 3, reported, if `state` is null; 2 or 5889 as U_GetHowManyErrors; 4 without
// memory for the mask. After 2, 4 and 5889 the stretch keeps no error back, and
// its end repeats nothing.
U_EXPORT U_Status U_DeferredReportingStart(U_u32 mask, U_DeferredState* state);

// End a deferred stretch.
//
// If `report` is false, the errors of the stretch are forgotten: the count of errors is set
// back, and so is the thread's text, if the thread had one and there was memory to keep it.
//
// If `report` is true and any thread's error was counted since the start, the end repeats the
// latest report of the calling thread:
//
// - The repeat is shown as the mask before the start decides. The log and the callbacks
//   receive the repeat unless they received the report in the stretch.
// - If the thread's latest text is empty, the repeat has `fallbackText`, or "missing deferred
//   error information." if that is null. The log gets a line of this text even if the
//   report had one, as far as its severity and the mask allow; the callbacks receive the text
//   only if the stretch kept its severity from them.
// - If the thread has made no report since it began, or each was quiet or ended by a callback,
//   the fallback text is reported as a fatal error, and the process is dying unless `async` is
//   true: the errors were other threads' and must not be lost.
// - If `async` is true, the repeat is only posted, without the log, the count and the callbacks.
//
// Returns: 0; 3, reported, if `state` is null. If `async` is true, also 4 without memory, or
// the code of a failed conversion; nothing is posted then.
//
// Failures:
//
// - Without memory for the mask of the repeat, the repeat is made after the end of the stretch,
//   and the callbacks receive it again.
// - An exception that is neither an int nor a std::exception passes through, after the end of
//   the stretch.
U_EXPORT U_Status U_DeferredReportingEnd(bool report, const char* fallbackText,
                                         U_DeferredState* state);
U_EXPORT U_Status U_DeferredReportingEndAsync(bool report, bool async, const char* fallbackText,
                                              U_DeferredState* state);

#endif
