// Conversions through the hooks. What a hook refuses is thrown as a
// VoErrException. A null encoding stands for the default one.

#ifndef HOLLIN_PRIVATE_CONVERSION_H
#define HOLLIN_PRIVATE_CONVERSION_H

#include <cstdint>

#include <boost/container/small_vector.hpp>

#include "hollin/ConversionHooks.h"

namespace hollin_private
{
// Most texts fit without an allocation.
typedef boost::container::small_vector<std::uint16_t, 256> UnitBuffer;

UnitBuffer ToUnits(const char* bytes, std::uint32_t length, hollin::TextEncoding encoding);

// With a terminator.
std::uint32_t CountBytes(const std::uint16_t* units, std::uint32_t length,
                         hollin::TextEncoding encoding);

// Converts what fits, in whole characters, and returns their size in bytes.
// *fits tells whether that was all.
std::uint32_t ToBytes(const std::uint16_t* units, std::uint32_t length, char* bytes,
                      std::uint32_t capacity, hollin::TextEncoding encoding, bool* fits);

std::int32_t CompareUnits(const std::uint16_t* left, std::uint32_t leftLength,
                          const std::uint16_t* right, std::uint32_t rightLength);
} // namespace hollin_private

#endif
