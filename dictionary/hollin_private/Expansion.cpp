#include "hollin_private/Expansion.h"

#include <algorithm>
#include <iterator>

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

// Both passes expand in place: they never write after the unit that they read next.
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

// No name begins with another name or reads as a number, so the text between the braces is
// a whole name or none.
struct NamedCharacter
{
    const char* mName;
    std::uint16_t mCharacter;
    std::uint16_t mFollowing = 0; // a second character, or 0
};

const int kLongestCharacterName = 6;

// The characters of HTML 4's Latin-1 and special sets, and four for layout, in the order of
// the names' bytes for the bisection.
const NamedCharacter kNamedCharacters[] = {
    // clang-format off
    {"AElig", 0x00C6},
    {"Aacute", 0x00C1},
    {"Acirc", 0x00C2},
    {"Agrave", 0x00C0},
    {"Aring", 0x00C5},
    {"Atilde", 0x00C3},
    {"Auml", 0x00C4},
    {"Ccedil", 0x00C7},
    {"Dagger", 0x2021},
    {"ETH", 0x00D0},
    {"Eacute", 0x00C9},
    {"Ecirc", 0x00CA},
    {"Egrave", 0x00C8},
    {"Euml", 0x00CB},
    {"Iacute", 0x00CD},
    {"Icirc", 0x00CE},
    {"Igrave", 0x00CC},
    {"Iuml", 0x00CF},
    {"Ntilde", 0x00D1},
    {"OElig", 0x0152},
    {"Oacute", 0x00D3},
    {"Ocirc", 0x00D4},
    {"Ograve", 0x00D2},
    {"Oslash", 0x00D8},
    {"Otilde", 0x00D5},
    {"Ouml", 0x00D6},
    {"Scaron", 0x0160},
    {"THORN", 0x00DE},
    {"Uacute", 0x00DA},
    {"Ucirc", 0x00DB},
    {"Ugrave", 0x00D9},
    {"Uuml", 0x00DC},
    {"Yacute", 0x00DD},
    {"Yuml", 0x0178},
    {"aacute", 0x00E1},
    {"acirc", 0x00E2},
    {"acute", 0x00B4},
    {"aelig", 0x00E6},
    {"agrave", 0x00E0},
    {"amp", 0x0026},
    {"aring", 0x00E5},
    {"atilde", 0x00E3},
    {"auml", 0x00E4},
    {"bdquo", 0x201E},
    {"brvbar", 0x00A6},
    {"ccedil", 0x00E7},
    {"cedil", 0x00B8},
    {"cent", 0x00A2},
    {"circ", 0x02C6},
    {"copy", 0x00A9},
    {"cr", 0x000D},
    {"curren", 0x00A4},
    {"dagger", 0x2020},
    {"deg", 0x00B0},
    {"divide", 0x00F7},
    {"eacute", 0x00E9},
    {"ecirc", 0x00EA},
    {"egrave", 0x00E8},
    {"emsp", 0x2003},
    {"endl", 0x000D, 0x000A},
    {"ensp", 0x2002},
    {"eth", 0x00F0},
    {"euml", 0x00EB},
    {"euro", 0x20AC},
    {"frac12", 0x00BD},
    {"frac14", 0x00BC},
    {"frac34", 0x00BE},
    {"gt", 0x003E},
    {"iacute", 0x00ED},
    {"icirc", 0x00EE},
    {"iexcl", 0x00A1},
    {"igrave", 0x00EC},
    {"iquest", 0x00BF},
    {"iuml", 0x00EF},
    {"laquo", 0x00AB},
    {"ldquo", 0x201C},
    {"lf", 0x000A},
    {"lrm", 0x200E},
    {"lsaquo", 0x2039},
    {"lsquo", 0x2018},
    {"lt", 0x003C},
    {"macr", 0x00AF},
    {"mdash", 0x2014},
    {"micro", 0x00B5},
    {"middot", 0x00B7},
    {"nbsp", 0x00A0},
    {"ndash", 0x2013},
    {"not", 0x00AC},
    {"ntilde", 0x00F1},
    {"oacute", 0x00F3},
    {"ocirc", 0x00F4},
    {"oelig", 0x0153},
    {"ograve", 0x00F2},
    {"ordf", 0x00AA},
    {"ordm", 0x00BA},
    {"oslash", 0x00F8},
    {"otilde", 0x00F5},
    {"ouml", 0x00F6},
    {"para", 0x00B6},
    {"permil", 0x2030},
    {"plusmn", 0x00B1},
    {"pound", 0x00A3},
    {"quot", 0x0022},
    {"raquo", 0x00BB},
    {"rdquo", 0x201D},
    {"reg", 0x00AE},
    {"rlm", 0x200F},
    {"rsaquo", 0x203A},
    {"rsquo", 0x2019},
    {"sbquo", 0x201A},
    {"scaron", 0x0161},
    {"sect", 0x00A7},
    {"shy", 0x00AD},
    {"sup1", 0x00B9},
    {"sup2", 0x00B2},
    {"sup3", 0x00B3},
    {"szlig", 0x00DF},
    {"tab", 0x0009},
    {"thinsp", 0x2009},
    {"thorn", 0x00FE},
    {"tilde", 0x02DC},
    {"times", 0x00D7},
    {"uacute", 0x00FA},
    {"ucirc", 0x00FB},
    {"ugrave", 0x00F9},
    {"uml", 0x00A8},
    {"uuml", 0x00FC},
    {"yacute", 0x00FD},
    {"yen", 0x00A5},
    {"yuml", 0x00FF},
    {"zwj", 0x200D},
    {"zwnj", 0x200C},
    // clang-format on
};

// Returns a negative number if the name is before the units, 0 if they are equal.
int CompareName(const char* name, const std::uint16_t* units, const std::uint16_t* end)
{
    for (; units != end; ++units, ++name)
    {
        if (*name != *units)
            return *name < *units ? -1 : 1;
        if (!*name)
            return -1;
    }
    return *name ? 1 : 0;
}
// Returns the row of a name, or null. The case of letters matters.
const NamedCharacter* FindNamedCharacter(const std::uint16_t* units, const std::uint16_t* end)
{
    const auto isBefore = [&](const NamedCharacter& named) {
        return CompareName(named.mName, units, end) < 0;
    };
    const NamedCharacter* found =
        std::partition_point(std::begin(kNamedCharacters), std::end(kNamedCharacters), isBefore);
    if (found == std::end(kNamedCharacters) || CompareName(found->mName, units, end) != 0)
        return nullptr;
    return found;
}

const unsigned int kNoDigit = 255;

// Returns kNoDigit for a unit that is not a digit.
unsigned int HexDigit(std::uint16_t unit)
{
    if (unit >= '0' && unit <= '9')
        return unit - '0';
    const unsigned int letter = unit | 0x20;
    return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : kNoDigit;
}

// Parses the text between the braces: U+, u or nothing, then one to four digits.
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
        if (digit == kNoDigit)
            return false;
        number = number * 16 + digit;
    }
    *character = static_cast<std::uint16_t>(number);
    return true;
}

// Writes the character of the notation at "#{" to `out`, which may be the start of the
// notation. Returns the unit after the notation, or null if there is no notation.
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
            if (const std::uint16_t* next = ExpandCharacter(units, end, out))
            {
                units = next;
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
