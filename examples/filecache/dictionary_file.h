// The dictionary of the texts that the program shows.

#ifndef FILECACHE_DICTIONARY_FILE_H
#define FILECACHE_DICTIONARY_FILE_H

#include <cstddef>
#include <string>
#include <vector>

#include <U_Types.h>

#include "message.h"

// REQUIRES: outlives the library, which may point into the bytes of the file.
class DictionaryFile
{
public:
    // Reads and checks the file. Returns a message if the file is damaged or cannot be read.
    Message Read(const std::string& path);

    // Loads the dictionary into the library, after birth. Returns the library's error, or 0,
    // also if no file was read.
    U_Status Use();

private:
    std::vector<U_u16> mImage;
    size_t mSize = 0; // in bytes
};

#endif
