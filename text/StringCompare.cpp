// Comparisons and searches by whole characters.

#include "U_String.h"

#include <algorithm>
#include <cstring>

#include "U_Encoding.h"
#include "text/Characters.h"

namespace
{
bool IsBetween(char ch, char first, char last)
{
    return first <= ch && ch <= last;
}

// Both are upper-case letters, both are lower-case letters, or both are digits.
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

// Advances *position to the next character. Returns the bytes of the character as one number,
// the first byte in the highest place. A single byte is folded to lower case.
U_u32 TakeCharacter(const char** position)
{
    const auto byteAt = [](const char* at) { return U_u32(static_cast<unsigned char>(*at)); };
    const char* const start = *position;
    U_u32 character = byteAt(start);
    if (!character)
        return 0;
    const char* const end = NextCharacter(start, start);
    *position = end;
    if (end - start == 1)
        return IsBetween(*start, 'A', 'Z') ? character + ('a' - 'A') : character;
    for (const char* next = start + 1; next < end; ++next)
        character = character << 8 | byteAt(next);
    return character;
}

// Returns the first match at or after `from` that begins at a character, or null. `find` is
// the standard search from a position on.
// REQUIRES: a character starts at `start`, which is not after `from`.
template <class Find> const char* FindCharacter(const char* start, const char* from, Find find)
{
    const char* match = find(from);
    while (match && ByteType(start, static_cast<std::size_t>(match - start)) > 0)
    {
        // A character boundary near the match: types asked for from a far start would make
        // the search quadratic in runs of lead bytes.
        start = NextCharacter(start, match);
        match = find(start);
    }
    return match;
}

auto ByteFinder(int ch)
{
    return [ch](const char* from) { return std::strchr(from, ch); };
}

auto TextFinder(const char* needle)
{
    return [needle](const char* from) { return std::strstr(from, needle); };
}

char* Mutable(const char* found)
{
    return const_cast<char*>(found);
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

char* U_strchr(const char* text, int ch)
{
    return Mutable(FindCharacter(text, text, ByteFinder(ch)));
}

char* U_strrchr(const char* text, int ch)
{
    const char* last = nullptr;
    const char* match = FindCharacter(text, text, ByteFinder(ch));
    while (match)
    {
        last = match;
        if (!*match)
            break;
        const char* const next = NextCharacter(match, match);
        match = FindCharacter(next, next, ByteFinder(ch));
    }
    return Mutable(last);
}

char* U_strstr(const char* text, const char* needle)
{
    return Mutable(FindCharacter(text, text, TextFinder(needle)));
}

char* U_strrstr(const char* text, const char* needle)
{
    const std::size_t length = std::strlen(needle);
    if (length == 0)
        return U_strrchr(text, 0);
    const char* last = nullptr;
    const char* match = FindCharacter(text, text, TextFinder(needle));
    while (match)
    {
        last = match;
        match = FindCharacter(match, match + length, TextFinder(needle));
    }
    return Mutable(last);
}
