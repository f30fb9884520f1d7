// The hash of a key. Files hold the bucket of every key, so the function and
// the number of buckets are part of their format.

#ifndef HOLLIN_PRIVATE_KEY_HASH_H
#define HOLLIN_PRIVATE_KEY_HASH_H

#include <cstdint>

#include "hollin_private/ByteRun.h"

namespace hollin_private
{
const std::uint32_t kBucketCount = 1021;

// Reads at most nine bytes. 0 for an empty key.
std::uint32_t HashKey(const ByteRun& key, std::uint32_t tableSize);
} // namespace hollin_private

#endif
