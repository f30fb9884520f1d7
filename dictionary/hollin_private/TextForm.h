// The text form of a dictionary: lines of key=value, with or without double quotes.

#ifndef HOLLIN_PRIVATE_TEXT_FORM_H
#define HOLLIN_PRIVATE_TEXT_FORM_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "hollin_private/DictionaryImpl.h"

namespace hollin_private
{
// The longest key or value that is loaded, in units. Its length in bytes fits in 32 bits.
const std::size_t kLongestText = 0x7FFFFFFF;

struct TextEntry
{
    std::vector<unsigned char> mKey;            // one byte a unit
    const std::uint16_t* mWrittenKey = nullptr; // the units of the key, in the line
    std::vector<std::uint16_t> mValue;          // not expanded
};

// Fills in *entry, and reuses its buffers. Returns false if the entry begins with a dollar
// sign but not with "$$$".
bool ParseTextLine(const std::uint16_t* line, std::size_t length, TextEntry* entry);

// Appends the line of an entry. Only line ends and double quotes in the value are escaped.
// The value is UTF-16 and may be unaligned.
void AppendTextLine(const ByteRun& key, const ByteRun& value, std::vector<std::uint16_t>& text);

enum class TextSource
{
    kMemory,
    kStream // a line of only a byte-order mark is skipped
};

// Adds the entries of a text to a dictionary. A line that can't be stored is skipped and
// clears mGood.
void LoadText(DictionaryImpl& dictionary, const unsigned char* bytes, std::size_t size,
              TextSource source);
} // namespace hollin_private

#endif
