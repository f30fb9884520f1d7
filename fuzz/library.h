// Starts the library for all inputs of a process, and converts texts.

#ifndef FUZZ_LIBRARY_H
#define FUZZ_LIBRARY_H

#include <cstdlib>
#include <string>

#include <platform/control.h>

#include "U_Interact.h"
#include "U_Lifecycle.h"
#include "require.h"

// Starts the library, which ends with the process. Reports are counted, and neither shown nor
// logged: the stacks in the log take long.
inline void BeBorn()
{
    platform::SetLogSink([](int, const char*, const char*, const char*) {});
    Require(U_Birth("fuzz", nullptr) == 0);
    Up_SetInteract(0);
    std::atexit([] { U_Death(); });
}

inline U_UTF16String Wide(const std::string& ascii)
{
    return U_UTF16String(ascii.begin(), ascii.end());
}

// The code points of a text. Half of a surrogate pair becomes U+FFFD.
inline std::u32string CodePoints(const U_UTF16String& text)
{
    std::u32string points;
    points.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        const bool isPair = i + 1 < text.size() && text[i] >> 10 == 0xD800 >> 10 &&
                            text[i + 1] >> 10 == 0xDC00 >> 10;
        if (isPair)
            points += 0x10000u + ((text[i] & 0x3FFu) << 10) + (text[i + 1] & 0x3FFu);
        else
            points += text[i] >> 11 == 0xD800 >> 11 ? 0xFFFD : text[i];
        i += isPair;
    }
    return points;
}

inline U_UTF16String Mended(const U_UTF16String& text)
{
    U_UTF16String mended;
    for (const char32_t point : CodePoints(text))
    {
        if (point >= 0x10000)
            mended += static_cast<U_u16>(0xD7C0 + (point >> 10));
        mended += static_cast<U_u16>(point < 0x10000 ? point : 0xDC00 + (point & 0x3FF));
    }
    return mended;
}

// The text in UTF-8.
inline std::string BytesOf(const U_UTF16String& text)
{
    std::string bytes;
    bytes.reserve(text.size());
    for (const char32_t point : CodePoints(text))
    {
        int shift = point < 0x80 ? 0 : point < 0x800 ? 6 : point < 0x10000 ? 12 : 18;
        const unsigned head = shift == 0 ? 0 : shift == 6 ? 0xC0 : shift == 12 ? 0xE0 : 0xF0;
        bytes += static_cast<char>(head | point >> shift);
        while (shift)
            bytes += static_cast<char>(0x80 | (point >> (shift -= 6) & 0x3F));
    }
    return bytes;
}

#endif
