// Birth, death and run state.
//
// A host calls U_Birth once, on the thread that is to be its main and UI
// thread, before any other service, and U_Death once at the end. Both run with
// no other thread in the library. Between the two, any thread may call in; a
// new U_Birth may follow a U_Death. A birth within a life isn't refused: it makes a
// record, a heap and a table of hogs anew and leaves the old ones behind.

#ifndef U_LIFECYCLE_H
#define U_LIFECYCLE_H

#include "U_Types.h"

// What the host's mode is, in values of the host's own; the library only hands
// the answer on.
typedef U_i32 (*U_RunModeFunction)();

// Brings the library up. displayName is copied, up to 30 bytes, cut at a
// character. runMode may be null.
// Returns 0; 3 for a null name, with nothing done; 4 if the heap or the
// library's record can't be made; the system's errno if the memory log is on (the
// debug setting "MemoryYoYoLog") and its file can't be opened; otherwise the code of
// the step that failed.
// After any failure but 3 the calling thread stays registered as a main thread,
// unless there was no memory even for that, and the host is expected to end the
// process. Behind the making of the record a failure has been reported as fatal; one of
// the record itself, too, where the interaction mask of an earlier life stands.
// A log sink's std::exception fails the step that logs, with 14; the first line, "U
// Birth", may fail. What is neither an int nor a std::exception passes out of the
// steps, with what was made left in place.
U_EXPORT U_Status U_Birth(const char* displayName, U_RunModeFunction runMode);

// Shows the errors that are still posted, takes the library down and logs what is
// left in its heap. The calling thread stays registered as a main thread. Whatever a
// log sink or an alert presenter throws meanwhile, of any type, ends one step only,
// and the library is taken down all the same.
// Returns 0; 2 if the library's record is damaged, 5889 if it doesn't exist: then
// that is reported as fatal and nothing is torn down.
U_EXPORT U_Status U_Death();

// Whether the process is dying: a fatal error has been reported, or the
// library's record is damaged or missing, in which case it also beeps twice.
// It only asks. Any thread.
U_EXPORT bool U_Die();

// The result of the run-mode function given to U_Birth, 0 without one. Runs
// the function on the calling thread.
U_EXPORT U_i32 U_GetRunMode();

// Makes the system's default sound. Non-zero if it could be made. Any thread, at any
// time.
U_EXPORT U_i32 U_Beep();

#endif
