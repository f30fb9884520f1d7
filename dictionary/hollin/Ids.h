// The identifiers of a flat store's entries, and how long its runs may be.

#ifndef HOLLIN_IDS_H
#define HOLLIN_IDS_H

#include <cstdint>

namespace hollin
{
const std::uint32_t kNoId = 0xFFFFFFFFu;

// The longest key, value or comment of a flat store, in bytes.
const std::uint32_t kLongestRun = 65535;
} // namespace hollin

#endif
