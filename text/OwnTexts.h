// The library's own texts, and messages made of them for the report path.

#ifndef TEXT_OWNTEXTS_H
#define TEXT_OWNTEXTS_H

#include <cstddef>

#include "U_Types.h"

// The numbers of the texts: kTextNone, kTextWarning and so on.
enum OwnText : U_u32
{
#define ROW(number, name, text) kText##name,
#include "text/OwnTexts.inc"
#undef ROW
    kOwnTextCount
};

// Returns a text in the current language; in English if the look-up fails, as without memory.
const char* Up_StringOrEnglish(OwnText text);

// Returns the plain English text.
const char* Up_EnglishString(OwnText text);

// Returns the text's ZString, for a look-up in UTF-16.
const char* Up_ZStringOf(OwnText text);

// Formats a text as printf does, with values for its %s and %d fields, into `out`. Writes at
// most `size` bytes and at most U_ReportTextSize, cut at a character boundary. A value may be
// in `out` itself. A translation whose fields differ from those of the English text is replaced
// by the English text. Allocates nothing once the text was looked up, so that the function
// works without memory.
void Up_FormatString(OwnText text, char* out, std::size_t size, ...);

// Returns the format that Up_FormatString uses.
const char* Up_FormatOf(OwnText text);

// Fills `out` like Up_FormatString, with a format that is none of the texts.
#if defined(__GNUC__)
__attribute__((format(printf, 3, 4)))
#endif
void Up_FormatText(char* out, std::size_t size, const char* format, ...);

#endif
