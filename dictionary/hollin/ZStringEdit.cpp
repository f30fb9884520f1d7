// Properties of units, numbers in texts, and the small changes of a user interface.

#include <algorithm>
#include <iterator>
#include <vector>

#include "hollin/ZString.h"

namespace hollin
{
namespace
{
const std::uint16_t kSpace = 0x20;
const std::uint16_t kBackspace = 0x08;
const std::uint16_t kEllipsis = 0x2026;
const unsigned char kNoDigit = 255;

// The digit zero of each script.
const std::uint16_t kZeros[] = {0x0030, 0xFF10, 0x2070, 0x2080, 0x0660, 0x06F0,
                                0x0966, 0x09E6, 0x0A66, 0x0AE6, 0x0B66, 0x0BE6,
                                0x0C66, 0x0CE6, 0x0D66, 0x0E50, 0x0ED0, 0x0F20};

template <std::size_t Count> bool IsOneOf(std::uint16_t unit, const std::uint16_t (&units)[Count])
{
    return std::find(std::begin(units), std::end(units), unit) != std::end(units);
}

bool EndsWithDots(const std::uint16_t* units, std::uint32_t length)
{
    return length >= 3 && std::all_of(units + length - 3, units + length,
                                      [](std::uint16_t unit) { return unit == '.'; });
}
} // namespace

unsigned char DigitValue(std::uint16_t unit)
{
    switch (unit)
    {
    case 0x00B9:
        return 1;
    case 0x00B2:
        return 2;
    case 0x00B3:
        return 3;
    case 0x0BE6: // these are no digits, though inside a range of digits
    case 0x2071:
    case 0x2072:
    case 0x2073:
        return kNoDigit;
    default:
        break;
    }
    for (std::uint16_t zero : kZeros)
    {
        if (unit >= zero && unit - zero < 10)
            return static_cast<unsigned char>(unit - zero);
    }
    return kNoDigit;
}

bool IsSpace(std::uint16_t unit)
{
    static const std::uint16_t kSingle[] = {kSpace, 0x3000, 0x00A0, 0x2028, 0x2029, 0xFEFF};
    return (unit >= 0x0009 && unit <= 0x000D) || (unit >= 0x2000 && unit <= 0x200B) ||
           IsOneOf(unit, kSingle);
}

bool IsMinus(std::uint16_t unit)
{
    static const std::uint16_t kMinuses[] = {0x002D, 0x207B, 0x208B, 0x2212, 0xFF0D, 0xFE63};
    return IsOneOf(unit, kMinuses);
}

bool IsPlus(std::uint16_t unit)
{
    static const std::uint16_t kPluses[] = {0x002B, 0x207A, 0x208A, 0xFF0B, 0xFE62};
    return IsOneOf(unit, kPluses);
}

bool ZString::ToInteger(std::int32_t* out) const
{
    const std::uint16_t* units = Data();
    const std::uint16_t* const end = units + Length();
    const bool isNegative = units != end && *units == '-';
    if (isNegative || (units != end && *units == '+'))
        ++units;
    bool areDigits = true;
    std::uint32_t number = 0;
    for (; units != end; ++units)
    {
        const unsigned char digit = DigitValue(*units);
        if (digit == kNoDigit)
            areDigits = false;
        else
            number = number * 10 + digit;
    }
    *out = static_cast<std::int32_t>(isNegative ? 0 - number : number);
    return areDigits;
}

bool ZString::IsBlank() const
{
    return std::all_of(Data(), Data() + Length(), IsSpace);
}

void ZString::TrimSpaces()
{
    const std::uint16_t* begin = Data();
    const std::uint16_t* end = begin + Length();
    while (begin != end && *begin == kSpace)
        ++begin;
    while (begin != end && end[-1] == kSpace)
        --end;
    const auto length = static_cast<std::size_t>(end - begin);
    if (length != Length())
        Assign(begin, length);
}

void ZString::EllipsisToDots()
{
    const std::uint32_t length = Length();
    if (!length || Data()[length - 1] != kEllipsis)
        return;
    std::vector<std::uint16_t> result(Data(), Data() + length - 1);
    result.insert(result.end(), 3, '.');
    Assign(result.data(), result.size());
}

void ZString::RemoveEllipsis()
{
    const std::uint32_t length = Length();
    if (length && Data()[length - 1] == kEllipsis)
        Assign(Data(), length - 1);
    else if (EndsWithDots(Data(), length))
        Assign(Data(), length - 3);
}

bool ZString::RemoveExtension()
{
    std::uint32_t length = Length();
    while (length && Data()[length - 1] != '.')
        --length;
    if (!length)
        return false;
    Assign(Data(), length - 1);
    return true;
}

void ZString::ColonsToHyphens()
{
    std::vector<std::uint16_t> result(Data(), Data() + Length());
    std::replace(result.begin(), result.end(), ':', '-');
    Assign(result.data(), result.size());
}

void ZString::StripMnemonics()
{
    static const std::uint16_t kShortcut[] = {kSpace, kBackspace};
    const std::uint16_t* units = Data();
    const std::uint16_t* const end =
        std::search(units, units + Length(), std::begin(kShortcut), std::end(kShortcut));
    std::vector<std::uint16_t> result;
    result.reserve(Length());
    while (units != end)
    {
        const std::uint16_t unit = *units++;
        const bool marksMnemonic = unit == '&' && (units == end || *units != kSpace);
        if (!marksMnemonic)
            result.push_back(unit);
        else if (units != end)
            result.push_back(*units++);
    }
    Assign(result.data(), result.size());
}
} // namespace hollin
