#include "hollin/ConversionHooks.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <memory>

#include <platform/base/code_units.h>
#include <win32/text.h>

#include "hollin_private/Conversion.h"

namespace hollin
{
namespace
{
const std::uint32_t kLongestSource = std::numeric_limits<std::int32_t>::max();

unsigned int CodePageOf(TextEncoding encoding)
{
    const bool isUTF8 = encoding && *encoding == kEncodingUTF8;
    return isUTF8 ? win32::kCodePageUTF8 : win32::kCodePageActive;
}

// Lengths and capacities are ints for the system.
int ToInt(std::uint32_t length)
{
    return static_cast<int>(std::min(length, kLongestSource));
}

// Returns the code of a conversion that failed.
std::int32_t CodeOfLastError()
{
    return win32::GetLastError() == win32::kErrorInsufficientBuffer
               ? VoErrException::kBufferTooSmall
               : VoErrException::kConversionRefused;
}

// The system takes a capacity of 0 for a request to count.
std::int32_t CheckConversion(std::uint32_t length, std::uint32_t capacity)
{
    if (length > kLongestSource)
        return VoErrException::kConversionRefused;
    return capacity ? 0 : VoErrException::kBufferTooSmall;
}

// ToUnits does not call the two hooks below for an empty text.
std::int32_t DefaultCountUnits(const char* bytes, std::uint32_t length, std::uint32_t* count,
                               TextEncoding encoding)
{
    *count = 0;
    if (length > kLongestSource)
        return VoErrException::kConversionRefused;
    const int needed =
        win32::MultiByteToWideChar(CodePageOf(encoding), 0, bytes, ToInt(length), nullptr, 0);
    *count = static_cast<std::uint32_t>(needed);
    return needed ? 0 : VoErrException::kConversionRefused;
}

std::int32_t DefaultToUnits(const char* bytes, std::uint32_t length, std::uint16_t* units,
                            std::uint32_t capacity, TextEncoding encoding)
{
    if (std::int32_t failure = CheckConversion(length, capacity))
        return failure;
    const int written = win32::MultiByteToWideChar(CodePageOf(encoding), 0, bytes, ToInt(length),
                                                   units, ToInt(capacity));
    return written ? 0 : CodeOfLastError();
}

std::int32_t DefaultCountBytes(const std::uint16_t* units, std::uint32_t length,
                               std::uint32_t* count, TextEncoding encoding)
{
    *count = 1;
    if (!length)
        return 0;
    if (length > kLongestSource)
        return VoErrException::kConversionRefused;
    const int needed = win32::WideCharToMultiByte(CodePageOf(encoding), 0, units, ToInt(length),
                                                  nullptr, 0, nullptr, nullptr);
    *count += static_cast<std::uint32_t>(needed);
    return needed ? 0 : VoErrException::kConversionRefused;
}

// Returns the size of the whole characters among the first `capacity` bytes.
//
// REQUIRES: capacity < length.
std::uint32_t WholeCharacters(const char* bytes, std::uint32_t length, std::uint32_t capacity,
                              unsigned int codePage)
{
    if (codePage == win32::kCodePageUTF8 || win32::GetACP() == win32::kCodePageUTF8)
        return static_cast<std::uint32_t>(platform::CutUTF8(bytes, length, capacity));
    std::uint32_t size = 0;
    while (size < capacity)
    {
        const auto byte = static_cast<unsigned char>(bytes[size]);
        const std::uint32_t step = win32::IsDBCSLeadByteEx(win32::kCodePageActive, byte) ? 2 : 1;
        if (step > capacity - size)
            break;
        size += step;
    }
    return size;
}

// Stores the start of the text, and returns its size, or 0 if the text can't be converted.
//
// The whole text is converted: the system fills a short buffer with whole characters, but does
// not return their size.
std::uint32_t ToBytesThatFit(const std::uint16_t* units, int length, char* bytes,
                             std::uint32_t capacity, unsigned int codePage)
{
    const int needed =
        win32::WideCharToMultiByte(codePage, 0, units, length, nullptr, 0, nullptr, nullptr);
    if (needed <= ToInt(capacity))
        return 0;
    const std::unique_ptr<char[]> whole(new char[static_cast<std::size_t>(needed)]);
    const int written = win32::WideCharToMultiByte(codePage, 0, units, length, whole.get(), needed,
                                                   nullptr, nullptr);
    if (written <= ToInt(capacity))
        return 0;
    const std::uint32_t size =
        WholeCharacters(whole.get(), static_cast<std::uint32_t>(written), capacity, codePage);
    std::memcpy(bytes, whole.get(), size);
    return size;
}

std::int32_t DefaultToBytes(const std::uint16_t* units, std::uint32_t length, char* bytes,
                            std::uint32_t capacity, std::uint32_t* outLength, TextEncoding encoding)
{
    *outLength = 0;
    if (!length)
        return 0;
    if (std::int32_t failure = CheckConversion(length, capacity))
        return failure;
    const unsigned int codePage = CodePageOf(encoding);
    const int written = win32::WideCharToMultiByte(codePage, 0, units, ToInt(length), bytes,
                                                   ToInt(capacity), nullptr, nullptr);
    *outLength = static_cast<std::uint32_t>(written);
    if (written)
        return 0;
    const std::int32_t failure = CodeOfLastError();
    if (failure == VoErrException::kBufferTooSmall)
        *outLength = ToBytesThatFit(units, ToInt(length), bytes, capacity, codePage);
    return failure;
}

std::int32_t DefaultCompare(const std::uint16_t* left, std::uint32_t leftLength,
                            const std::uint16_t* right, std::uint32_t rightLength)
{
    const std::uint32_t common = std::min(leftLength, rightLength);
    const auto unequal = std::mismatch(left, left + common, right);
    if (unequal.first != left + common)
        return *unequal.first - *unequal.second;
    return static_cast<std::int32_t>(leftLength) - static_cast<std::int32_t>(rightLength);
}

// The hooks in force. Written while no other thread is in the dictionary code.
struct Hooks
{
    CountUnitsHook mCountUnits = DefaultCountUnits;
    ToUnitsHook mToUnits = DefaultToUnits;
    CountBytesHook mCountBytes = DefaultCountBytes;
    ToBytesHook mToBytes = DefaultToBytes;
    CompareHook mCompare = DefaultCompare;
    TextEncoding mDefaultEncoding = nullptr;
};
Hooks sHooks;

TextEncoding OrDefault(TextEncoding encoding)
{
    return encoding ? encoding : sHooks.mDefaultEncoding;
}

void ThrowIfFailed(std::int32_t code)
{
    if (code)
        throw VoErrException(code);
}
} // namespace

void SetConversionHooks(CountUnitsHook countUnits, ToUnitsHook toUnits, CountBytesHook countBytes,
                        ToBytesHook toBytes)
{
    sHooks.mCountUnits = countUnits ? countUnits : DefaultCountUnits;
    sHooks.mToUnits = toUnits ? toUnits : DefaultToUnits;
    sHooks.mCountBytes = countBytes ? countBytes : DefaultCountBytes;
    sHooks.mToBytes = toBytes ? toBytes : DefaultToBytes;
}

bool ConversionHooksAreDefault()
{
    return sHooks.mCountUnits == DefaultCountUnits && sHooks.mToUnits == DefaultToUnits &&
           sHooks.mCountBytes == DefaultCountBytes && sHooks.mToBytes == DefaultToBytes;
}

void SetCompareHook(CompareHook compare)
{
    sHooks.mCompare = compare ? compare : DefaultCompare;
}

void SetDefaultEncoding(TextEncoding encoding)
{
    sHooks.mDefaultEncoding = encoding;
}
} // namespace hollin

namespace hollin_private
{
using hollin::OrDefault;
using hollin::sHooks;
using hollin::ThrowIfFailed;

UnitBuffer ToUnits(const char* bytes, std::uint32_t length, hollin::TextEncoding encoding)
{
    UnitBuffer units;
    if (!length)
        return units;
    encoding = OrDefault(encoding);
    std::uint32_t count = 0;
    ThrowIfFailed(sHooks.mCountUnits(bytes, length, &count, encoding));
    units.resize(count, boost::container::default_init);
    ThrowIfFailed(sHooks.mToUnits(bytes, length, units.data(), count, encoding));
    return units;
}

std::uint32_t CountBytes(const std::uint16_t* units, std::uint32_t length,
                         hollin::TextEncoding encoding)
{
    std::uint32_t count = 0;
    encoding = OrDefault(encoding);
    ThrowIfFailed(sHooks.mCountBytes(units, length, &count, encoding));
    return count;
}

std::uint32_t ToBytes(const std::uint16_t* units, std::uint32_t length, char* bytes,
                      std::uint32_t capacity, hollin::TextEncoding encoding, bool* fits)
{
    std::uint32_t size = 0;
    encoding = OrDefault(encoding);
    const std::int32_t result = sHooks.mToBytes(units, length, bytes, capacity, &size, encoding);
    *fits = result != hollin::VoErrException::kBufferTooSmall;
    if (*fits)
        ThrowIfFailed(result);
    return std::min(size, capacity);
}

std::int32_t CompareUnits(const std::uint16_t* left, std::uint32_t leftLength,
                          const std::uint16_t* right, std::uint32_t rightLength)
{
    return sHooks.mCompare(left, leftLength, right, rightLength);
}
} // namespace hollin_private
