// The notes of the texts of lines, and the settings of the checks in them.

#ifndef ZDICT_LINT_TEXT_NOTES_H
#define ZDICT_LINT_TEXT_NOTES_H

#include <cstddef>

#include "exchange/note.h"
#include "lint/expanded_text.h"

// Returns the note after {{*COMMENT*}}, which may be empty.
Note NoteOf(const ExpandedText& text);

// Returns the number after "max-length:" in a comment of the note, or 0.
std::size_t LongestOf(const Note& note);

#endif
