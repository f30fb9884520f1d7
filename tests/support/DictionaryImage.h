// Dictionary images of entries with texts as literals.

#ifndef TESTS_SUPPORT_DICTIONARY_IMAGE_H
#define TESTS_SUPPORT_DICTIONARY_IMAGE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/image_form.h"

struct ImageEntry
{
    std::string key; // empty for a removed slot of version 2
    std::u16string value;
    std::u16string comment = {};
};

const ImageForm kKeyless = {7, false, "en_US", 0, 'N'};

// Version 2. The options have no entries.
ImageBuilder BuildFlat(const std::vector<ImageEntry>& entries, ImageForm options = {});

// Version 1.0 and 1.5. Values are UTF-16 if the flag is 0, and else the low
// bytes of their units.
ImageBuilder BuildEntries(const std::vector<ImageEntry>& entries, std::uint8_t textFlag = 0);
ImageBuilder BuildLengthTable(const std::vector<ImageEntry>& entries, std::uint8_t textFlag = 0);

// A text in UTF-16 with a byte-order mark.
std::string TextBytes(const std::u16string& text, bool bigEndian = false);

// An image for U_ZStringSetCurrentDictionary: whole units, and a size in bytes.
struct DictionaryImage
{
    explicit DictionaryImage(const std::string& image = {});

    std::vector<std::uint16_t> units;
    std::size_t size;
};

// The binary form of version 2.7 with the locale de_DE.
DictionaryImage BinaryImage(const std::vector<ImageEntry>& entries);

// The text form in UTF-16, of lines.
DictionaryImage TextImage(const std::u16string& lines);

#endif
