// Properties of code units of UTF-16, and of bytes and sequences of UTF-8.
//
// Thread safety: all functions may be called on any thread.

#ifndef PLATFORM_BASE_CODE_UNITS_H
#define PLATFORM_BASE_CODE_UNITS_H

#include <cstddef>
#include <string_view>

namespace platform
{
inline bool IsHighSurrogate(unsigned int unit)
{
    return (unit & 0xFC00) == 0xD800;
}

inline bool IsLowSurrogate(unsigned int unit)
{
    return (unit & 0xFC00) == 0xDC00;
}

// Returns the length in bytes of the UTF-8 sequence that begins with the byte, or 1 for ASCII
// and for a byte that begins no sequence.
inline int UTF8Length(unsigned char lead)
{
    if (lead < 0xC2 || lead > 0xF4)
        return 1;
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

inline bool IsUTF8Continuation(unsigned char byte)
{
    return (byte & 0xC0) == 0x80;
}

// Returns the length of the text after a cut to at most `limit` bytes, at a character boundary.
inline std::size_t CutUTF8(const char* text, std::size_t length, std::size_t limit)
{
    if (length <= limit)
        return length;
    while (limit && IsUTF8Continuation(static_cast<unsigned char>(text[limit])))
        --limit;
    return limit;
}

// Returns whether a sequence with that lead may have that second byte: the sequence is not
// overlong, no surrogate, and at most U+10FFFF.
inline bool IsUTF8Second(unsigned char lead, unsigned char second)
{
    if (lead == 0xE0 || lead == 0xF0)
        return second >= (lead == 0xE0 ? 0xA0 : 0x90) && second < 0xC0;
    if (lead == 0xED || lead == 0xF4)
        return second >= 0x80 && second < (lead == 0xED ? 0xA0 : 0x90);
    return IsUTF8Continuation(second);
}

// Returns the length in bytes of the well-formed UTF-8 sequence at the head of the text, or 0
// if there is none. REQUIRES: the text is not empty.
inline std::size_t WellFormedLength(std::string_view text)
{
    const auto byteAt = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    if (byteAt(0) < 0x80)
        return 1;
    const std::size_t length = static_cast<std::size_t>(UTF8Length(byteAt(0)));
    if (length == 1 || text.size() < length || !IsUTF8Second(byteAt(0), byteAt(1)))
        return 0;
    for (std::size_t i = 2; i < length; ++i)
    {
        if (!IsUTF8Continuation(byteAt(i)))
            return 0;
    }
    return length;
}
} // namespace platform

#endif
