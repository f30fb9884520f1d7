// Errors that wait, and stretches without any.
//
// Posted: a message that can't be shown at once waits in a list of the whole
// process until U_DisplayPostedErrors shows it. Quiet: a thread drops its own
// reports. Deferred: a stretch of code keeps its errors to itself and reports
// the last of them at its end, or none. Any thread, unless told otherwise.
//
// A message that is already shown isn't posted again by another thread than the
// UI thread, until U_ClearLastReportedError (U_Report.h).

#ifndef U_POSTED_H
#define U_POSTED_H

#include "U_Types.h"

// While increments outnumber decrements, reports on the UI thread are posted
// like those of other threads. A decrement too many takes the effect from the next
// increment, behind which reports are still shown at once. Before birth, after death and over a
// damaged record both do nothing.
U_EXPORT void U_IncrementPostErrors();
U_EXPORT void U_DecrementPostErrors();

// Shows what has been posted so far, each message once and in order, with the
// messages of a group (U_Group.h) as one alert behind the others. Returns when
// the user has dismissed the last; meanwhile others may post. For the UI thread;
// nothing here insists, but then U_SetPencartValuesForUErrors mustn't run at the
// same time. Death shows what is left.
// A message that even the system's message box can't show stays posted, and why isn't
// told; the log has a line of an exception out of the host's box. What is neither an int nor a
// std::exception passes through, with what has not been shown still posted. Without the memory to
// put groups together their messages are shown one by one as they were posted, with their
// identifiers.
U_EXPORT void U_DisplayPostedErrors();

// Enters a level of quiet mode, in which the calling thread's reports, fatal
// ones apart, are neither counted nor shown; keepLogging false keeps them from
// the log and the callbacks, too, also in the levels inside. The second leaves
// the innermost level. Both return 0; 3, reported, while the library isn't alive
// or, for the second, outside all levels; 4 without memory, which isn't told.
U_EXPORT U_Status U_StartQuietErrorsOnCurrentThread(bool keepLogging);
U_EXPORT U_Status U_EndQuietErrorsOnCurrentThread();

// A stretch of deferred reporting. The caller owns it and hands it back to the
// end.
struct U_DeferredState
{
    U_u32 mSavedInteract = 0; // the interaction mask at the start
    U_u32 mTempId = 0;        // of the mask of the stretch; 0 without one
    U_u32 mErrorCount = 0;
    char* mSavedMessage = nullptr; // the thread logging buffer at the start, or null; owned
};

// Starts a stretch in which only severities of mask (U_Interact.h) are told of,
// on all threads. Stretches nest; each start needs its end. Returns 0; 2 or 5889
// as U_GetHowManyErrors does; 4 without memory for the mask; after these the
// stretch hides nothing and still needs its end. 3, reported, for a null state.
U_EXPORT U_Status U_DeferredReportingStart(U_u32 mask, U_DeferredState* state);

// Ends it. report false forgets its errors: their count is again what it was, and so is
// the thread's text if it had one. report true repeats the thread's latest report if
// errors have been counted since the start, on whatever thread; it is shown as before
// the start, and the log and the callbacks hear it unless they did. fallbackText, if
// not null, serves where the thread has no text, or where each report of the thread was
// quiet or ended by a callback. A thread without any other report repeats that text as a fatal
// error, of which the process dies: the counted errors were other threads' and must not be
// lost. The log hears of fallbackText in any case, the callbacks only if the stretch kept its
// severity from them. async posts the repeat and
// leaves it out of the log, the counts and the callbacks. Without memory for a mask of
// its own the repeat is made behind the stretch, and the callbacks hear it once more.
// What is neither an int nor a std::exception passes through, behind the end of the
// stretch. Returns 0; 3, reported, for a null state; with async also 4 without memory
// or the code of a failed conversion, and nothing is posted then.
U_EXPORT U_Status U_DeferredReportingEnd(bool report, const char* fallbackText,
                                         U_DeferredState* state);
U_EXPORT U_Status U_DeferredReportingEndAsync(bool report, bool async, const char* fallbackText,
                                              U_DeferredState* state);

#endif
