// Types that all families share: fixed-width integers, strings, status codes, severities and the
// export macro.
//
//     const U_Status failure = U_Err_OutOfMemory; // already reported
//     const bool hasFailed = failure != 0;        // true
//     const U_u16 shown = U_Sev_PROBLEM | U_Sev_FATAL; // a mask of severities
//     const U_UTF16String name(3, 'a');

#ifndef U_TYPES_H
#define U_TYPES_H

#include <krobase/text.h>

// On a declaration: the library exports the function or the class.
#if defined(_WIN32)
#if defined(U_BUILDING)
#define U_EXPORT __declspec(dllexport)
#else
#define U_EXPORT __declspec(dllimport)
#endif
#else
#define U_EXPORT __attribute__((visibility("default")))
#endif

// Integers with a sign (i) or without (u), of as many bits.
typedef int U_i32;
typedef unsigned int U_u32;
typedef unsigned short U_u16;
typedef unsigned char U_u8;
typedef long long U_i64; // never long, whose width differs between platforms
typedef unsigned long long U_u64;

// 0 is success. Any other code has already been reported or is meant to be silent: a caller does
// not report it again.
typedef U_i32 U_Status;

// The library itself returns 1 to 4, 10, 14 and 5889, and, if a header says so, codes of its
// family, of the heap or of the system. The others are for the modules above the library.
// U_GetStatusText (U_Report.h) returns the text of a status code. The numbers of an errno and of a
// family's own codes may equal those of status codes; they have no text there.
enum : U_Status
{
    U_Err_AlreadyTold = 1,        // the failure was shown to the user: no further report
    U_Err_DamagedGlobals = 2,     // the library's record was overwritten
    U_Err_BadParameter = 3,       // also a failed verification
    U_Err_OutOfMemory = 4,        // also a block that a limit of the budget refuses
    U_Err_Unimplemented = 5,      // the function is not implemented
    U_Err_BadResource = 6,        // a resource is missing or damaged
    U_Err_HeaderOutOfDate = 7,    // the header of some data has an older format
    U_Err_UnsupportedHere = 8,    // the environment does not support the operation
    U_Err_UnsupportedVersion = 9, // of a document
    U_Err_OutOfRange = 10,        // an internal value is out of range
    U_Err_BadDeath = 11,          // multiple or corrupted death
    U_Err_MultipleBirths = 12,    // a birth while the library is alive
    U_Err_UnknownException = 14,  // no translator recognises the exception
    U_Err_NoGlobals = 5889        // the library is not alive
};

// The severity of a report, one bit each, so that masks select severities.
enum : U_u16
{
    U_Sev_MESSAGE = 1, // shown without a prefix
    U_Sev_INFO = 2,
    U_Sev_WARNING = 4, // the operation went on
    U_Sev_PROBLEM = 8, // the operation failed
    U_Sev_FATAL = 16,  // a fatal report makes the process die
    U_Sev_DETAIL = 32, // belongs to another report and is not counted
    U_Sev_DEBUG = 64,
    U_Sev_LEAK = 128
};

// Strings of UTF-16 units and of bytes of UTF-8. Small strings come from the small-block allocator.
typedef krobase::utility::UTF16String U_UTF16String;
typedef krobase::utility::UTF8String U_UTF8String;

#endif
