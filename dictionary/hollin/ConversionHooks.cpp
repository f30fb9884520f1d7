#include "hollin/ConversionHooks.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <memory>

#include <win32/text.h>

#include "hollin/VoErrException.h"
#include "hollin_private/Hooks.h"

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

// Lengths and capacities as the system takes them.
int ToInt(std::uint32_t length)
{
    return static_cast<int>(std::min(length, kLongestSource));
}

// What a call that gave 0 failed of.
std::int32_t CodeOfLastError()
{
    return win32::GetLastError() == win32::kErrorInsufficientBuffer
               ? VoErrException::kBufferTooSmall
               : VoErrException::kConversionRefused;
}

// A capacity of 0 would only count.
std::int32_t CheckConversion(std::uint32_t length, std::uint32_t capacity)
{
    if (length > kLongestSource)
        return VoErrException::kConversionRefused;
    return capacity ? 0 : VoErrException::kBufferTooSmall;
}

std::int32_t DefaultCountUnits(const char* bytes, std::uint32_t length, std::uint32_t* count,
                               TextEncoding encoding)
{
    *count = 0;
    if (!length)
        return 0;
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
    if (!length)
        return 0;
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

// The size of the whole characters among the first capacity bytes. There are
// more bytes than that.
std::uint32_t WholeCharacters(const char* bytes, std::uint32_t capacity, unsigned int codePage)
{
    if (codePage == win32::kCodePageUTF8 || win32::GetACP() == win32::kCodePageUTF8)
    {
        while (capacity && (bytes[capacity] & 0xC0) == 0x80)
            --capacity;
        return capacity;
    }
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

// The system fills a destination that is too small with whole characters, but
// doesn't tell how far, so the whole text is converted and its start taken. 0 if
// it can't be.
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
    const std::uint32_t size = WholeCharacters(whole.get(), capacity, codePage);
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

// Written while no other thread is in the dictionary code.
hollin_private::Hooks sHooks = {DefaultCountUnits, DefaultToUnits, DefaultCountBytes,
                                DefaultToBytes,    DefaultCompare, nullptr};
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

const hollin_private::Hooks& hollin_private::InstalledHooks()
{
    return hollin::sHooks;
}
