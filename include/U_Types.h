// Types that every family shares: fixed-width integers, strings, status codes
// and the export macro.

#ifndef U_TYPES_H
#define U_TYPES_H

#include <krobase/text.h>

#if defined(_WIN32)
#if defined(U_BUILDING)
#define U_EXPORT __declspec(dllexport)
#else
#define U_EXPORT __declspec(dllimport)
#endif
#else
#define U_EXPORT __attribute__((visibility("default")))
#endif

typedef int U_i32;
typedef unsigned int U_u32;
typedef unsigned short U_u16;
typedef unsigned char U_u8;
typedef long long U_i64; // never long, whose width differs between platforms
typedef unsigned long long U_u64;

// 0 is success. A code that isn't 0 has already been reported, or is meant to
// be silent; a caller doesn't report it again.
typedef U_i32 U_Status;

// The library itself gives 1 to 4, 10, 14 and 5889, and where a header says so codes of
// its family, the heap's or the system's; the others are for the modules above it.
// U_GetStatusText (U_Report.h) returns the text of a status code. An errno and a family's own
// codes share their numbers with status codes and have no text there.
enum : U_Status
{
    U_Err_AlreadyTold = 1,        // the user has seen what failed: no further word
    U_Err_DamagedGlobals = 2,     // somebody wrote over the library's record
    U_Err_BadParameter = 3,       // or a verification that failed
    U_Err_OutOfMemory = 4,        // also where a limit of the budget refuses
    U_Err_Unimplemented = 5,      // nobody has written that yet
    U_Err_BadResource = 6,        // one is missing or damaged
    U_Err_HeaderOutOfDate = 7,    // the head of some data is of an older form
    U_Err_UnsupportedHere = 8,    // the environment can't do that
    U_Err_UnsupportedVersion = 9, // a document's, that is
    U_Err_OutOfRange = 10,        // an internal value is
    U_Err_BadDeath = 11,          // multiple or corrupted
    U_Err_MultipleBirths = 12,    // while the library is alive
    U_Err_UnknownException = 14,  // one that no translator knows
    U_Err_NoGlobals = 5889        // the library isn't alive
};

// How grave a report is, one bit each: masks choose among them.
enum : U_u16
{
    U_Sev_MESSAGE = 1, // shown as it is
    U_Sev_INFO = 2,
    U_Sev_WARNING = 4,
    U_Sev_PROBLEM = 8,
    U_Sev_FATAL = 16,  // a report of it makes the process die
    U_Sev_DETAIL = 32, // belongs to another report and isn't counted
    U_Sev_DEBUG = 64,
    U_Sev_LEAK = 128
};

typedef krobase::utility::UTF16String U_UTF16String;
typedef krobase::utility::UTF8String U_UTF8String;

#endif
