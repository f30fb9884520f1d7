// Writing numbers and messages.

#include "format.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace krobase
{
namespace utility
{
namespace
{
const std::size_t kMostDecimals = kLongestNumber;
const std::size_t kMostPad = kLongestNumber;

// A number's digits in plain notation. Room is left before the digits for the pad.
class Digits
{
public:
    // REQUIRES: `value` is not negative, and finite.
    Digits(double value, std::size_t decimals)
    {
        if (PrintScaled(value, decimals))
            return;
        const int precision = static_cast<int>(std::min(decimals, kMostDecimals));
        char* const first = mText + kMostPad;
        const char* const end =
            std::to_chars(first, std::end(mText), value, std::chars_format::fixed, precision).ptr;
        mLength = static_cast<std::size_t>(end - first);
        mInteger = precision ? mLength - 1 - static_cast<std::size_t>(precision) : mLength;
    }

    std::size_t Length() const { return mLength; }
    std::size_t Integer() const { return mInteger; } // the digits before the "."
    std::size_t Fraction() const { return mLength - mInteger; }

    void StripZeros()
    {
        if (mLength == mInteger)
            return;
        const char* const text = mText + kMostPad;
        while (text[mLength - 1] == '0')
            --mLength;
        if (text[mLength - 1] == '.')
            --mLength;
    }

    // Returns the text, whose integer part is padded to `width` digits.
    // REQUIRES: `width` is at least Integer(), and the pad is at most kMostPad.
    const char* Padded(std::size_t width, char pad)
    {
        const std::size_t start = kMostPad - (width - mInteger);
        std::fill(mText + start, mText + kMostPad, pad);
        return mText + start;
    }

private:
    // Prints the integer that is nearest to the value times a power of ten, which takes half as
    // long as to_chars of a double. Returns false, and prints nothing, for too many decimals, for a
    // product of kMost or more, and for a product that is a half after rounding: the exact product
    // may then lie on either side of the half. Any other rounded product lies on the same side of
    // each half as the exact product, since each half below kMost is a double.
    bool PrintScaled(double value, std::size_t decimals)
    {
        const double kPowersOfTen[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};
        const double kMost = 0x1p52;
        if (decimals >= std::size(kPowersOfTen))
            return false;
        const double scaled = value * kPowersOfTen[decimals];
        if (!(scaled < kMost))
            return false;
        const std::int64_t below = static_cast<std::int64_t>(scaled);
        const double rest = scaled - static_cast<double>(below);
        if (rest == 0.5)
            return false;

        char* const first = mText + kMostPad;
        char* end = std::to_chars(first, std::end(mText), below + (rest > 0.5)).ptr;
        std::size_t length = static_cast<std::size_t>(end - first);
        if (length <= decimals)
        {
            const std::size_t zeros = decimals + 1 - length;
            std::copy_backward(first, end, end + zeros);
            std::fill(first, first + zeros, '0');
            length += zeros;
        }
        mInteger = length - decimals;
        mLength = length;
        if (decimals > 0)
        {
            char* const point = first + mInteger;
            std::copy_backward(point, first + length, first + length + 1);
            *point = '.';
            ++mLength;
        }
        return true;
    }

    char mText[kMostPad + std::numeric_limits<double>::max_exponent10 + 2 + kMostDecimals];
    std::size_t mInteger;
    std::size_t mLength; // without the pad
};

char SignOf(double value, unsigned int flags)
{
    if (value < 0)
        return '-';
    if (std::isnan(value))
        return 0;
    if (flags & kNumberPlus)
        return '+';
    return flags & kNumberSpace ? ' ' : '\0';
}

// The length of an integer part with its thousands marks.
std::size_t MarkedLength(std::size_t digits, unsigned int flags)
{
    return digits + (flags & kNumberGroup ? (digits - 1) / 3 : 0);
}

// Writes `length` digits, with a thousands mark before each group of three but the first.
char* PutGroups(const char* digits, std::size_t length, char* out)
{
    const char* const end = digits + length;
    const char* const firstMark = digits + (length - 1) % 3 + 1;
    while (digits != firstMark)
        *out++ = *digits++;
    for (; digits != end; digits += 3)
    {
        *out++ = ',';
        std::memcpy(out, digits, 3);
        out += 3;
    }
    return out;
}

// Returns the length, or 0 if the number is too long.
std::size_t PutPlain(double value, const NumberLayout& layout, std::size_t room, char* out)
{
    Digits digits(value, layout.mDecimals);
    if (digits.Length() > layout.mMostPlain)
        return 0;
    if (layout.mFlags & kNumberStripZeros)
        digits.StripZeros();
    if (MarkedLength(digits.Integer(), layout.mFlags) + digits.Fraction() > room)
        return 0;
    std::size_t width = std::max(digits.Integer(), std::min(layout.mIntegerDigits, room));
    while (MarkedLength(width, layout.mFlags) + digits.Fraction() > room)
        --width;
    const char* const text = digits.Padded(width, layout.mFlags & kNumberPadWithSpaces ? ' ' : '0');
    char* const fraction = layout.mFlags & kNumberGroup ? PutGroups(text, width, out)
                                                        : std::copy(text, text + width, out);
    const char* const end = text + width + digits.Fraction();
    return static_cast<std::size_t>(std::copy(text + width, end, fraction) - out);
}

// Returns the length, or 0 without room for one digit. Infinities and NaN are words.
std::size_t PutExponent(double value, int decimals, std::size_t room, char* out)
{
    const std::chars_format kNotation = std::chars_format::scientific;
    std::to_chars_result result = decimals < 0
                                      ? std::to_chars(out, out + room, value, kNotation)
                                      : std::to_chars(out, out + room, value, kNotation, decimals);
    if (decimals < 0)
        decimals = std::numeric_limits<double>::max_digits10;
    while (result.ec != std::errc() && decimals-- > 0)
        result = std::to_chars(out, out + room, value, kNotation, decimals);
    return result.ec == std::errc() ? static_cast<std::size_t>(result.ptr - out) : 0;
}
} // namespace

UTF16String ReplaceInString(const UTF16String& text, const UTF16String& at0, const UTF16String& at1,
                            const UTF16String& at2, const UTF16String& at3, const UTF16String& at4,
                            const UTF16String& at5, const UTF16String& at6, const UTF16String& at7,
                            const UTF16String& at8, const UTF16String& at9)
{
    const UTF16String* const strings[] = {&at0, &at1, &at2, &at3, &at4,
                                          &at5, &at6, &at7, &at8, &at9};
    UTF16String result;
    std::size_t start = 0;
    for (std::size_t position = 0; (position = text.find('@', position)) != UTF16String::npos;)
    {
        const unsigned int next = position + 1 < text.size() ? text[position + 1] : 0;
        if (next < '0' || next > '9')
        {
            ++position;
            continue;
        }
        result.append(text, start, position - start).append(*strings[next - '0']);
        start = position += 2;
    }
    return result.append(text, start);
}

std::size_t FormatNumber(double value, const NumberLayout& layout, char* out)
{
    const double magnitude = std::fabs(value);
    const char sign = SignOf(value, layout.mFlags);
    const std::size_t signLength = sign ? 1 : 0;
    if (layout.mMost < signLength)
        return 0;
    const std::size_t room = layout.mMost - signLength;
    std::size_t length = 0;
    if (std::isfinite(value))
        length = PutPlain(magnitude, layout, room, out + signLength);
    if (length == 0)
        length = PutExponent(magnitude, layout.mExponentDecimals, room, out + signLength);
    if (length == 0)
        return 0;
    if (sign)
        *out = sign;
    return signLength + length;
}

UTF16String NumberToString(double value, std::size_t integerDigits, std::size_t decimals,
                           unsigned int flags, int maxLength)
{
    char text[kLongestNumber];
    const std::size_t most =
        static_cast<std::size_t>(std::max(0, std::min(maxLength, kLongestNumber)));
    const NumberLayout layout = {flags, integerDigits, decimals, SIZE_MAX, most, -1};
    const std::size_t length = FormatNumber(value, layout, text);
    UTF16String units(text, text + length);
    if (!(flags & kNumberNoLocaleMarks))
        InternationalizeNum(units);
    return units;
}
} // namespace utility
} // namespace krobase
