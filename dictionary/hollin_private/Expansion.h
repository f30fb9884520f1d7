// The notations of default texts and text files: escapes such as ^C and \n, and
// named and numbered characters such as #{mdash} and #{U+2014}.

#ifndef HOLLIN_PRIVATE_EXPANSION_H
#define HOLLIN_PRIVATE_EXPANSION_H

#include <cstddef>
#include <cstdint>

namespace hollin_private
{
// Expands a text in place. The text never grows. Returns the new count of units. Characters
// that are no notation are kept.
std::size_t ExpandText(std::uint16_t* units, std::size_t count);
} // namespace hollin_private

#endif
