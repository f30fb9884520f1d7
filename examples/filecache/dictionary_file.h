// The dictionary that the program's texts are looked up in.

#ifndef FILECACHE_DICTIONARY_FILE_H
#define FILECACHE_DICTIONARY_FILE_H

#include <cstddef>
#include <string>
#include <vector>

#include <U_Types.h>

#include "texts.h"

// The library may point into the file's bytes, so this outlives it.
class DictionaryFile
{
public:
    // Reads the file and looks it over. Returns what is wrong with it.
    Message Read(const std::string& path);

    // Hands a file that was read to the library, after its birth. Returns the
    // library's error, 0 if there is none or no file was read.
    U_Status Use();

private:
    std::vector<U_u16> mImage;
    size_t mSize = 0; // in bytes
};

#endif
