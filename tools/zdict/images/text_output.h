// Texts as they are written for translators.

#ifndef ZDICT_IMAGES_TEXT_OUTPUT_H
#define ZDICT_IMAGES_TEXT_OUTPUT_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "images/entry_table.h"

// Returns why the text form can't carry a key, as a clause, or null if it can.
const char* KeyProblem(const std::string& key);

// Appends the line of an entry, with a line feed. A reader reads the same key and text.
//
// Characters that a reader would change are written as notations: line ends, tabs and
// double quotes with a backslash, a caret twice, all others by number, as #{5C}. A caret before a
// digit is not changed, as readers keep parameters.
//
// REQUIRES: KeyProblem(key) is null.
void AppendLine(std::string_view key, UnitView text, Units* line);

inline void AppendLine(std::string_view key, const hollin::ZString& text, Units* line)
{
    AppendLine(key, ViewOf(text), line);
}

// Appends the text of such a line.
void AppendText(UnitView text, Units* line);

inline void AppendText(const hollin::ZString& text, Units* line)
{
    AppendText(ViewOf(text), line);
}

// REQUIRES: the bytes are UTF-8.
hollin::ZString FromUTF8(const std::string& bytes);

// Half a pair of surrogates becomes U+FFFD.
std::string ToUTF8(const hollin::ZString& text);

#endif
