// Texts of a pseudo-locale: English that everybody can read, in letters with accents, longer, and
// in brackets. It shows texts that aren't looked up, cut texts, and letters that are lost.

#ifndef ZDICT_PSEUDO_PSEUDO_TEXT_H
#define ZDICT_PSEUDO_PSEUDO_TEXT_H

#include <string>

#include "lint/text_scanner.h"

enum class Direction
{
    kLeftToRight,
    kRightToLeft // words are written from right to left, by marks around them
};

// Returns the line of the pseudo-locale, without a line end.
//
// Parameters, notations, markers and the note are kept as they are written, and so are addresses,
// options of command lines, tags and entities, shortcuts, and the blanks at both ends. A text
// without letters is kept. A text whose note has a max-length gets as much of the rest as it has
// room for.
std::u16string PseudoLine(const RawLine& line, Direction direction);

#endif
