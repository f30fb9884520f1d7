// A line of the text form that brings back what was written.

#ifndef ZDICT_TEXT_LINE_H
#define ZDICT_TEXT_LINE_H

#include <cstdint>
#include <string>
#include <vector>

#include <hollin/ZString.h>

typedef std::vector<std::uint16_t> Units;

// Why the text form can't carry a key, as a clause; null if it can.
const char* KeyProblem(const std::string& key);

// Appends the line of a key that the text form can carry, with a line feed. What
// readers would change is written in a notation: a line end, a tab and a double
// quote by a backslash, anything else by its number, as in #{5E}. A caret in
// front of a digit stays, as readers leave parameters alone.
void AppendLine(const std::string& key, const hollin::ZString& text, Units* line);

#endif
