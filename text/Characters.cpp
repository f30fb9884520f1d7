#include "text/Characters.h"

#include <limits>

#include "U_Encoding.h"

int ByteType(const char* text, std::size_t offset)
{
    // Only lead bytes directly in front of a byte have a say in its type, so a
    // place far into a text may be told from a nearer start.
    const std::size_t kFarthest = std::numeric_limits<int>::max();
    if (offset > kFarthest)
    {
        text += offset - kFarthest;
        offset = kFarthest;
    }
    return U_CharByte(text, static_cast<int>(offset));
}

const char* CharacterBehind(const char* start, const char* place)
{
    do
        ++place;
    while (*place && ByteType(start, static_cast<std::size_t>(place - start)) > 0);
    return place;
}

std::size_t WholeCharacters(const char* text, std::size_t length)
{
    while (length > 0)
    {
        const int type = ByteType(text, length - 1);
        if (type == 0 || type == 1)
            break;
        --length;
    }
    return length;
}

void CutAtCharacter(char* text, std::size_t length)
{
    text[WholeCharacters(text, length)] = 0;
}
