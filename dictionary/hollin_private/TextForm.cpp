#include "hollin_private/TextForm.h"

#include <algorithm>

#include "hollin_private/ImageCursor.h"

namespace hollin_private
{
namespace
{
const char kPrefix[] = "$$$";
const std::size_t kPrefixLength = sizeof kPrefix - 1;

struct Units
{
    const std::uint16_t* mBegin;
    const std::uint16_t* mEnd;

    std::size_t Size() const { return static_cast<std::size_t>(mEnd - mBegin); }
};

// The first double quote that isn't escaped by a backslash, or the end.
const std::uint16_t* FindQuote(const Units& units)
{
    for (const std::uint16_t* unit = units.mBegin; unit != units.mEnd; ++unit)
    {
        if (*unit == '"' && (unit == units.mBegin || unit[-1] != '\\'))
            return unit;
    }
    return units.mEnd;
}

// What stands between the quotes: to the line's end without a second one, the
// whole line without any.
Units EntryOf(const Units& line)
{
    const std::uint16_t* const opening = FindQuote(line);
    if (opening == line.mEnd)
        return line;
    const Units quoted = {opening + 1, line.mEnd};
    return {quoted.mBegin, FindQuote(quoted)};
}

void AppendEscaped(std::uint16_t unit, std::vector<std::uint16_t>& text)
{
    switch (unit)
    {
    case '\n':
        text.insert(text.end(), {'\\', 'n'});
        break;
    case '\r':
        text.insert(text.end(), {'\\', 'r'});
        break;
    case '"':
        text.insert(text.end(), {'\\', '"'});
        break;
    default:
        text.push_back(unit);
    }
}
} // namespace

bool ParseTextLine(const std::uint16_t* line, std::size_t length, TextEntry* entry)
{
    Units units = EntryOf({line, line + length});
    if (units.Size() && *units.mBegin == '$')
    {
        if (units.Size() < kPrefixLength ||
            !std::equal(kPrefix, kPrefix + kPrefixLength, units.mBegin))
            return false;
        units.mBegin += kPrefixLength;
    }
    const std::uint16_t* const separator = std::find(units.mBegin, units.mEnd, '=');
    entry->mWrittenKey = units.mBegin;
    entry->mKey.resize(static_cast<std::size_t>(separator - units.mBegin));
    std::transform(units.mBegin, separator, entry->mKey.begin(),
                   [](std::uint16_t unit) { return static_cast<unsigned char>(unit); });
    entry->mValue.assign(separator == units.mEnd ? separator : separator + 1, units.mEnd);
    return true;
}

void AppendTextLine(const ByteRun& key, const ByteRun& value, std::vector<std::uint16_t>& text)
{
    text.push_back('"');
    text.insert(text.end(), key.mBytes, key.mBytes + key.mLength);
    text.push_back('=');
    for (std::uint32_t i = 0; i + 1 < value.mLength; i += 2)
        AppendEscaped(LoadInteger<std::uint16_t>(value.mBytes + i, false), text);
    text.insert(text.end(), {'"', '\r', '\n'});
}
} // namespace hollin_private
