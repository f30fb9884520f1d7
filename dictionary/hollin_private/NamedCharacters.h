// The characters that a text may name, as in #{mdash}: those of HTML 4's Latin-1
// and special sets, and four for layout.
//
// No name begins with another one or reads as a number, so what stands between
// the braces is a name as a whole or not at all.

#ifndef HOLLIN_PRIVATE_NAMED_CHARACTERS_H
#define HOLLIN_PRIVATE_NAMED_CHARACTERS_H

#include <cstdint>

namespace hollin_private
{
struct NamedCharacter
{
    const char* mName;
    std::uint16_t mCharacter;
    std::uint16_t mFollowing = 0; // a second character, or 0
};

const int kLongestCharacterName = 6;

// The row of a name, or null. Case matters.
const NamedCharacter* FindNamedCharacter(const std::uint16_t* units, const std::uint16_t* end);
} // namespace hollin_private

#endif
