// Texts that the library itself needs again and again.

#ifndef TEXT_KEPT_TEXT_H
#define TEXT_KEPT_TEXT_H

#include "U_Types.h"

// The text in the current language, from what the calling thread keeps of its
// earlier look-ups: no lock is taken for a text that it has asked for before in
// the same language. zstring is a literal, since its address tells it. Any
// thread, also without a locale; without memory to keep a text it is looked up
// afresh. A new that fails meanwhile isn't reported.
U_UTF16String KeptText(const char* zstring);

#endif
