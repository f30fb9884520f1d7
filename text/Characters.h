// Where characters begin and end in multibyte text of the active code page, for
// the string families. No byte behind the ones in question is looked at.

#ifndef TEXT_CHARACTERS_H
#define TEXT_CHARACTERS_H

#include <cstddef>

// The type of a byte, as U_CharByte tells it. text is a place where a character
// starts.
int ByteType(const char* text, std::size_t offset);

// The next place behind place where a character starts, the terminator at the
// latest. start is a place at or before it where one starts; place isn't the
// terminator.
const char* CharacterBehind(const char* start, const char* place);

// The length of the longest head of at most length bytes that ends behind a
// whole character.
std::size_t WholeCharacters(const char* text, std::size_t length);

// Terminates text behind that head.
void CutAtCharacter(char* text, std::size_t length);

#endif
