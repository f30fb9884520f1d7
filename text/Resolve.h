// The resolution of one ZString.

#ifndef TEXT_RESOLVE_H
#define TEXT_RESOLVE_H

#include "U_Types.h"

// The text in the current language, or in English. zstring may be null. Any
// thread, also without a locale.
U_UTF16String ResolveZString(const char* zstring, bool forceEnglish);

#endif
