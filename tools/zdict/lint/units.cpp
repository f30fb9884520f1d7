#include "lint/units.h"

#include <algorithm>

#include <boost/nowide/utf/convert.hpp>

#include <platform/base/code_units.h>

#include "messages.h"

std::string UTF8Of(std::u16string_view units)
{
    return boost::nowide::utf::convert_string<char>(units.data(), units.data() + units.size());
}

std::u16string UnitsOf(const std::string& text)
{
    return boost::nowide::utf::convert_string<char16_t>(text.data(), text.data() + text.size());
}

std::string QuotedUnits(std::u16string_view units)
{
    return Quoted(UTF8Of(units));
}

bool IsBlank(char16_t unit)
{
    return unit == ' ' || (unit >= '\t' && unit <= '\r') || unit == 0xA0 ||
           (unit >= 0x2000 && unit <= 0x200A) || unit == 0x202F || unit == 0x3000;
}

std::size_t BlankHead(std::u16string_view text)
{
    const auto end = std::find_if_not(text.begin(), text.end(), IsBlank);
    return static_cast<std::size_t>(end - text.begin());
}

std::size_t BlankEnd(std::u16string_view text)
{
    const auto end = std::find_if_not(text.rbegin(), text.rend(), IsBlank);
    return static_cast<std::size_t>(end - text.rbegin());
}

bool IsWordUnit(char16_t unit)
{
    const char16_t lower = unit | 0x20;
    if (unit < 0x80)
        return lower >= 'a' && lower <= 'z';
    return unit >= 0xC0 && unit != 0xD7 && unit != 0xF7 && !(unit >= 0x2000 && unit <= 0x2BFF) &&
           !(unit >= 0x3000 && unit <= 0x303F);
}

std::size_t CountCharacters(std::u16string_view text)
{
    std::size_t count = 0;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        const bool isSecond =
            i && platform::IsLowSurrogate(text[i]) && platform::IsHighSurrogate(text[i - 1]);
        count += isSecond ? 0 : 1;
    }
    return count;
}
