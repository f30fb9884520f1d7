// Finds the lines in which no check of lines finds anything, so that a large text is checked at
// the speed of a search.

#ifndef ZDICT_LINT_PLAIN_LINE_H
#define ZDICT_LINT_PLAIN_LINE_H

#include <string_view>

// Returns whether quotes enclose a sound key after "$$$", and a text without notations, apart from
// line ends, tabs, quotes and places, each place once and without a gap. The bytes are those of
// any code page in which ASCII is ASCII.
bool IsPlainLine(std::string_view line);

#endif
