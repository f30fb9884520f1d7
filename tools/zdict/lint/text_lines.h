// Reads the lines of a text for commands that need them as they are written.

#ifndef ZDICT_LINT_TEXT_LINES_H
#define ZDICT_LINT_TEXT_LINES_H

#include <string>

#include "lint/line_checks.h"

// Throws: Failure for a text that loads would not read completely; each cause is reported.
LintedFile ReadLines(const std::string& name, CodePage codePage);

#endif
