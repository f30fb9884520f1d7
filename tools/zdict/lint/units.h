// Small operations on units of UTF-16.

#ifndef ZDICT_LINT_UNITS_H
#define ZDICT_LINT_UNITS_H

#include <cstddef>
#include <string>
#include <string_view>

// Half a pair of surrogates becomes U+FFFD.
std::string UTF8Of(std::u16string_view units);

// Malformed bytes become U+FFFD.
std::u16string UnitsOf(const std::string& text);

// Returns the units in double quotes, cut if they are long.
std::string QuotedUnits(std::u16string_view units);

// A blank, a tab, a line end, or a space of another width.
bool IsBlank(char16_t unit);

// Returns how many units at the head, or at the end, are blanks.
std::size_t BlankHead(std::u16string_view text);
std::size_t BlankEnd(std::u16string_view text);

// Returns whether a unit may be a part of a word: a letter of any script, but also other
// characters beyond Latin 1.
bool IsWordUnit(char16_t unit);

// Returns the count of characters: a pair of surrogates is one.
std::size_t CountCharacters(std::u16string_view text);

#endif
