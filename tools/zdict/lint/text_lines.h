// Reads the lines of a text for commands that need them as they are written.

#ifndef ZDICT_LINT_TEXT_LINES_H
#define ZDICT_LINT_TEXT_LINES_H

#include <string>

#include "lint/line_checks.h"

// Returns a text of an image, in UTF-8, with the comments as notes. A text is returned as it is.
//
// Throws: Failure for an image that no text can carry.
InputFile AsText(InputFile file, CodePage codePage);

// Reads a text, or the text of an image.
//
// Throws: Failure for a text that loads would not read completely; each cause is reported.
LintedFile ReadLines(const std::string& name, CodePage codePage);

#endif
