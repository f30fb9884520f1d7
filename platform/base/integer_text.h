// Integers from texts of settings and of the environment.

#ifndef PLATFORM_INTEGER_TEXT_H
#define PLATFORM_INTEGER_TEXT_H

#include <charconv>
#include <cstring>
#include <limits>

namespace platform
{
// Reads a decimal integer as strtol does, by no locale: white space and a sign may precede
// the digits, and any text may follow the digits. A number outside the range of Integer
// becomes the nearest Integer, whatever the width of long.
// Returns: the text after the digits, or null without digits; then *value is kept.
template <class Integer> const char* ReadInteger(const char* text, Integer* value)
{
    const char* first = text + std::strspn(text, " \t\n\v\f\r");
    if (*first == '+' && first[1] != '-')
        ++first;
    const std::from_chars_result result =
        std::from_chars(first, first + std::strlen(first), *value);
    if (result.ec == std::errc::invalid_argument)
        return nullptr;
    if (result.ec == std::errc::result_out_of_range)
        *value = *first == '-' ? std::numeric_limits<Integer>::min()
                               : std::numeric_limits<Integer>::max();
    return result.ptr;
}
} // namespace platform

#endif
