// Conversions through the hooks in force, a null encoding replaced by the default one.
//
// Throws: VoErrException with the code of a hook that fails.

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

// The count includes a terminator.
std::uint32_t CountBytes(const std::uint16_t* units, std::uint32_t length,
                         hollin::TextEncoding encoding);

// Converts as many whole characters as fit, and returns their size in bytes. Sets *fits to
// whether all of the text fits.
std::uint32_t ToBytes(const std::uint16_t* units, std::uint32_t length, char* bytes,
                      std::uint32_t capacity, hollin::TextEncoding encoding, bool* fits);

std::int32_t CompareUnits(const std::uint16_t* left, std::uint32_t leftLength,
                          const std::uint16_t* right, std::uint32_t rightLength);
} // namespace hollin_private

#endif
