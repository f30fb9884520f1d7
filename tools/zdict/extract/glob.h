// Patterns of names, with * for any bytes and ? for any byte.

#ifndef ZDICT_EXTRACT_GLOB_H
#define ZDICT_EXTRACT_GLOB_H

#include <string>

bool MatchesGlob(const std::string& name, const std::string& glob);

#endif
