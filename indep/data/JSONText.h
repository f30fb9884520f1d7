// Texts as values and as JSON literals, for the variant and for trees of it.

#ifndef INDEP_DATA_JSON_TEXT_H
#define INDEP_DATA_JSON_TEXT_H

#include <string_view>

#include "U_Types.h"

inline void AppendASCII(std::string_view ascii, U_UTF16String* text)
{
    text->append(ascii.begin(), ascii.end());
}

// The number that a text reads as, 0 if it is none. As an integer "TRUE" and
// "true" are 1.
U_i64 IntegerInText(const U_UTF16String& text);
double DoubleInText(const U_UTF16String& text);

// The text that a JSON string literal stands for. Throws boost::bad_any_cast if
// there is any other text from first to last.
U_UTF16String ReadJSONString(const U_u16* first, const U_u16* last);

// Appends the literal of a text. Half of a surrogate pair becomes U+FFFD.
void AppendJSONString(const U_UTF16String& text, U_UTF16String* json);

#endif
