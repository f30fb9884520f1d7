#include "exchange/exchange_text.h"

#include <cstdint>
#include <iterator>

#include <boost/nowide/utf/utf.hpp>

#include <hollin/Dictionary.h>
#include <platform/base/code_units.h>

#include "images/text_output.h"

namespace
{
const std::uint16_t kEscapeUnits[] = {'{', '2', '3', '}'}; // the number of '#'
const UnitView kEscape(kEscapeUnits, std::size(kEscapeUnits));
const std::size_t kNul = 3;  // the length of "{0}"
const std::size_t kHalf = 6; // of "{D83D}"
const unsigned long kLastCodePoint = 0x10FFFF;

typedef boost::nowide::utf::utf_traits<char> UTF8;

bool IsHalf(unsigned int unit)
{
    return platform::IsHighSurrogate(unit) || platform::IsLowSurrogate(unit);
}

int DigitValue(std::uint16_t unit)
{
    if (unit >= '0' && unit <= '9')
        return unit - '0';
    return unit >= 'A' && unit <= 'F' ? unit - 'A' + 10 : -1;
}

// Returns the length of a number in braces that is the notation of a NUL or of half a pair, and
// stores the unit; or returns 0.
std::size_t ReadNumber(UnitView text, std::uint16_t* unit)
{
    *unit = 0;
    if (text.size() >= kNul && text[0] == '{' && text[1] == '0' && text[2] == '}')
        return kNul;
    if (text.size() < kHalf || text[0] != '{' || text[kHalf - 1] != '}')
        return 0;
    for (const std::uint16_t digit : text.substr(1, kHalf - 2))
    {
        if (DigitValue(digit) < 0)
            return 0;
        *unit = static_cast<std::uint16_t>(*unit * 16 + DigitValue(digit));
    }
    return IsHalf(*unit) ? kHalf : 0;
}

// Returns whether the text after a "#" is a notation, with any count of escapes.
bool BeginsNotation(UnitView text)
{
    while (text.substr(0, kEscape.size()) == kEscape)
        text.remove_prefix(kEscape.size());
    std::uint16_t unit;
    return ReadNumber(text, &unit) > 0;
}

std::string Number(unsigned int unit)
{
    if (!unit)
        return "#{0}";
    std::string number = "#{";
    for (const int shift : {12, 8, 4, 0})
        number += "0123456789ABCDEF"[unit >> shift & 15];
    return number + "}";
}

void Encode(std::uint32_t codePoint, std::string* text)
{
    UTF8::encode(codePoint, std::back_inserter(*text));
}
} // namespace

std::string ToExchange(const hollin::ZString& text)
{
    const UnitView units = ViewOf(text);
    std::string exchange;
    exchange.reserve(units.size());
    for (std::size_t i = 0; i < units.size(); ++i)
    {
        const std::uint16_t unit = units[i];
        const std::uint16_t next = i + 1 < units.size() ? units[i + 1] : std::uint16_t(0);
        if (unit && unit < 0x80)
            exchange += static_cast<char>(unit);
        else if (platform::IsHighSurrogate(unit) && platform::IsLowSurrogate(next))
        {
            Encode(0x10000U + ((unit & 0x3FFU) << 10) + (next & 0x3FFU), &exchange);
            ++i;
        }
        else if (!unit || IsHalf(unit))
            exchange += Number(unit);
        else
            Encode(unit, &exchange);
        if (unit == '#' && BeginsNotation(units.substr(i + 1)))
            exchange += "{23}";
    }
    return exchange;
}

bool FromExchange(const std::string& text, hollin::ZString* out)
{
    const hollin::ZString plain(text.data(), static_cast<std::uint32_t>(text.size()),
                                &hollin::kEncodingUTF8);
    if (text.find("#{") == std::string::npos)
    {
        *out = plain;
        return true;
    }
    const UnitView units = ViewOf(plain);
    Units result;
    for (std::size_t i = 0; i < units.size(); ++i)
    {
        const UnitView rest = units.substr(i + 1);
        std::uint16_t unit;
        if (units[i] != '#' || !BeginsNotation(rest))
            result.push_back(units[i]);
        else if (const std::size_t length = ReadNumber(rest, &unit))
        {
            if (platform::IsLowSurrogate(unit) && !result.empty() &&
                platform::IsHighSurrogate(result.back()))
                return false;
            result.push_back(unit);
            i += length;
        }
        else
        {
            result.push_back('#');
            i += kEscape.size();
        }
    }
    *out = hollin::ZString(result.data(), static_cast<std::uint32_t>(result.size()));
    return true;
}

bool AppendCodePoint(unsigned long number, std::string* text)
{
    if (number > kLastCodePoint)
        return false;
    if (!number || IsHalf(static_cast<unsigned int>(number)))
        *text += Number(static_cast<unsigned int>(number));
    else
        Encode(static_cast<std::uint32_t>(number), text);
    return true;
}

bool IsUTF8(std::string_view text)
{
    const char* const end = text.data() + text.size();
    for (const char* next = text.data(); next != end;)
    {
        if (static_cast<unsigned char>(*next) < 0x80)
            ++next;
        else if (!boost::nowide::utf::is_valid_codepoint(UTF8::decode(next, end)))
            return false;
    }
    return true;
}
