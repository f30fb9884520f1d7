// Warnings of commands that load a text.

#ifndef ZDICT_LINT_WARNINGS_H
#define ZDICT_LINT_WARNINGS_H

#include "files.h"
#include "images/code_page.h"
#include "lint/checks.h"

// Reports what the checks without an English text find, apart from the mistakes that a load
// reports.
//
// Throws: Failure for a file that hasn't the text form.
void WarnAboutText(const InputFile& file, CodePage codePage, CheckSet checks);

// Reports the lines of a loaded text that have no "=", and those that have the key of an earlier
// line, as far as `checks` has these checks.
void WarnAboutDoubts(const InputFile& file, CodePage codePage, const CheckSet& checks);

#endif
