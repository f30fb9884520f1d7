// The languages that the program ships texts in.

#ifndef FILECACHE_LANGUAGE_H
#define FILECACHE_LANGUAGE_H

#include <string>
#include <system_error>

#include "message.h"

struct Language
{
    const char* name;   // on the command line
    const char* locale; // for the marks in numbers
};

// Null if there are no texts in that language.
const Language* FindLanguage(const std::string& name);

// Stores the path of the language's dictionary, from the folder of the program's file; empty for
// English, which needs none. Returns a message with the reason if `program` is no absolute path.
// Then there is no path: a relative path would load a dictionary from the current folder.
Message ShippedDictionary(const Language& language, const std::string& program,
                          const std::error_code& reason, std::string* path);

#endif
