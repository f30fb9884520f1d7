// The text form of a dictionary: lines of key=value, in double quotes or not.

#ifndef HOLLIN_PRIVATE_TEXT_FORM_H
#define HOLLIN_PRIVATE_TEXT_FORM_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "hollin_private/ByteRun.h"

namespace hollin_private
{
// The most that a text's 32-bit length in bytes can tell, in units. Loads leave
// out the line of a longer key or value.
const std::size_t kLongestText = 0x7FFFFFFF;

// What a line holds: a key of one byte per unit, and a value in the notations of
// text files, not expanded.
struct TextEntry
{
    std::vector<unsigned char> mKey;
    const std::uint16_t* mWrittenKey = nullptr; // the key in the line, unit for byte
    std::vector<std::uint16_t> mValue;
};

// Fills in *entry, whose buffers are used anew. False if the entry begins with a
// dollar sign that doesn't begin "$$$".
bool ParseTextLine(const std::uint16_t* line, std::size_t length, TextEntry* entry);

// Appends the line of an entry. A line end and a double quote in the value are
// escaped, nothing else is. The value is UTF-16, at any address.
void AppendTextLine(const ByteRun& key, const ByteRun& value, std::vector<std::uint16_t>& text);
} // namespace hollin_private

#endif
