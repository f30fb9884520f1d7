#include "message.h"

#include <U_Encoding.h>
#include <U_Format.h>

namespace
{
struct WidthRange
{
    U_u16 first;
    U_u16 last;
    size_t columns;
};

// Characters that are not one column wide. The C library's wcwidth depends on the user's
// locale, which may know neither UTF-8 nor the dictionary's language.
const WidthRange kWidths[] = {
    {0x0300, 0x036F, 0}, // combining marks
    {0x1100, 0x115F, 2}, // Hangul Jamo
    {0x200B, 0x200F, 0}, // zero-width spaces and direction marks
    {0x2E80, 0x303E, 2}, // radicals, ideographic punctuation
    {0x3041, 0xA4CF, 2}, // kana, ideographs, Yi
    {0xAC00, 0xD7A3, 2}, // Hangul
    {0xD800, 0xDBFF, 2}, // the first halves of pairs: rare ideographs, emoji
    {0xDC00, 0xDFFF, 0}, // the second halves
    {0xF900, 0xFAFF, 2}, // compatibility ideographs
    {0xFE00, 0xFE0F, 0}, // variation selectors
    {0xFE30, 0xFE6F, 2}, // vertical and small forms
    {0xFF01, 0xFF60, 2}, // full-width forms
    {0xFFE0, 0xFFE6, 2},
};

size_t UnitWidth(U_u16 unit)
{
    for (const WidthRange& range : kWidths)
    {
        if (unit >= range.first && unit <= range.last)
            return range.columns;
    }
    return 1;
}
} // namespace

std::string ToUTF8(const U_UTF16String& text)
{
    const U_UTF8String bytes = U_UTF16To8String(text);
    return std::string(bytes.begin(), bytes.end());
}

U_UTF16String ToUTF16(const std::string& text)
{
    return U_UTF8To16String(U_UTF8String(text.begin(), text.end()));
}

std::string Text(const Message& message)
{
    return Fill(ToUTF8(U_ZStringToFormat(message.zstring)), message.values);
}

std::string Fill(const std::string& text, const std::vector<std::string>& values)
{
    std::string filled;
    for (size_t at = 0; at < text.size(); ++at)
    {
        const char digit = at + 1 < text.size() ? text[at + 1] : '\0';
        const bool isPlace = text[at] == '^' && digit >= '1' && digit <= '9';
        const size_t number = isPlace ? static_cast<size_t>(digit - '1') : values.size();
        if (number < values.size())
        {
            filled += values[number];
            ++at;
        }
        else
            filled += text[at];
    }
    return filled;
}

size_t DisplayWidth(const std::string& text)
{
    size_t width = 0;
    for (U_u16 unit : ToUTF16(text))
        width += UnitWidth(unit);
    return width;
}

std::string CutToWidth(const std::string& text, size_t columns)
{
    U_UTF16String units = ToUTF16(text);
    size_t width = 0;
    unsigned int fitting = 0;
    for (; fitting < units.size(); ++fitting)
    {
        width += UnitWidth(units[fitting]);
        if (width > columns)
            break;
    }
    U_TruncateStringToNumChars(&units, fitting);
    return ToUTF8(units);
}

Message CantRead(const std::string& path, const std::string& reason)
{
    return {"$$$/QX/FileCache/Error/CantRead=can't read ^^1: ^^2", {path, reason}};
}

Message CantWrite(const std::string& path, const std::string& reason)
{
    return {"$$$/QX/FileCache/Error/CantWrite=can't write ^^1: ^^2", {path, reason}};
}
