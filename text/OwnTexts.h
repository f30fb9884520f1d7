// Messages made of the library's own texts, for the report path.

#ifndef TEXT_OWNTEXTS_H
#define TEXT_OWNTEXTS_H

#include <cstddef>

#include "U_Types.h"

// The numbers of the library's own texts: kTextNone, kTextWarning and so on.
enum OwnText : U_u32
{
#define ROW(number, name, text) kText##name,
#include "text/OwnTexts.inc"
#undef ROW
    kOwnTextCount
};

// Formats the text with its %s and %d fields filled in, as printf does,
// into a buffer of size bytes, at most U_ReportTextSize of them; cut at a
// character. The values may stand in the buffer themselves. A translation whose
// fields aren't those of the English text is passed over for that. Allocates
// nothing once the text has been resolved: it serves where memory is out.
void Up_FormatString(char* out, std::size_t size, OwnText text, ...);

// The format that Up_FormatString uses.
const char* Up_FormatOf(OwnText text);

// The same with a format that isn't one of the texts.
#if defined(__GNUC__)
__attribute__((format(printf, 3, 4)))
#endif
void Up_FormatText(char* out, std::size_t size, const char* format, ...);

// A text in the current language, or in English if it can't be looked up, as
// without memory.
const char* Up_StringOrEnglish(OwnText text);

// The plain English text.
const char* Up_EnglishString(OwnText text);

// The ZString of a text, for those who want it in UTF-16.
const char* Up_ZStringOf(OwnText text);

#endif
