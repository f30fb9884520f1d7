// Searches that find nothing inside a character.

#include "U_String.h"

#include <cstring>

#include "text/Characters.h"

namespace
{
// The first match at or behind `from` that a character starts at; null if there
// is none. find is the standard search from a place on, and start a place at or
// before `from` where a character starts.
template <class Find> const char* FindCharacter(const char* start, const char* from, Find find)
{
    const char* match = find(from);
    while (match && ByteType(start, static_cast<std::size_t>(match - start)) > 0)
    {
        start = CharacterBehind(start, match);
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

char* Mutable(const char* place)
{
    return const_cast<char*>(place);
}
} // namespace

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
        const char* const behind = CharacterBehind(match, match);
        match = FindCharacter(behind, behind, ByteFinder(ch));
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
