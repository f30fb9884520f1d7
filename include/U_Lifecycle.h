// Birth, death and run state.
//
// A host calls U_Birth once, on the thread that becomes its main and UI thread, before any other
// service, and U_Death once at the end.
//
//     if (U_Birth("Host", nullptr) == 0)
//     {
//         // work, on any threads
//         U_Death(); // no other thread is in the library any more
//     }
//     // after any other result the host ends the process
//
// Thread safety: no other thread is in the library during U_Birth and U_Death. Between the two,
// any thread may call the library. A new U_Birth may follow a U_Death.
//
// Failures: a birth within a life is not refused. It makes a new record, heap and table of hogs,
// and the old ones leak.

#ifndef U_LIFECYCLE_H
#define U_LIFECYCLE_H

#include "U_Types.h"

// Returns the run mode of the host. The values are the host's own: the library only passes them
// on.
typedef U_i32 (*U_RunModeFunction)();

// Starts the library and registers the calling thread as a main thread. `displayName` is copied,
// at most 30 bytes, cut at a character boundary. `runMode` may be null.
//
// Returns:
// - 0;
// - 3 for a null name, with nothing done;
// - 4 if the heap or the library's record cannot be made;
// - the errno of the system, if the memory log is on (the debug setting "MemoryYoYoLog") and its
//   file cannot be opened; U_GetMemoryLogPath (U_MemServices.h) returns the path and this code;
// - otherwise the code of the step that failed.
//
// Failures:
// - After any failure but 3 the host is expected to end the process. The calling thread stays
//   registered as a main thread, if there was memory for the registration.
// - A failure after the record was made has been reported as fatal. A failure to make the record
//   is reported too, if the interaction mask of an earlier life is set.
// - A std::exception of a log sink fails the step that logs, with 14. A failure of the first line,
//   "U Birth", is ignored.
// - An exception that is neither an int nor a std::exception passes through. The objects of the
//   earlier steps are kept.
U_EXPORT U_Status U_Birth(const char* displayName, U_RunModeFunction runMode);

// Shows the errors that are still posted, stops the library and logs the blocks that are left in
// its heap. The calling thread stays registered as a main thread.
//
// Returns: 0; 2 if the library's record is damaged; 5889 if there is no record. After 2 and 5889
// the failure has been reported as fatal, and the library is unchanged.
// Failures: an exception of a log sink or an alert presenter, of any type, ends one step only. The
// library is stopped in any case.
U_EXPORT U_Status U_Death();

// Returns true if the process is dying: a fatal error has been reported, or the library's record
// is damaged or missing. Beeps twice if the record is damaged or missing. Changes nothing.
U_EXPORT bool U_Die();

// Returns the result of the function that was passed to U_Birth as `runMode`, 0 without one. Calls
// the function on the calling thread.
U_EXPORT U_i32 U_GetRunMode();

// Plays the system's default sound. POSIX systems ring the bell of the terminal, if stderr is one.
//
// Returns: non-zero if the sound was played, or if there is no terminal.
// Thread safety: may be called on any thread, also before birth and after death.
U_EXPORT U_i32 U_Beep();

#endif
