#include "hollin_private/Expansion.h"

#include <algorithm>
#include <iterator>

#include "hollin_private/NamedCharacters.h"

namespace hollin_private
{
namespace
{
struct Escape
{
    char mIntroducer;
    char mWritten;
    std::uint16_t mCharacter;
};

const Escape kEscapes[] = {
    {'\\', '"', 0x0022}, {'\\', 'n', 0x000A}, {'\\', 'r', 0x000D}, {'\\', 't', 0x0009},
    {'\\', 'b', 0x0008}, {'\\', '\\', '\\'},  {'^', 'Q', 0x0022},  {'^', '[', 0x201C},
    {'^', ']', 0x201D},  {'^', '{', 0x2018},  {'^', '}', 0x2019},  {'^', 'C', 0x00A9},
    {'^', 'R', 0x00AE},  {'^', 'T', 0x2122},  {'^', 'D', 0x00B0},  {'^', 'B', 0x2022},
    {'^', '#', 0x2318},  {'^', '!', 0x00AC},  {'^', 'I', 0x2206},  {'^', 'S', 0x2211},
    {'^', 'n', 0x000A},  {'^', 'r', 0x000D},  {'^', '^', '^'},
};

const Escape* FindEscape(std::uint16_t introducer, std::uint16_t written)
{
    const auto matches = [=](const Escape& escape) {
        return escape.mIntroducer == introducer && escape.mWritten == written;
    };
    const Escape* found = std::find_if(std::begin(kEscapes), std::end(kEscapes), matches);
    return found == std::end(kEscapes) ? nullptr : found;
}

// Both passes write behind where they read.
std::uint16_t* ExpandEscapes(std::uint16_t* begin, const std::uint16_t* end)
{
    std::uint16_t* out = begin;
    const std::uint16_t* units = begin;
    while (units != end)
    {
        const std::uint16_t unit = *units++;
        if ((unit != '^' && unit != '\\') || units == end)
        {
            *out++ = unit;
            continue;
        }
        const std::uint16_t written = *units++;
        if (const Escape* escape = FindEscape(unit, written))
        {
            *out++ = escape->mCharacter;
            continue;
        }
        *out++ = unit;
        *out++ = written;
    }
    return out;
}

// 255 for what is no digit.
unsigned int HexDigit(std::uint16_t unit)
{
    if (unit >= '0' && unit <= '9')
        return unit - '0';
    const unsigned int letter = unit | 0x20;
    return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : 255;
}

// What stands between the braces: U+, u or nothing, then one to four digits.
bool ParseNumber(const std::uint16_t* units, const std::uint16_t* end, std::uint16_t* character)
{
    if (end - units >= 2 && units[0] == 'U' && units[1] == '+')
        units += 2;
    else if (units != end && *units == 'u')
        ++units;
    if (units == end || end - units > 4)
        return false;
    unsigned int number = 0;
    for (; units != end; ++units)
    {
        const unsigned int digit = HexDigit(*units);
        if (digit > 15)
            return false;
        number = number * 16 + digit;
    }
    *character = static_cast<std::uint16_t>(number);
    return true;
}

// Writes what the notation at "#{" stands for and returns what is behind it;
// null if it is none. out may be where the notation stands.
const std::uint16_t* ExpandCharacter(const std::uint16_t* units, const std::uint16_t* end,
                                     std::uint16_t*& out)
{
    const std::uint16_t* name = units + 2;
    const std::ptrdiff_t longest = kLongestCharacterName + 1;
    const std::uint16_t* limit = name + std::min(end - name, longest);
    const std::uint16_t* brace = std::find(name, limit, '}');
    if (brace == limit)
        return nullptr;
    if (const NamedCharacter* named = FindNamedCharacter(name, brace))
    {
        *out++ = named->mCharacter;
        if (named->mFollowing)
            *out++ = named->mFollowing;
        return brace + 1;
    }
    std::uint16_t character = 0;
    if (!ParseNumber(name, brace, &character))
        return nullptr;
    *out++ = character;
    return brace + 1;
}

std::uint16_t* ExpandCharacters(std::uint16_t* begin, const std::uint16_t* end)
{
    std::uint16_t* out = begin;
    const std::uint16_t* units = begin;
    while (units != end)
    {
        if (*units == '#' && end - units > 3 && units[1] == '{')
        {
            if (const std::uint16_t* behind = ExpandCharacter(units, end, out))
            {
                units = behind;
                continue;
            }
        }
        *out++ = *units++;
    }
    return out;
}
} // namespace

std::size_t ExpandText(std::uint16_t* units, std::size_t count)
{
    const std::uint16_t* end = ExpandEscapes(units, units + count);
    return static_cast<std::size_t>(ExpandCharacters(units, end) - units);
}
} // namespace hollin_private
