// Limits of the dictionary formats and stores.

#ifndef HOLLIN_LIMITS_H
#define HOLLIN_LIMITS_H

#include <cstdint>

namespace hollin
{
// The result of an operation that finds no entry. No entry has this identifier.
const std::uint32_t kNoId = 0xFFFFFFFFu;

// The longest key, value or comment of a flat store, in bytes.
const std::uint32_t kLongestRun = 65535;

// Buckets of every store. Image files hold the bucket of each key, so the number and the
// hash function are part of the file format.
const std::uint32_t kBucketCount = 1021;
} // namespace hollin

#endif
