// Numbers and messages as text. None of it depends on the C library's locale;
// the user's marks of numbers are those of the user's locale. Any thread.

#ifndef KROBASE_FORMAT_H
#define KROBASE_FORMAT_H

#include <cstddef>

#include <platform/base/export.h>

#include "text.h"

namespace krobase
{
namespace utility
{
// The text with "@0" replaced by the first string, and so on to "@9". What has
// been put in isn't looked at again, and an "@" without a digit behind it stays.
PLATFORM_EXPORT UTF16String ReplaceInString(
    const UTF16String& text, const UTF16String& at0, const UTF16String& at1 = {},
    const UTF16String& at2 = {}, const UTF16String& at3 = {}, const UTF16String& at4 = {},
    const UTF16String& at5 = {}, const UTF16String& at6 = {}, const UTF16String& at7 = {},
    const UTF16String& at8 = {}, const UTF16String& at9 = {});

// How a number is written.
enum NumberFlags : unsigned int
{
    kNumberNoLocaleMarks = 1, // "." and "," instead of the user's marks
    kNumberPadWithSpaces = 2, // pad the integer part with spaces instead of zeros
    kNumberStripZeros = 4, // no trailing zeros in the fraction, and no "." behind which nothing is
    kNumberGroup = 8,      // the integer part, pad included, in groups of three
    kNumberPlus = 16,      // "+" in front of a number that isn't negative
    kNumberSpace = 32      // a space in front of a number that isn't negative
};

// How a number is read.
enum NumberReadFlags : unsigned int
{
    kReadNoLocaleMarks = 2 // "." is the decimal mark, and nothing marks thousands
};

const int kLongestNumber = 511; // characters

// A number as text: its integer part padded to integerDigits digits, and a
// fraction of as many decimals. maxLength is the longest text; of more than
// kLongestNumber it counts as that. The pad goes as far as it has room. A number
// that is too long itself is written with an exponent, with as many digits as
// tell it from its neighbours, or as there is room for; the text is empty if
// not even one digit has room. Infinities are "inf", what is no number "nan".
PLATFORM_EXPORT UTF16String NumberToString(double value, std::size_t integerDigits,
                                           std::size_t decimals, unsigned int flags, int maxLength);

// Read the number at the head of a text, behind white space: a sign, digits with a
// decimal mark, an exponent. Unless told otherwise the marks are the user's, and marks
// of thousands in the integer part are passed over; a "." or "," that is neither ends
// the number. What follows the number has no say. An integer loses its fraction and is
// held to the range of its type; a double becomes infinite or zero. Without a number
// the target stays as it is.
PLATFORM_EXPORT void StringToNumber(long long& target, const UTF16String& text, unsigned int flags);
PLATFORM_EXPORT void StringToNumber(double& target, const UTF16String& text, unsigned int flags);

// Put the user's marks in the place of "." and ",", or back, wherever they stand.
PLATFORM_EXPORT void InternationalizeNum(UTF16String& text);
PLATFORM_EXPORT void DeInternationalizeNum(UTF16String& text);

// For narrow callers.

// The same for text in ASCII that stays in ASCII. False, with the text as it
// was, if it isn't.
PLATFORM_EXPORT bool InternationalizeNum(char* text);
PLATFORM_EXPORT bool DeInternationalizeNum(char* text);

// The form of a number. Plain notation gives way to an exponent if digits and
// decimals are more than mMostPlain characters, or all is more than mMost.
struct NumberLayout
{
    unsigned int mFlags;
    std::size_t mIntegerDigits;
    std::size_t mDecimals;
    std::size_t mMostPlain;
    std::size_t mMost;
    int mExponentDecimals; // negative: as many as tell the number from its neighbours
};

// Writes a number with the marks "." and ",", and no terminator. out has room
// for mMost characters. Returns their count. Allocates nothing.
PLATFORM_EXPORT std::size_t FormatNumber(double value, const NumberLayout& layout, char* out);

// Reads the number at the head of a text, as StringToNumber without marks of
// thousands, and also "inf" and "nan". False, with the target as it was, if there
// is none.
PLATFORM_EXPORT bool ReadNumber(const char* first, const char* last, double* target);
} // namespace utility
} // namespace krobase

#endif
