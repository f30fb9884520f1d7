// The application log. A line has a level, a category and a tag; level 0 is the most important.
// platform/control.h has the sink of the lines.
//
//     WRIL_sprintf(10, "host", "Start", "%d modules", 3);
//
// Thread safety: all functions may be called on any thread.
//
// Throws: the exceptions of the sink.

#ifndef WRIL_WRIL_H
#define WRIL_WRIL_H

#include <string>

#include <platform/base/export.h>

// Logs a line. Null texts are allowed.
PLATFORM_EXPORT void WRIL_Log(int level, const char* category, const char* tag, const char* text);

// Logs a line with a printf format, whatever its length.
//
// Failures:
// - without memory a line of 512 bytes or more is cut to 511 bytes;
// - arguments that cannot be formatted leave the format itself as the text.
#if defined(__GNUC__)
__attribute__((format(printf, 4, 5)))
#endif
PLATFORM_EXPORT void
WRIL_sprintf(int level, const char* category, const char* tag, const char* format, ...);

// Returns "where: text", the form in which lines show a message with its origin. A null text
// counts as empty.
//
// Throws: std::bad_alloc.
PLATFORM_EXPORT std::string WRIL_convertMesg(const char* where, const char* text);

#endif
