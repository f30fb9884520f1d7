// The languages that the program ships texts in.

#ifndef FILECACHE_LANGUAGE_H
#define FILECACHE_LANGUAGE_H

#include <string>

struct Language
{
    const char* name;   // as the command line has it
    const char* locale; // whose marks numbers get
};

// Null if there are no texts in that language.
const Language* FindLanguage(const std::string& name);

// The path of the language's dictionary, wherever the program has been put; empty
// for English, which needs none.
std::string ShippedDictionary(const Language& language);

#endif
