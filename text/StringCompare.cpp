#include "U_String.h"

#include <algorithm>

#include "U_Encoding.h"
#include "text/Characters.h"

namespace
{
bool IsBetween(char ch, char first, char last)
{
    return first <= ch && ch <= last;
}

bool AreOfOneClass(char left, char right)
{
    for (const char* range : {"AZ", "az", "09"})
    {
        if (IsBetween(left, range[0], range[1]) && IsBetween(right, range[0], range[1]))
            return true;
    }
    return false;
}

int Sign(U_u32 left, U_u32 right)
{
    return left < right ? -1 : left > right;
}

U_u32 Byte(const char* place)
{
    return static_cast<unsigned char>(*place);
}

// The bytes of the character at *place as one number, the first the highest,
// and without case if it is a single one. Moves *place behind the character.
U_u32 TakeCharacter(const char** place)
{
    const char* const start = *place;
    U_u32 character = Byte(start);
    if (!character)
        return 0;
    const char* const behind = CharacterBehind(start, start);
    *place = behind;
    if (behind - start == 1)
        return IsBetween(*start, 'A', 'Z') ? character + ('a' - 'A') : character;
    for (const char* next = start + 1; next < behind; ++next)
        character = character << 8 | Byte(next);
    return character;
}
} // namespace

int U_strcmp(const char* a, const char* b)
{
    if (!*a)
        return *b ? -1 : 0;
    if (!*b)
        return 1;
    if (*a != *b && AreOfOneClass(*a, *b))
        return *a - *b;
    const int order = U_MBToUTF16String(a).compare(U_MBToUTF16String(b));
    return std::clamp(order, -1, 1);
}

int U_stricmp(const char* a, const char* b)
{
    for (;;)
    {
        const U_u32 left = TakeCharacter(&a);
        const U_u32 right = TakeCharacter(&b);
        if (left != right || !left)
            return Sign(left, right);
    }
}
