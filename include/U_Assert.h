// Assumptions that failed, and errors made on purpose. Any thread, also before
// birth and after death.

#ifndef U_ASSERT_H
#define U_ASSERT_H

#include "U_Types.h"

// Reports a run-time check that failed as a problem: what was checked (detail,
// may be null), and the message, or the line if that is null. What happens next
// is the caller's business; it mostly returns or throws 3. A translation that
// can't take the message is passed over for the English text. Returns what
// Up_ReportErrString does.
U_EXPORT U_Status U_ReportFailedVerification(U_u32 location, int line, const char* detail,
                                             const char* message);

// Decides whether an operation is to fail: sees both values of U_RandErr and the
// one that it was installed with. Runs on the asking thread with no lock held.
typedef bool (*U_RandErrFilter)(U_u32 first, U_u32 second, U_u32 value);

// Installs the filter for modules that let errors be injected; null ends that.
// Always 0.
U_EXPORT U_Status U_SetRandErrFilter(U_RandErrFilter filter, U_u32 value);

// Whether to fail on purpose; false without a filter.
U_EXPORT bool U_RandErr(U_u32 first, U_u32 second);

// For close neighbours.

// Shows a failed assertion to the developer and stops in the debugger if there
// is one and the developer wants it. *flag, which may be null, becomes whether to pass
// over this assertion from now on. Where the dialog fails the program goes on; an exception
// other than std::bad_alloc is reported. Always 0, but what is neither an int nor a std::exception
// passes through, here and below.
U_EXPORT U_Status Up_AssertImpl(const char* expression, const char* file, int line, bool* flag);

// Reports a failed assertion as a problem. Always 0.
U_EXPORT U_Status Up_AssertFailed(const char* expression, const char* file, int line);

// Writes a line for the debugger, as two pieces between which other threads'
// may come.
U_EXPORT void Up_DebugCStr(const char* text);

#endif
