#include "lint/plain_line.h"

#include <cstddef>

namespace
{
const std::string_view kOpening = "\"$$$";
const std::size_t kLongestPlain = 30000; // bytes; any image can hold the text

// Returns the digit of a place such as ^^1 or ^^L2 at the head, and its length, or 0.
unsigned int PlaceAt(std::string_view text, std::size_t* length)
{
    const bool hasLetter = text.size() > 2 && text[2] == 'L';
    const std::size_t digit = hasLetter ? 3 : 2;
    if (text.size() <= digit || text[1] != '^' || text[digit] < '1' || text[digit] > '9')
        return 0;
    *length = digit + 1;
    return static_cast<unsigned int>(text[digit] - '0');
}

bool IsPlainEscape(char byte)
{
    return byte == 'n' || byte == 'r' || byte == 't' || byte == '"';
}

bool IsPlainText(std::string_view text)
{
    unsigned int places = 0; // a bit for each
    for (std::size_t at = 0; at != text.size();)
    {
        std::size_t length = 1;
        const char byte = text[at];
        if (byte == '"' || byte == '{' || byte == '\r' || byte == 0)
            return false;
        if (byte == '\\')
        {
            length = 2;
            if (at + 1 == text.size() || !IsPlainEscape(text[at + 1]))
                return false;
        }
        else if (byte == '^')
        {
            const unsigned int digit = PlaceAt(text.substr(at), &length);
            if (!digit || (places >> (digit - 1) & 1))
                return false;
            places |= 1u << (digit - 1);
        }
        at += length;
    }
    return (places & (places + 1)) == 0; // no gap
}

bool IsOfPlainKey(char byte)
{
    return byte > ' ' && byte < 0x7F && byte != '=' && byte != '"' && byte != '\'' && byte != '`';
}
} // namespace

bool IsPlainLine(std::string_view line)
{
    if (line.size() <= kOpening.size() || line.size() > kLongestPlain ||
        line.substr(0, kOpening.size()) != kOpening || line.back() != '"')
        return false;
    const std::string_view entry = line.substr(kOpening.size(), line.size() - kOpening.size() - 1);
    std::size_t at = 0;
    while (at != entry.size() && IsOfPlainKey(entry[at]))
        ++at;
    return at && at != entry.size() && entry[at] == '=' && IsPlainText(entry.substr(at + 1));
}
