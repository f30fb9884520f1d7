// Numbers as text: the parts that U_FormatNum and messages share.

#ifndef TEXT_NUMBERS_H
#define TEXT_NUMBERS_H

#include <cstddef>
#include <string_view>

#include <krobase/format.h>

#include "U_Types.h"

using krobase::utility::NumberMarks;

const std::size_t kLongestNum = 31;   // characters of a formatted number
const std::size_t kMostPlainNum = 22; // digits, mark and decimals of plain notation

inline bool IsDigit(U_u16 unit)
{
    return unit >= '0' && unit <= '9';
}

// Formats a number as U_FormatNum does, with the marks "." and "," and without a terminator.
// `out` has room for kLongestNum bytes. Returns the length.
std::size_t FormatUnmarked(double value, unsigned int flags, int integerDigits,
                           unsigned int decimals, std::size_t mostPlain, char* out);

// Returns the user's marks, or "." and "," if the flags ask for those. `user` may have the user's
// marks already, and may be null.
NumberMarks MarksFor(unsigned int flags, const NumberMarks* user = nullptr);

// Replaces "." and "," in a number that FormatUnmarked has written.
// REQUIRES: if a Unit is a byte, the marks are ASCII.
template <class Unit> void SetMarks(const NumberMarks& marks, Unit* number, std::size_t length)
{
    const NumberMarks plain = krobase::utility::kPlainNumberMarks;
    if (marks == plain)
        return;
    for (std::size_t i = 0; i < length; ++i)
        number[i] = static_cast<Unit>(marks.InPlaceOf(static_cast<U_u16>(number[i]), plain));
}

// The form of a number: the text between two "@" after "^F1" in a message.
struct NumberSpec
{
    unsigned int mFlags;
    int mIntegerDigits;
    int mDecimals;
    std::size_t mLength; // in the message, with both "@"
};

// Reads the form of a number at the head of a text. Returns the default form, of length 0,
// if the text does not begin with one. An "@" without a second one is reported; the result then
// has no options and the length 1. A Unit is a U_u16, or a char of ASCII text.
template <class Unit> NumberSpec ReadNumberSpec(std::basic_string_view<Unit> text);

#endif
