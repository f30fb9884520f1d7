// Texts in exchange files.
//
// An exchange file has each text as a look-up finds it, in UTF-8 without NULs. NULs and halves of
// surrogate pairs are written by number, as "#{0}" and "#{D83D}". A text that holds such a
// sequence by itself gets "{23}" after the "#", and one "{23}" more if the sequence has one
// already. Any other text is not changed, and both directions lose nothing.

#ifndef ZDICT_EXCHANGE_EXCHANGE_TEXT_H
#define ZDICT_EXCHANGE_EXCHANGE_TEXT_H

#include <string>
#include <string_view>

#include <hollin/ZString.h>

std::string ToExchange(const hollin::ZString& text);

// Stores the text. Returns false for two numbered halves that make a pair, which ToExchange never
// writes.
//
// REQUIRES: `text` is UTF-8 without NULs.
bool FromExchange(const std::string& text, hollin::ZString* out);

// Appends a code point, as an inline element of XML names it. Returns false for a number that is
// none.
bool AppendCodePoint(unsigned long number, std::string* text);

bool IsUTF8(std::string_view text);

#endif
