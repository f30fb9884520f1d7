// Numbers and messages as text, and numbers from text.
//
//     using namespace krobase::utility;
//     UTF16String size = NumberToString(1234.5, 1, 1, kNumberGroup, kLongestNumber);
//     double value = 0;
//     StringToNumber(value, size, 0);
//     const UTF16String text = ReplaceInString(UTF16String(2, '@'), size);
//
// The user's marks are the decimal mark and the thousands mark of the user's locale. The locale
// of the C library has no effect.
//
// Thread safety: all functions may be called on any thread.
//
// Throws: std::bad_alloc, from the functions with a UTF16String.

#ifndef KROBASE_FORMAT_H
#define KROBASE_FORMAT_H

#include <cstddef>

#include <platform/base/export.h>

#include "text.h"

namespace krobase
{
namespace utility
{
// Returns the text with the strings in place of "@0" to "@9". An "@0" inside an inserted
// string is not replaced. An "@" without a digit after it is left as it is.
PLATFORM_EXPORT UTF16String ReplaceInString(
    const UTF16String& text, const UTF16String& at0, const UTF16String& at1 = {},
    const UTF16String& at2 = {}, const UTF16String& at3 = {}, const UTF16String& at4 = {},
    const UTF16String& at5 = {}, const UTF16String& at6 = {}, const UTF16String& at7 = {},
    const UTF16String& at8 = {}, const UTF16String& at9 = {});

// Flags of NumberToString and FormatNumber.
enum NumberFlags : unsigned int
{
    kNumberNoLocaleMarks = 1, // "." and "," instead of the user's marks
    kNumberPadWithSpaces = 2, // pad the integer part with spaces instead of zeros
    kNumberStripZeros = 4,    // no trailing zeros in the fraction, and no "." at the end
    kNumberGroup = 8,         // the integer part, padding included, in groups of three
    kNumberPlus = 16,         // "+" before a number that is not negative
    kNumberSpace = 32         // a space before a number that is not negative
};

// Flags of StringToNumber.
enum NumberReadFlags : unsigned int
{
    kReadNoLocaleMarks = 2 // "." is the decimal mark, and there is no thousands mark
};

const int kLongestNumber = 511; // characters

// Returns a number as text: the integer part padded to `integerDigits` digits, and `decimals`
// digits of fraction. An infinity is "inf", and a NaN is "nan".
//
// The text has at most `maxLength` characters, and at most kLongestNumber:
// - padding that has no room is left out;
// - a number that has no room without padding is written with an exponent, with the digits
//   that identify the double, or with as many as have room;
// - without room for one digit the text is empty.
PLATFORM_EXPORT UTF16String NumberToString(double value, std::size_t integerDigits,
                                           std::size_t decimals, unsigned int flags, int maxLength);

// Read the number at the head of a text, after white space: a sign, digits with a decimal
// mark, an exponent. Text after the number is ignored.
//
// - Marks: the user's, unless kReadNoLocaleMarks is set. Thousands marks in the integer part
//   are skipped. A "." or "," that is neither mark ends the number.
// - Range: an integer is truncated towards zero, and clamped to the range of its type. A double
//   out of range becomes infinite or zero.
// - Without a number the target is left as it is.
PLATFORM_EXPORT void StringToNumber(long long& target, const UTF16String& text, unsigned int flags);
PLATFORM_EXPORT void StringToNumber(double& target, const UTF16String& text, unsigned int flags);

// The same for the text from `first` to `last`. Allocate nothing for a number of up to 64
// characters.
PLATFORM_EXPORT void StringToNumber(long long& target, const unsigned short* first,
                                    const unsigned short* last, unsigned int flags);
PLATFORM_EXPORT void StringToNumber(double& target, const unsigned short* first,
                                    const unsigned short* last, unsigned int flags);

// Replace each "." and "," by the user's decimal mark and thousands mark, and back.
PLATFORM_EXPORT void InternationalizeNum(UTF16String& text);
PLATFORM_EXPORT void DeInternationalizeNum(UTF16String& text);

// For callers with narrow text.

// The marks of numbers.
struct NumberMarks
{
    unsigned short mDecimal;
    unsigned short mThousands;

    bool AreASCII() const { return mDecimal < 0x80 && mThousands < 0x80; }
    bool operator==(const NumberMarks& other) const
    {
        return mDecimal == other.mDecimal && mThousands == other.mThousands;
    }

    // Returns this object's mark for the same mark of `from`, and any other unit unchanged.
    unsigned short InPlaceOf(unsigned short unit, const NumberMarks& from) const
    {
        if (unit == from.mDecimal)
            return mDecimal;
        return unit == from.mThousands ? mThousands : unit;
    }
};

const NumberMarks kPlainNumberMarks = {'.', ','};

// Returns the user's marks. A mark that is not one unit long counts as "." or ",".
PLATFORM_EXPORT NumberMarks UserNumberMarks();

// The same for ASCII text.
//
// Returns: false if the text before or after is not ASCII; then the text is left as it is.
PLATFORM_EXPORT bool InternationalizeNum(char* text);
PLATFORM_EXPORT bool DeInternationalizeNum(char* text);

// The form of a number. A number is written with an exponent if its digits, its decimal mark and
// its decimals are more than mMostPlain characters, or if the whole text is more than mMost
// characters.
struct NumberLayout
{
    unsigned int mFlags;
    std::size_t mIntegerDigits;
    std::size_t mDecimals;
    std::size_t mMostPlain;
    std::size_t mMost;
    int mExponentDecimals; // negative: the digits that identify the double
};

// Writes a number with the marks "." and ",", without a terminator. Allocates nothing.
//
// Returns: the number of characters, 0 without room for one digit.
// REQUIRES: `out` has room for mMost characters, at most kLongestNumber.
PLATFORM_EXPORT std::size_t FormatNumber(double value, const NumberLayout& layout, char* out);

// Reads the number at the head of a text, as StringToNumber with kReadNoLocaleMarks. "inf" and
// "nan" are numbers, too. Allocates nothing.
//
// Returns: false without a number; then the target is left as it is.
PLATFORM_EXPORT bool ReadNumber(const char* first, const char* last, double* target);
} // namespace utility
} // namespace krobase

#endif
