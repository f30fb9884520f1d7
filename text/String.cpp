// Copies and cuts of zero-terminated text.

#include "U_String.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "U_Encoding.h"
#include "indep/frame/Guard.h"
#include "text/Characters.h"

int U_CopyString(const char* src, size_t size, char* dst)
{
    return U_CopyStringLen(src, std::strlen(src), size, dst);
}

int U_CopyStringLen(const char* src, size_t length, size_t size, char* dst)
{
    if (size == 0)
        return 0;
    if (length < size)
    {
        std::memmove(dst, src, length);
        dst[length] = 0;
        return 0;
    }
    std::memmove(dst, src, size - 1);
    CutAtCharacter(dst, size - 1);
    return 0;
}

U_Status U_CopyStringW(const U_u16* src, size_t size, U_u16* dst)
{
    return Guarded([&] {
        const std::size_t length = std::char_traits<U_u16>::length(src);
        if (length < size)
        {
            std::memmove(dst, src, (length + 1) * sizeof(U_u16));
            return;
        }
        if (size == 0)
            return;
        // One unit more than may stay tells whether the cut would part a pair.
        U_UTF16String text(src, size);
        const std::size_t kMost = std::numeric_limits<unsigned int>::max();
        U_TruncateStringToNumChars(&text, static_cast<unsigned int>(std::min(size - 1, kMost)));
        std::memcpy(dst, text.c_str(), (text.size() + 1) * sizeof(U_u16));
    });
}

int U_ConcatString(const char* src, size_t size, char* dst)
{
    const std::size_t length = strnlen(dst, size);
    return U_CopyString(src, size - length, dst + length);
}

int U_TruncateString(int length, char* text)
{
    const std::size_t most = length > 0 ? static_cast<std::size_t>(length) : 0;
    if (strnlen(text, most + 1) > most)
        CutAtCharacter(text, most);
    return 0;
}

int U_CharNextByte(const char* text, unsigned int offset, unsigned int* next)
{
    // Behind a terminator a character starts, whatever byte is there.
    const char* const place = text + offset;
    const char* const behind = *place ? CharacterBehind(text, place) : place + 1;
    *next = static_cast<unsigned int>(behind - text);
    return 0;
}
