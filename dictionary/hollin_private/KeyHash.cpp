#include "hollin_private/KeyHash.h"

#include <algorithm>

namespace hollin_private
{
std::uint32_t HashKey(const ByteRun& key, std::uint32_t tableSize)
{
    const std::uint32_t step = std::max(key.mLength / 5, 1u);
    std::uint32_t hash = 0;
    for (std::uint64_t i = 0; i < key.mLength; i += step)
        hash = ((hash << 5) + key.mBytes[i]) % tableSize;
    return hash;
}
} // namespace hollin_private
