// The application log. A line has a level (0 is the most important), a
// category and a tag. Any thread.

#ifndef WRIL_WRIL_H
#define WRIL_WRIL_H

#include <string>

#include <platform/base/export.h>

PLATFORM_EXPORT void WRIL_Log(int level, const char* category, const char* tag, const char* text);

// The same with a printf format; a line of any length is written whole.
#if defined(__GNUC__)
__attribute__((format(printf, 4, 5)))
#endif
PLATFORM_EXPORT void
WRIL_sprintf(int level, const char* category, const char* tag, const char* format, ...);

// The text of one message and where it comes from, as lines show it.
PLATFORM_EXPORT std::string WRIL_convertMesg(const char* where, const char* text);

#endif
