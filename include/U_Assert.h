// Failed checks, and errors that tests inject.
//
//     const auto at = [](int index) -> U_Status {
//         if (index >= 0)
//             return 0;
//         U_ReportFailedVerification(0x10002, __LINE__, "index >= 0", nullptr);
//         return U_Err_BadParameter;
//     };
//     at(-1);
//
// Thread safety: all functions may be called on any thread, also before birth and after death.

#ifndef U_ASSERT_H
#define U_ASSERT_H

#include "U_Types.h"

// Reports a failed run-time check as a U_Sev_PROBLEM. `detail` is the checked condition and may
// be null. If `message` is null, the line is the message. The caller then returns or throws a
// code, usually 3. A translation without a place for the message is replaced by the English
// text. A "^2" in `detail` is replaced by the message, as by U_SubString (U_Format.h).
//
// Returns: the result of Up_ReportErrString (U_Report.h).
U_EXPORT U_Status U_ReportFailedVerification(U_u32 location, int line, const char* detail,
                                             const char* message);

// Decides whether an operation fails on purpose. Receives the two values of U_RandErr and the
// value of U_SetRandErrFilter. Runs on the thread that calls U_RandErr, with no lock held.
typedef bool (*U_RandErrFilter)(U_u32 first, U_u32 second, U_u32 value);

// Installs the filter of the process. A null filter ends the injection of errors.
//
// Returns: 0.
U_EXPORT U_Status U_SetRandErrFilter(U_RandErrFilter filter, U_u32 value);

// Returns true if the filter wants the caller to fail; false without a filter.
U_EXPORT bool U_RandErr(U_u32 first, U_u32 second);

// For close neighbours.

// Shows a failed assertion to the developer, and breaks into the debugger if one is attached and
// the developer wants that. Stores in *flag, which may be null, whether the caller should skip
// this assertion from now on.
//
// Returns: 0.
// Failures: if the dialog fails, the program continues; a std::exception other than
// std::bad_alloc is reported. An exception that is neither an int nor a std::exception passes
// through.
U_EXPORT U_Status Up_AssertImpl(const char* expression, const char* file, int line, bool* flag);

// Reports a failed assertion as a U_Sev_PROBLEM.
//
// Returns: 0. An exception that is neither an int nor a std::exception passes through.
U_EXPORT U_Status Up_AssertFailed(const char* expression, const char* file, int line);

// Writes the text and a line feed for the debugger, as two pieces: another thread may write its
// text between them.
U_EXPORT void Up_DebugCStr(const char* text);

#endif
