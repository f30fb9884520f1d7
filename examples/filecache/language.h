// The languages that the program ships texts in.

#ifndef FILECACHE_LANGUAGE_H
#define FILECACHE_LANGUAGE_H

#include <string>

#include "texts.h"

struct Language
{
    const char* name;   // as the command line has it
    const char* locale; // whose marks numbers get
};

// Null if there are no texts in that language.
const Language* FindLanguage(const std::string& name);

// Stores the path of the language's dictionary, from the program's own folder; empty for
// English, which needs none. Returns what is wrong: without that folder there is no path,
// since a relative one would load a dictionary from any folder that the user is in.
// `program` is the system's link to the program's file.
Message ShippedDictionary(const Language& language, std::string* path,
                          const char* program = "/proc/self/exe");

#endif
