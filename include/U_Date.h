// Dates and times, versions, and length-prefixed Pascal strings.
//
// A second count is the number of seconds since 1 January 1904, 00:00:00, in 32 bits. The last
// one is in February 2040.
//
//     boost::posix_time::ptime taken(boost::gregorian::date(2026, 3, 1));
//     U_u32 seconds = U_PtimeToSeconds(taken, U_SecondsType_AsIs);
//     U_UTF16String shown = U_SecondsToDateTimeString(seconds, U_DateType_Long,
//                                                     U_DateTimeDisplay_Date, false);
//     // "Sunday, March 1, 2026" in the locale en_US
//     U_UTF16String version = U_UTF16Version(0x04080600, true); // "9.0"
//
// Pointers must not be null, unless a comment says otherwise.
//
// Thread safety: thread-safe.

#ifndef U_DATE_H
#define U_DATE_H

#include <ctime>
#include <string>

#include <boost/date_time/posix_time/ptime.hpp>

#include "U_Types.h"

// The time zone of a second count, for conversions from and to a ptime.
enum U_SecondsType : U_i32
{
    U_SecondsType_Local = 0, // the count is local time, the ptime UTC
    U_SecondsType_AsIs = 1   // count and ptime are in the same zone; any other value means the same
};

// The form of a date. Any other value is the system's default form.
enum U_DateType : U_i32
{
    U_DateType_Short = 0,      // in numbers
    U_DateType_Long = 1,       // with the names of day and month
    U_DateType_Abbreviated = 2 // the long form, with names of three letters or as the locale
                               // shortens them
};

// The parts of the text. A value below these counts as the first, a value above as the last.
enum U_DateTimeDisplay : U_i32
{
    U_DateTimeDisplay_Date = 0,
    U_DateTimeDisplay_DateAndTime = 1, // with ", " between
    U_DateTimeDisplay_Time = 2
};

// Stores the local time, and the name of the time zone: the whole hours from UTC without
// daylight saving, as "PST", "MST", "CST", "EST", "GMT", or "-11" to "+12".
//
// - A zone further east than "+12" is named by its hours from the other side.
// - Minutes are ignored: a zone of half hours may have the name of either neighbour.
//
// Returns: 0; 3 for a null `out`; or an error code, reported, if the system's time is not
//   available. On failure both arguments are unchanged.
U_EXPORT U_Status U_DateTimeZoneNow(std::tm* out, std::string& zone);

// Converts a time to a second count and drops the fraction. With U_SecondsType_Local the zone's
// offset at that time is added. To a time before 1970 no offset is added.
//
// Returns: the count modulo 2^32, for a time outside the range of second counts.
// Throws: the exceptions of boost for a time that the system cannot convert.
// REQUIRES: `time` is not a special value.
U_EXPORT U_u32 U_PtimeToSeconds(const boost::posix_time::ptime& time, U_SecondsType type);

// Converts a second count to a time. With U_SecondsType_Local the zone's offset of today is
// subtracted, not the offset of that date: if daylight saving differs, a date that was converted
// to a count and back is an hour off.
//
// Throws: std::runtime_error if the system's time is not available.
U_EXPORT boost::posix_time::ptime U_SecondsToPtime(U_u32 seconds, U_SecondsType type);

// Writes a second count in the form and the digits of the user's locale, without a conversion
// between time zones. A part that the system cannot write is omitted.
//
// - Counts are shown correctly through 19 January 2038, 03:14:07. Later counts are shown as
//   dates from 1901 to 1903.
// - Before the first birth, and if the system does not list the locale's date forms, an
//   abbreviated date has the form "Wed, Dec 3, 2025", with the locale's names.
//
// Throws: std::bad_alloc.
// Failures:
// - A thread reads a form of the locale at its first text in that form, which `type`, `display`
//   and `showSeconds` choose. Without a megabyte of memory for that, the text is empty.
// - On a system whose dates are those of ICU, memory that runs out while the thread reads a form
//   may end the process: ICU crashes. A host that must continue without memory writes one text in
//   each form that a thread uses, at the start of the thread. The thread reads no form again until
//   the user's locale changes.
U_EXPORT U_UTF16String U_SecondsToDateTimeString(U_u32 seconds, U_DateType type,
                                                 U_DateTimeDisplay display, bool showSeconds);

// Writes a version word as text: "9.0.1x5", then the suffix of a debug build unless
// `noDebugSuffix` is set, then, unless the architecture is 0, a space and its name.
//
//   bits 0 to 8    build, shown only with a stage letter
//   bits 9, 10     stage: 3 shows nothing, any other the letter x
//   bits 11 to 14  bug fix; 0 is not shown
//   bits 15 to 18  minor version
//   bits 19 to 21  lower part of the major version
//   bits 22 to 25  architecture: 0 none, 3 Windows, 10 Macintosh PPC, 11 Macintosh
//                  Intel, 12 Windows 64, 13 Macintosh 64, any other is unknown
//   bits 26 to 29  upper part of the major version
//   bit 31         debug build
//
// Throws: std::bad_alloc.
U_EXPORT U_UTF16String U_UTF16Version(U_u32 version, bool noDebugSuffix);

// Writes a version word in the active code page, with the name in brackets: "9.0 (Windows)".
// `out` has room for 256 bytes. A suffix is cut at a character to at most 15 bytes, a name to
// at most 199 bytes.
//
// Returns: 0; 3 for a null `out`; or the code of a suffix or name that cannot be resolved, which
//   is omitted.
U_EXPORT U_Status U_AsciiVersion(U_u32 version, bool noDebugSuffix, char* out);

// Convert between null-terminated text in the active code page and Pascal strings: a count of
// one byte and that many bytes, without a terminator. `bufferSize` is the size of `out` in
// bytes. `source` and `out` may be the same.
//
// Returns: 0; 3 for a null pointer; or 10, reported, for a text that is too long:
// - U_CopyCtoPString then stores the text that fits. The size of `out` cuts at a character, the
//   limit of 255 bytes anywhere, also within a character. All of `out` may be overwritten.
// - U_CopyPtoCString then stores nothing.
U_EXPORT U_Status U_CopyCtoPString(const char* source, U_i32 bufferSize, unsigned char* out);
U_EXPORT U_Status U_CopyPtoCString(const unsigned char* source, U_i32 bufferSize, char* out);

// Copies a Pascal string, at most 256 bytes. Source and destination may overlap.
//
// Returns: `out`.
U_EXPORT void* U_Pstrcpy(void* out, const unsigned char* source);

#endif
