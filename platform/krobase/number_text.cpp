// Numbers read, and their marks.

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>

#include <win32/locale.h>

#include "format.h"

namespace krobase
{
namespace utility
{
namespace
{
const char kWhiteSpace[] = " \t\n\v\f\r";
const char kNumberSigns[] = "+-eE"; // besides digits and the decimal mark

// Returns whether the unit is one of the characters.
bool IsOneOf(unsigned int unit, const char* characters)
{
    for (; *characters; ++characters)
    {
        if (unit == static_cast<unsigned char>(*characters))
            return true;
    }
    return false;
}

bool IsDigit(unsigned int unit)
{
    return unit >= '0' && unit <= '9';
}

// Returns the locale's mark if the mark is one unit long, else the usual mark.
unsigned short UserMark(unsigned int item, unsigned short usual)
{
    const int kRoom = 16;
    unsigned short text[kRoom];
    return win32::GetLocaleInfoW(win32::kLocaleUserDefault, item, text, kRoom) == 2 ? text[0]
                                                                                    : usual;
}

void Exchange(UTF16String& text, const NumberMarks& from, const NumberMarks& to)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [&](unsigned short unit) { return to.InPlaceOf(unit, from); });
}

bool Exchange(char* text, const NumberMarks& from, const NumberMarks& to)
{
    for (const char* at = text; *at; ++at)
    {
        const unsigned char byte = static_cast<unsigned char>(*at);
        if (byte >= 0x80 || to.InPlaceOf(byte, from) >= 0x80)
            return false;
    }
    for (; *text; ++text)
        *text = static_cast<char>(to.InPlaceOf(static_cast<unsigned char>(*text), from));
    return true;
}

// Returns whether a number out of double's range is too large, and not too small. The text is
// digits with or without a ".", with or without an exponent.
bool IsTooLarge(const char* first, const char* last)
{
    const char* const mark = std::find_if(first, last, [](char c) { return c == 'e' || c == 'E'; });
    const char* const point = std::find(first, mark, '.');
    const char* const digit = std::find_if(first, mark, [](char c) { return c > '0' && c <= '9'; });
    // The power of ten of the first digit that is not 0, or one more.
    const long long power = digit < point ? point - digit : point + 1 - digit;
    long long exponent = 0;
    const char* const exponentText = mark + (mark != last) + (mark != last && mark[1] == '+');
    if (std::from_chars(exponentText, last, exponent).ec == std::errc::result_out_of_range)
        return *exponentText != '-';
    return exponent > -power;
}

// Reads a number at the head of the text. Returns the end of the number, or `first` without a
// number.
const char* ReadAt(const char* first, const char* last, double* target)
{
    double value = 0;
    const std::from_chars_result result = std::from_chars(first, last, value);
    if (result.ec == std::errc::invalid_argument)
        return first;
    if (result.ec == std::errc::result_out_of_range)
    {
        const bool isNegative = *first == '-';
        value = IsTooLarge(first + isNegative, result.ptr) ? HUGE_VAL : 0;
        value = isNegative ? -value : value;
    }
    *target = value;
    return result.ptr;
}

// Returns the position after white space and a "+".
const char* NumberStart(const char* first, const char* last)
{
    while (first != last && IsOneOf(static_cast<unsigned char>(*first), kWhiteSpace))
        ++first;
    if (last - first >= 2 && *first == '+' && first[1] != '-')
        ++first;
    return first;
}

// Truncates the value towards zero, and clamps it to the range of long long.
long long Clamped(double value)
{
    typedef std::numeric_limits<long long> Limits;
    if (value >= -static_cast<double>(Limits::min()))
        return Limits::max();
    return value <= static_cast<double>(Limits::min()) ? Limits::min()
                                                       : static_cast<long long>(value);
}

// The head of a text that can be part of a number, as narrow text with the mark ".". Numbers of
// usual length are in place.
class NumberHead
{
public:
    NumberHead(const unsigned short* at, const unsigned short* last, unsigned int flags)
    {
        const bool isMarked = !(flags & kReadNoLocaleMarks);
        const NumberMarks marks = isMarked ? UserNumberMarks() : kPlainNumberMarks;
        while (at != last && IsOneOf(*at, kWhiteSpace))
            ++at;
        bool inInteger = isMarked;
        for (; at != last; ++at)
        {
            const unsigned short unit = *at;
            if (IsDigit(unit))
            {
                Put(static_cast<char>(unit));
                continue;
            }
            const bool isDecimalMark = unit == marks.mDecimal;
            if (inInteger && !isDecimalMark && unit == marks.mThousands && EndsInDigit())
                continue;
            if (!isDecimalMark && !IsOneOf(unit, kNumberSigns))
                break;
            inInteger = inInteger && !isDecimalMark && unit != 'e' && unit != 'E';
            Put(isDecimalMark ? '.' : static_cast<char>(unit));
        }
    }

    const char* Begin() const { return mLong.empty() ? mShort : mLong.data(); }
    const char* End() const { return Begin() + mLength; }

private:
    bool EndsInDigit() const
    {
        return mLength && IsDigit(static_cast<unsigned char>(Begin()[mLength - 1]));
    }

    void Put(char character)
    {
        if (mLength == sizeof(mShort))
            mLong.assign(mShort, mLength);
        if (mLength < sizeof(mShort))
            mShort[mLength] = character;
        else
            mLong += character;
        ++mLength;
    }

    char mShort[64];
    std::size_t mLength = 0;
    std::string mLong; // empty while the head is in place
};
} // namespace

// Two marks of different locales could be the same. So the decimal mark is read again, until no
// other thread has changed the locale between the two.
NumberMarks UserNumberMarks()
{
    const auto decimalMark = [] {
        return UserMark(win32::kLocaleDecimalMark, kPlainNumberMarks.mDecimal);
    };
    NumberMarks marks = {decimalMark(), 0};
    for (;;)
    {
        marks.mThousands = UserMark(win32::kLocaleThousandsMark, kPlainNumberMarks.mThousands);
        const auto decimal = decimalMark();
        if (decimal == marks.mDecimal)
            return marks;
        marks.mDecimal = decimal;
    }
}

void InternationalizeNum(UTF16String& text)
{
    Exchange(text, kPlainNumberMarks, UserNumberMarks());
}

void DeInternationalizeNum(UTF16String& text)
{
    Exchange(text, UserNumberMarks(), kPlainNumberMarks);
}

bool InternationalizeNum(char* text)
{
    return Exchange(text, kPlainNumberMarks, UserNumberMarks());
}

bool DeInternationalizeNum(char* text)
{
    return Exchange(text, UserNumberMarks(), kPlainNumberMarks);
}

bool ReadNumber(const char* first, const char* last, double* target)
{
    const char* const start = NumberStart(first, last);
    return ReadAt(start, last, target) != start;
}

void StringToNumber(double& target, const unsigned short* first, const unsigned short* last,
                    unsigned int flags)
{
    const NumberHead head(first, last, flags);
    ReadNumber(head.Begin(), head.End(), &target);
}

void StringToNumber(long long& target, const unsigned short* first, const unsigned short* last,
                    unsigned int flags)
{
    const NumberHead head(first, last, flags);
    const char* const start = NumberStart(head.Begin(), head.End());
    // Digits alone are read exactly, where a double would round them.
    long long whole = 0;
    const std::from_chars_result digits = std::from_chars(start, head.End(), whole);
    if (digits.ec == std::errc() && digits.ptr == head.End())
    {
        target = whole;
        return;
    }
    double number = 0;
    const char* const end = ReadAt(start, head.End(), &number);
    if (end == start)
        return;
    const bool hasExponent = std::any_of(start, end, [](char c) { return c == 'e' || c == 'E'; });
    target = digits.ec == std::errc() && !hasExponent ? whole : Clamped(number);
}

void StringToNumber(double& target, const UTF16String& text, unsigned int flags)
{
    StringToNumber(target, text.data(), text.data() + text.size(), flags);
}

void StringToNumber(long long& target, const UTF16String& text, unsigned int flags)
{
    StringToNumber(target, text.data(), text.data() + text.size(), flags);
}
} // namespace utility
} // namespace krobase
