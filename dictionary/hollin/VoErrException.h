// How the dictionary code tells of a failure.

#ifndef HOLLIN_VO_ERR_EXCEPTION_H
#define HOLLIN_VO_ERR_EXCEPTION_H

#include <cstdint>

namespace hollin
{
// Thrown by value. Derives from nothing. The code is four characters, or what a
// replaced conversion hook returned.
class VoErrException
{
public:
    static constexpr std::int32_t kBufferTooSmall = 0x42554646;    // "BUFF"
    static constexpr std::int32_t kBadParameter = 0x5041524D;      // "PARM"
    static constexpr std::int32_t kConversionRefused = 0x6875683F; // "huh?"

    explicit VoErrException(std::int32_t code) : mCode(code) {}

    std::int32_t mCode;
};
} // namespace hollin

#endif
