// Writing numbers and messages.

#include "format.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>

namespace krobase
{
namespace utility
{
namespace
{
const std::size_t kMostDecimals = kLongestNumber;

// A number's digits in plain notation.
struct Digits
{
    char mText[std::numeric_limits<double>::max_exponent10 + 2 + kMostDecimals];
    std::size_t mInteger; // the digits before the "."
    std::size_t mLength;

    std::size_t Fraction() const { return mLength - mInteger; }
};

// Prints the shortest digits that identify the value, which is faster than rounding. Returns false
// unless they are also the rounded digits. They are if they have no more decimals and if adjacent
// doubles of that size differ by less than the last decimal.
bool PrintShortest(double value, std::size_t decimals, Digits* digits)
{
    if (decimals > 9 || value >= 0x1p22 || (value < 1e-4 && value > 0))
        return false;
    const char* const end = std::to_chars(std::begin(digits->mText), std::end(digits->mText), value,
                                          std::chars_format::fixed)
                                .ptr;
    char* const point = std::find(digits->mText, const_cast<char*>(end), '.');
    digits->mInteger = static_cast<std::size_t>(point - digits->mText);
    digits->mLength = digits->mInteger + (decimals ? 1 + decimals : 0);
    const std::size_t length = static_cast<std::size_t>(end - digits->mText);
    if (length > digits->mLength)
        return false;
    std::fill(digits->mText + length, digits->mText + digits->mLength, '0');
    if (decimals)
        *point = '.';
    return true;
}

// REQUIRES: the value is not negative.
void Print(double value, std::size_t decimals, Digits* digits)
{
    if (PrintShortest(value, decimals, digits))
        return;
    const int precision = static_cast<int>(std::min(decimals, kMostDecimals));
    const char* const end = std::to_chars(std::begin(digits->mText), std::end(digits->mText), value,
                                          std::chars_format::fixed, precision)
                                .ptr;
    digits->mLength = static_cast<std::size_t>(end - digits->mText);
    digits->mInteger =
        precision ? digits->mLength - 1 - static_cast<std::size_t>(precision) : digits->mLength;
}

void StripZeros(Digits* digits)
{
    if (digits->mLength == digits->mInteger)
        return;
    while (digits->mText[digits->mLength - 1] == '0')
        --digits->mLength;
    if (digits->mText[digits->mLength - 1] == '.')
        --digits->mLength;
}

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

// Writes the integer part, padded to `width` digits and then grouped.
char* PutInteger(const Digits& digits, std::size_t width, unsigned int flags, char* out)
{
    const char pad = flags & kNumberPadWithSpaces ? ' ' : '0';
    for (std::size_t left = width; left > 0; --left)
    {
        *out++ = left > digits.mInteger ? pad : digits.mText[digits.mInteger - left];
        if (flags & kNumberGroup && left > 1 && left % 3 == 1)
            *out++ = ',';
    }
    return out;
}

// Returns the length, or 0 if the number is too long.
std::size_t PutPlain(double value, const NumberLayout& layout, std::size_t room, char* out)
{
    Digits digits;
    Print(value, layout.mDecimals, &digits);
    if (digits.mLength > layout.mMostPlain)
        return 0;
    if (layout.mFlags & kNumberStripZeros)
        StripZeros(&digits);
    if (MarkedLength(digits.mInteger, layout.mFlags) + digits.Fraction() > room)
        return 0;
    std::size_t width = std::max(digits.mInteger, std::min(layout.mIntegerDigits, room));
    while (MarkedLength(width, layout.mFlags) + digits.Fraction() > room)
        --width;
    char* const fraction = PutInteger(digits, width, layout.mFlags, out);
    char* const end =
        std::copy(digits.mText + digits.mInteger, digits.mText + digits.mLength, fraction);
    return static_cast<std::size_t>(end - out);
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
