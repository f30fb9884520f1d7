#include "U_String.h"

#include <algorithm>
#include <cstring>

#include "U_Encoding.h"
#include "text/Characters.h"

namespace
{
// Maps the units from first to last by a distance.
int ShiftLetters(char* text, char first, char last, int distance)
{
    U_UTF16String units = U_MBToUTF16String(text);
    for (U_u16& unit : units)
    {
        if (first <= unit && unit <= last)
            unit = static_cast<U_u16>(unit + distance);
    }
    const std::string changed = U_UTF16ToMBString(units, false);
    // What stands for a byte that is no character may be longer than it.
    std::size_t count = std::strlen(text);
    count = changed.size() > count ? WholeCharacters(changed.data(), count) : changed.size();
    std::copy_n(changed.data(), count, text);
    return 0;
}
} // namespace

int U_StringToLower(char* text)
{
    return ShiftLetters(text, 'A', 'Z', 'a' - 'A');
}

int U_StringToUpper(char* text)
{
    return ShiftLetters(text, 'a', 'z', 'A' - 'a');
}
