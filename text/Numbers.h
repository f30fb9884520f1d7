// Numbers as text: the parts that U_FormatNum and messages share.

#ifndef TEXT_NUMBERS_H
#define TEXT_NUMBERS_H

#include <cstddef>

#include "U_Types.h"

const std::size_t kLongestNum = 31;   // characters of a formatted number
const std::size_t kMostPlainNum = 22; // digits and decimals that plain notation has at most

inline bool IsDigit(U_u16 unit)
{
    return unit >= '0' && unit <= '9';
}

// Formats a number as U_FormatNum does, with the marks "." and "," and without a terminator.
// `out` has room for kLongestNum bytes. Returns the length.
std::size_t FormatUnmarked(double value, unsigned int flags, int integerDigits,
                           unsigned int decimals, std::size_t mostPlain, char* out);

// A number specification: the text between two "@" after "^F1" in a message.
struct NumberSpec
{
    unsigned int mFlags;
    int mIntegerDigits;
    int mDecimals;
    std::size_t mLength; // in the message, with both "@"
};

// Reads the format specifier that starts at an offset of a message. Returns the default
// specification, of length 0, if none starts there. An "@" without a second one is reported;
// the result then has no options and the length 1.
NumberSpec ReadNumberSpec(const U_UTF16String& message, std::size_t start);

#endif
