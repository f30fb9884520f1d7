// The languages of files: by the name of a locale, or of a file.

#ifndef ZDICT_LINT_LANGUAGES_H
#define ZDICT_LINT_LANGUAGES_H

#include <string>

// Returns the locale that a file's name ends with, before its ending: "de" for texts/app_de.txt,
// "zh_TW" for zh_TW.txt. Returns an empty text if the name has none that is known.
std::string LocaleOfFile(const std::string& fileName);

// Returns the code page in which systems show texts of the locale, or 0 for an unknown language.
unsigned int CodePageOfLocale(const std::string& locale);

#endif
