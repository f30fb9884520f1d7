#include "hollin_private/Conversion.h"

#include <algorithm>

#include "hollin/VoErrException.h"
#include "hollin_private/Hooks.h"

namespace hollin_private
{
namespace
{
hollin::TextEncoding OrDefault(hollin::TextEncoding encoding)
{
    return encoding ? encoding : InstalledHooks().mDefaultEncoding;
}

void ThrowIfFailed(std::int32_t code)
{
    if (code)
        throw hollin::VoErrException(code);
}
} // namespace

UnitBuffer ToUnits(const char* bytes, std::uint32_t length, hollin::TextEncoding encoding)
{
    UnitBuffer units;
    if (!length)
        return units;
    encoding = OrDefault(encoding);
    std::uint32_t count = 0;
    ThrowIfFailed(InstalledHooks().mCountUnits(bytes, length, &count, encoding));
    units.resize(count, boost::container::default_init);
    ThrowIfFailed(InstalledHooks().mToUnits(bytes, length, units.data(), count, encoding));
    return units;
}

std::uint32_t CountBytes(const std::uint16_t* units, std::uint32_t length,
                         hollin::TextEncoding encoding)
{
    std::uint32_t count = 0;
    encoding = OrDefault(encoding);
    ThrowIfFailed(InstalledHooks().mCountBytes(units, length, &count, encoding));
    return count;
}

std::uint32_t ToBytes(const std::uint16_t* units, std::uint32_t length, char* bytes,
                      std::uint32_t capacity, hollin::TextEncoding encoding, bool* fits)
{
    std::uint32_t size = 0;
    encoding = OrDefault(encoding);
    const std::int32_t result =
        InstalledHooks().mToBytes(units, length, bytes, capacity, &size, encoding);
    *fits = result != hollin::VoErrException::kBufferTooSmall;
    if (*fits)
        ThrowIfFailed(result);
    return std::min(size, capacity);
}

std::int32_t CompareUnits(const std::uint16_t* left, std::uint32_t leftLength,
                          const std::uint16_t* right, std::uint32_t rightLength)
{
    return InstalledHooks().mCompare(left, leftLength, right, rightLength);
}
} // namespace hollin_private
