// What U_FormatNum shares with messages.

#ifndef TEXT_FORMAT_NUM_H
#define TEXT_FORMAT_NUM_H

#include <cstddef>

#include "U_Types.h"

const std::size_t kLongestNum = 31;   // characters
const std::size_t kMostPlainNum = 22; // of them digits and decimals without an exponent

// Writes a number as U_FormatNum does, but with the marks "." and ",", and
// without a terminator. Returns its length.
std::size_t FormatUnmarked(double value, unsigned int flags, int integerDigits,
                           unsigned int decimals, std::size_t mostPlain, char* out);

#endif
