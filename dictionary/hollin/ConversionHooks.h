// The conversions between bytes and UTF-16 for all texts of the dictionary code.
//
// The default hooks call the operating system. A host may replace them; there is no other way
// from this code to the platform.
//
//     if (hollin::ConversionHooksAreDefault())
//         hollin::SetDefaultEncoding(&hollin::kEncodingUTF8);
//
// Thread safety: hooks and the default encoding are set before the first text is made, while
// no other thread is in the dictionary code.

#ifndef HOLLIN_CONVERSION_HOOKS_H
#define HOLLIN_CONVERSION_HOOKS_H

#include <cstdint>

namespace hollin
{
// A pointer to 1 for UTF-8. Null, or a pointer to any other value, is the system's active code
// page.
typedef const std::uint32_t* TextEncoding;

const std::uint32_t kEncodingUTF8 = 1;

// Sets the encoding that replaces a null pointer, null at first. Not owned.
void SetDefaultEncoding(TextEncoding encoding);

// Thrown by value for a buffer that is too small, a bad parameter and a failed conversion.
// Derives from nothing. The code is four characters, or the result of a replaced hook.
class VoErrException
{
public:
    static constexpr std::int32_t kBufferTooSmall = 0x42554646;    // "BUFF"
    static constexpr std::int32_t kBadParameter = 0x5041524D;      // "PARM"
    static constexpr std::int32_t kConversionRefused = 0x6875683F; // "huh?"

    explicit VoErrException(std::int32_t code) : mCode(code) {}

    std::int32_t mCode;
};

// Each conversion returns 0, or a code that its caller throws as a VoErrException. Lengths
// and capacities are in bytes for bytes and in units for units.
typedef std::int32_t (*CountUnitsHook)(const char* bytes, std::uint32_t length,
                                       std::uint32_t* count, TextEncoding encoding);
typedef std::int32_t (*ToUnitsHook)(const char* bytes, std::uint32_t length, std::uint16_t* units,
                                    std::uint32_t capacity, TextEncoding encoding);

// *count includes a terminator.
typedef std::int32_t (*CountBytesHook)(const std::uint16_t* units, std::uint32_t length,
                                       std::uint32_t* count, TextEncoding encoding);

// If the buffer is too small, the hook stores as many whole characters of the encoding as
// fit, sets *outLength to their size and returns "BUFF".
typedef std::int32_t (*ToBytesHook)(const std::uint16_t* units, std::uint32_t length, char* bytes,
                                    std::uint32_t capacity, std::uint32_t* outLength,
                                    TextEncoding encoding);

// Returns a negative number, 0 or a positive number. The default hook returns the difference
// of the first unequal units, or of the lengths.
typedef std::int32_t (*CompareHook)(const std::uint16_t* left, std::uint32_t leftLength,
                                    const std::uint16_t* right, std::uint32_t rightLength);

// A null argument restores the default of that hook.
void SetConversionHooks(CountUnitsHook countUnits, ToUnitsHook toUnits, CountBytesHook countBytes,
                        ToBytesHook toBytes);
void SetCompareHook(CompareHook compare);

// Returns whether all four conversions are the defaults.
bool ConversionHooksAreDefault();
} // namespace hollin

#endif
