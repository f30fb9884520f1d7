// Dates and times, versions, and length-prefixed Pascal strings.
//
// A second count is the number of seconds since 1 January 1904, 00:00:00; it ends
// in February 2040. All operations may be called on any thread. Pointers mustn't be
// null unless told otherwise.

#ifndef U_DATE_H
#define U_DATE_H

#include <ctime>
#include <string>

#include <boost/date_time/posix_time/ptime.hpp>

#include "U_Types.h"

// What a second count is in, where a conversion asks for it.
enum U_SecondsType : U_i32
{
    U_SecondsType_Local = 0, // local time, while the ptime is UTC
    U_SecondsType_AsIs = 1   // as any other value: taken as it stands
};

// How a date is written. Any other value is the system's default form.
enum U_DateType : U_i32
{
    U_DateType_Short = 0,      // in numbers
    U_DateType_Long = 1,       // with the names of day and month
    U_DateType_Abbreviated = 2 // the long form with names of three letters or as the locale
                               // shortens them
};

// What is written. A value below these counts as the first, above as the last.
enum U_DateTimeDisplay : U_i32
{
    U_DateTimeDisplay_Date = 0,
    U_DateTimeDisplay_DateAndTime = 1, // with ", " between
    U_DateTimeDisplay_Time = 2
};

// Stores the local time and the zone by its whole hours from UTC without daylight
// saving: "PST", "MST", "CST", "EST", "GMT", or "-11" to "+12"; zones farther east
// count from the other side. Minutes are ignored, so a zone of half hours may show
// as either neighbour. Returns 0, 3 for a null out, or the code of a failure, which
// it reports, if the system's time can't be told; both are then left as they are.
U_EXPORT U_Status U_DateTimeZoneNow(std::tm* out, std::string& zone);

// A time as a second count, its fraction dropped. With U_SecondsType_Local time is
// UTC and the count local, with the zone's offset at that time; one before 1970 isn't
// converted. A time outside the range of second counts comes back into it modulo
// 2^32; time mustn't be a special value. Throws what boost throws for a time that the
// system can't convert.
U_EXPORT U_u32 U_PtimeToSeconds(const boost::posix_time::ptime& time, U_SecondsType type);

// The reverse. With U_SecondsType_Local the zone's offset of today is taken off, not
// that of the date, so a date in the other half of the year comes back an hour away.
// Throws std::runtime_error if the system's time can't be told.
U_EXPORT boost::posix_time::ptime U_SecondsToPtime(U_u32 seconds, U_SecondsType type);

// A second count for the user, in the form and the digits of the user's locale, and
// as it stands: no zone comes into it. What the system can't write is left out.
// Counts are shown through 19 January 2038, 03:14:07; from the second after that on
// as of 1901 to 1903. Before the first birth, and where the system doesn't tell the
// locale's forms, an abbreviated date is "Wed, Dec 3, 2025" in the names of the locale.
// Throws std::bad_alloc.
U_EXPORT U_UTF16String U_SecondsToDateTimeString(U_u32 seconds, U_DateType type,
                                                 U_DateTimeDisplay display, bool showSeconds);

// A version word:
//
//   bits 0 to 8    build, shown only with a stage letter
//   bits 9, 10     stage: 3 shows nothing, any other the letter x
//   bits 11 to 14  bug fix; 0 isn't shown
//   bits 15 to 18  minor version
//   bits 19 to 21  lower part of the major version
//   bits 22 to 25  architecture: 0 none, 3 Windows, 10 Macintosh PPC, 11 Macintosh
//                  Intel, 12 Windows 64, 13 Macintosh 64, any other is unknown
//   bits 26 to 29  upper part of the major version
//   bit 31         debug build
//
// As text: "9.0.1x5", then the suffix of a debug build unless noDebugSuffix, then,
// unless the architecture is 0, a space and its name. Throws std::bad_alloc.
U_EXPORT U_UTF16String U_UTF16Version(U_u32 version, bool noDebugSuffix);

// The same in the active code page, with the name in brackets: "9.0 (Windows)". out
// has room for 256 bytes; a suffix is cut at a character after 15, a name after 199.
// Returns 0, 3 for a null out, or the code of a text that couldn't be had, which is
// left out.
U_EXPORT U_Status U_AsciiVersion(U_u32 version, bool noDebugSuffix, char* out);

// A Pascal string is a byte count and that many bytes, without a terminator.

// From and to zero-terminated text in the active code page; bufferSize is the size of
// out in bytes, and source may be out. Return 0, 3 for a null pointer, or 10 for a
// text that is too long, which is reported. The first then stores what fits: cut at a
// character for out, and after 255 bytes wherever they end, also within a character. It
// may write all of out. The second stores nothing.
U_EXPORT U_Status U_CopyCtoPString(const char* source, U_i32 bufferSize, unsigned char* out);
U_EXPORT U_Status U_CopyPtoCString(const unsigned char* source, U_i32 bufferSize, char* out);

// Copies a Pascal string, up to 256 bytes, which may overlap. Returns out.
U_EXPORT void* U_Pstrcpy(void* out, const unsigned char* source);

#endif
