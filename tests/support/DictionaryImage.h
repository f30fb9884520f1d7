// Dictionary images made by hand, so that tests don't read what the library
// wrote itself.

#ifndef TESTS_SUPPORT_DICTIONARY_IMAGE_H
#define TESTS_SUPPORT_DICTIONARY_IMAGE_H

#include <string>
#include <vector>

#include "U_Types.h"

struct ImageEntry
{
    std::string key;
    std::u16string text;
};

// Images are runs of whole units, as U_ZStringSetCurrentDictionary takes them,
// and a size in bytes.
struct DictionaryImage
{
    std::vector<U_u16> units;
    size_t size;
};

// The binary form of version 2.7, in the machine's byte order.
DictionaryImage BinaryImage(const std::vector<ImageEntry>& entries);

// The text form in UTF-16, of lines.
DictionaryImage TextImage(const std::u16string& lines);

#endif
