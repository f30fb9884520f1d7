// Names of blocks, kept once each.

#ifndef TOLV_NAMES_H
#define TOLV_NAMES_H

#include <cstdint>

namespace tolv
{
// The number of a name, which it keeps while the process lives; 0 for null.
// Names are cut to 63 bytes. Takes no lock. The table is bounded: names that
// no longer fit share one number.
std::uint32_t InternName(const char* name);

// The name of a number.
const char* NameOf(std::uint32_t number);
} // namespace tolv

#endif
