#include "images/text_output.h"

#include <algorithm>
#include <cstring>

#include <platform/base/code_units.h>
#include <platform/base/printable.h>

namespace
{
// Returns whether a unit ends a line, may end one in an editor, is invisible or is no
// character.
bool IsUnfitForFiles(unsigned int unit)
{
    return platform::IsControl(unit) || unit == 0x2028 || unit == 0x2029 || unit == 0xFEFF ||
           unit == 0xFFFE || unit == 0xFFFF;
}

// Returns the letter after the backslash in the escape of a unit, or 0.
char EscapeOf(unsigned int unit)
{
    switch (unit)
    {
    case '\n':
        return 'n';
    case '\r':
        return 'r';
    case '\t':
        return 't';
    case '"':
        return '"';
    }
    return 0;
}

// Returns whether a reader would take the unit for the start of a notation. `next` is
// the unit after it, or 0 at the end.
bool BeginsNotation(unsigned int unit, unsigned int next)
{
    switch (unit)
    {
    case '\\': // at the end, it would also hide the closing quote
        return true;
    case '^':
        return next < '0' || next > '9';
    case '#':
        return next == '{';
    }
    return false;
}

void AppendASCII(std::string_view text, Units* line)
{
    line->insert(line->end(), text.begin(), text.end());
}

void AppendNumber(unsigned int unit, Units* line)
{
    const char* const digits = "0123456789ABCDEF";
    std::string number;
    do
    {
        number.insert(number.begin(), digits[unit % 16]);
        unit /= 16;
    } while (unit);
    AppendASCII("#{" + number + "}", line);
}

// Returns how many units it took: two for a pair of surrogates, else one.
std::size_t AppendCharacter(const std::uint16_t* units, const std::uint16_t* end, Units* line)
{
    const std::uint16_t unit = units[0];
    const std::uint16_t next = end - units > 1 ? units[1] : std::uint16_t(0);
    if (platform::IsHighSurrogate(unit) && platform::IsLowSurrogate(next))
    {
        line->insert(line->end(), units, units + 2);
        return 2;
    }
    if (const char escape = EscapeOf(unit))
        line->insert(line->end(), {'\\', static_cast<std::uint16_t>(escape)});
    else if (unit == '^' && BeginsNotation(unit, next))
        line->insert(line->end(), {'^', '^'});
    else if (IsUnfitForFiles(unit) || BeginsNotation(unit, next) ||
             platform::IsHighSurrogate(unit) || platform::IsLowSurrogate(unit))
        AppendNumber(unit, line);
    else
        line->push_back(unit);
    return 1;
}

// Returns whether a double quote in the key would end the entry for a reader: one that
// follows a backslash does not.
bool HoldsClosingQuote(const std::string& key)
{
    for (std::size_t i = 0; i < key.size(); ++i)
    {
        if (key[i] == '"' && (i == 0 || key[i - 1] != '\\'))
            return true;
    }
    return false;
}
} // namespace

const char* KeyProblem(const std::string& key)
{
    const auto isASCII = [](char byte) { return static_cast<unsigned char>(byte) < 0x80; };
    if (key.empty())
        return "is empty";
    if (!std::all_of(key.begin(), key.end(), isASCII))
        return "isn't ASCII";
    if (key.find_first_of(std::string("\n\r\0", 3)) != std::string::npos)
        return "holds a line end or a NUL";
    if (key.find('=') != std::string::npos)
        return "holds a \"=\"";
    if (HoldsClosingQuote(key))
        return "holds a double quote";
    return nullptr;
}

void AppendText(UnitView text, Units* line)
{
    const std::uint16_t* const end = text.data() + text.size();
    for (const std::uint16_t* units = text.data(); units != end;)
        units += AppendCharacter(units, end, line);
}

void AppendLine(std::string_view key, UnitView text, Units* line)
{
    AppendASCII("\"$$$", line);
    AppendASCII(key, line);
    AppendASCII("=", line);
    AppendText(text, line);
    AppendASCII("\"\n", line);
}

hollin::ZString FromUTF8(const std::string& bytes)
{
    const std::uint32_t encoding = hollin::kEncodingUTF8;
    return hollin::ZString(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &encoding);
}

std::string ToUTF8(const hollin::ZString& text)
{
    const std::uint32_t encoding = hollin::kEncodingUTF8;
    std::string bytes(text.MultibyteLength(&encoding), '\0');
    text.ToMultibyte(bytes.data(), static_cast<std::uint32_t>(bytes.size()), true, &encoding);
    bytes.pop_back(); // the terminator
    return bytes;
}
