// The notations of default texts and text files: escapes such as ^C and \n, and
// named and numbered characters such as #{mdash} and #{U+2014}.

#ifndef HOLLIN_PRIVATE_EXPANSION_H
#define HOLLIN_PRIVATE_EXPANSION_H

#include <cstddef>
#include <cstdint>

namespace hollin_private
{
// Expands a text where it stands; it never gets longer. Returns the new count of
// units. What is no notation stays as it is.
std::size_t ExpandText(std::uint16_t* units, std::size_t count);
} // namespace hollin_private

#endif
