// The conversions that texts go through. The defaults ask the operating system;
// a host may replace them. This is the only way from here to the platform.
//
// Install hooks before the first text is made, with no other thread in the
// dictionary code.

#ifndef HOLLIN_CONVERSION_HOOKS_H
#define HOLLIN_CONVERSION_HOOKS_H

#include <cstdint>

namespace hollin
{
// A text encoding is told by a pointer: to 1 for UTF-8; null, or any other
// value, for the system's active code page.
typedef const std::uint32_t* TextEncoding;

const std::uint32_t kEncodingUTF8 = 1;

// Each returns 0 or a code, which is thrown as a VoErrException by the caller.
// Lengths and capacities are in bytes for bytes and in units for units.
typedef std::int32_t (*CountUnitsHook)(const char* bytes, std::uint32_t length,
                                       std::uint32_t* count, TextEncoding encoding);
typedef std::int32_t (*ToUnitsHook)(const char* bytes, std::uint32_t length, std::uint16_t* units,
                                    std::uint32_t capacity, TextEncoding encoding);

// The count includes a terminator.
typedef std::int32_t (*CountBytesHook)(const std::uint16_t* units, std::uint32_t length,
                                       std::uint32_t* count, TextEncoding encoding);

// A destination that is too small is filled with whole characters, as the
// encoding asked for has them, *outLength is their size, and the result is "BUFF".
typedef std::int32_t (*ToBytesHook)(const std::uint16_t* units, std::uint32_t length, char* bytes,
                                    std::uint32_t capacity, std::uint32_t* outLength,
                                    TextEncoding encoding);

// Negative, 0 or positive. By default the difference of the first units that
// aren't equal, or of the lengths.
typedef std::int32_t (*CompareHook)(const std::uint16_t* left, std::uint32_t leftLength,
                                    const std::uint16_t* right, std::uint32_t rightLength);

// Installs the four conversions; a null one restores that hook's default.
void SetConversionHooks(CountUnitsHook countUnits, ToUnitsHook toUnits, CountBytesHook countBytes,
                        ToBytesHook toBytes);
bool ConversionHooksAreDefault();
void SetCompareHook(CompareHook compare);

// Stands in for a null encoding; null at the start. Not owned.
void SetDefaultEncoding(TextEncoding encoding);
} // namespace hollin

#endif
