// The bytes of a string literal.

#ifndef ZDICT_EXTRACT_LITERAL_H
#define ZDICT_EXTRACT_LITERAL_H

#include <string>

#include "extract/lexer.h"

// Appends the bytes that a terminated narrow literal has in a program whose encodings are UTF-8.
// Returns null, or a clause that names what is wrong; the bytes before that are appended then.
const char* AppendLiteral(const Token& literal, std::string* bytes);

#endif
