#include "hollin_private/NamedCharacters.h"

#include <algorithm>
#include <iterator>

namespace hollin_private
{
namespace
{
// The order of the names' bytes: they are looked up by bisection.
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

// Negative if the name comes before the units, 0 if it equals them.
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
} // namespace

const NamedCharacter* FindNamedCharacter(const std::uint16_t* units, const std::uint16_t* end)
{
    const auto comesBefore = [&](const NamedCharacter& named) {
        return CompareName(named.mName, units, end) < 0;
    };
    const NamedCharacter* found =
        std::partition_point(std::begin(kNamedCharacters), std::end(kNamedCharacters), comesBefore);
    if (found == std::end(kNamedCharacters) || CompareName(found->mName, units, end) != 0)
        return nullptr;
    return found;
}
} // namespace hollin_private
