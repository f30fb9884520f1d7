#include "hollin/ZString.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iterator>
#include <limits>
#include <utility>

#include <platform/base/code_units.h>

#include "hollin/ConversionHooks.h"
#include "hollin/Dictionary.h"
#include "hollin_private/ByteRun.h"
#include "hollin_private/Conversion.h"

namespace hollin
{
using hollin_private::ByteRunValue;
using hollin_private::UnitBuffer;

namespace
{
const std::uint32_t kLongestPascal = 255;

std::uint32_t LengthOf(const char* text)
{
    const std::size_t length = text ? std::strlen(text) : 0;
    if (length > std::numeric_limits<std::uint32_t>::max())
        throw VoErrException(VoErrException::kBadParameter);
    return static_cast<std::uint32_t>(length);
}
} // namespace

ZString::ZString(boost::intrusive_ptr<ByteRunValue> text) : mText(std::move(text)) {}

ZString::ZString(const char* bytes, std::uint32_t length, TextEncoding encoding)
{
    const UnitBuffer units = hollin_private::ToUnits(bytes, length, encoding);
    Assign(units.data(), units.size());
}

ZString::ZString(const char* text, TextEncoding encoding) : ZString(text, LengthOf(text), encoding)
{
}

ZString::ZString(const std::uint16_t* units, std::uint32_t count)
{
    Assign(units, count);
}

ZString ZString::FromPascal(const unsigned char* text, TextEncoding encoding)
{
    if (!text)
        return ZString();
    return ZString(reinterpret_cast<const char*>(text + 1), *text, encoding);
}

ZString ZString::FromNumber(std::int32_t number)
{
    char digits[16];
    const char* end = std::to_chars(std::begin(digits), std::end(digits), number).ptr;
    std::uint16_t units[std::size(digits)];
    std::copy(static_cast<const char*>(digits), end, units);
    return ZString(units, static_cast<std::uint32_t>(end - digits));
}

ZString ZString::FromUTF16Bytes(const void* bytes, std::uint32_t length)
{
    const std::uint32_t whole = length & ~1u;
    if (!whole)
        return ZString();
    return ZString(boost::intrusive_ptr<ByteRunValue>(new ByteRunValue(bytes, whole)));
}

ZString ZString::FromDomain(std::uint32_t domain, const char* zstring, TextEncoding encoding)
{
    return Dictionary::ForDomain(domain).GetString(zstring, encoding);
}

void ZString::Assign(const std::uint16_t* units, std::size_t count)
{
    if (count > std::numeric_limits<std::uint32_t>::max() / sizeof(std::uint16_t))
        throw VoErrException(VoErrException::kBadParameter);
    *this = FromUTF16Bytes(units, static_cast<std::uint32_t>(count * sizeof(std::uint16_t)));
}

std::uint32_t ZString::Length() const
{
    return mText ? mText->Length() / static_cast<std::uint32_t>(sizeof(std::uint16_t)) : 0;
}

const std::uint16_t* ZString::Data() const
{
    return mText ? reinterpret_cast<const std::uint16_t*>(mText->Bytes()) : nullptr;
}

void ZString::CopyTo(std::uint16_t* units, std::uint32_t size, bool throwIfShort) const
{
    const std::uint16_t* text = Data();
    const std::uint32_t length = Length();
    if (units && size)
    {
        std::uint32_t count = std::min(length, size - 1);
        if (count && count < length && platform::IsHighSurrogate(text[count - 1]) &&
            platform::IsLowSurrogate(text[count]))
            --count;
        std::copy_n(text, count, units);
        units[count] = 0;
        if (count == length)
            return;
    }
    if (throwIfShort)
        throw VoErrException(VoErrException::kBufferTooSmall);
}

void ZString::ToMultibyte(char* bytes, std::uint32_t size, bool throwIfShort,
                          TextEncoding encoding) const
{
    if (!bytes)
        throw VoErrException(VoErrException::kBufferTooSmall);
    bool fits = false;
    if (size)
    {
        bytes[0] = bytes[size - 1] = 0; // the result if a hook fails
        const std::uint32_t written =
            hollin_private::ToBytes(Data(), Length(), bytes, size - 1, encoding, &fits);
        bytes[written] = 0;
    }
    if (!fits && throwIfShort)
        throw VoErrException(VoErrException::kBufferTooSmall);
}

void ZString::ToPascal(unsigned char* bytes, std::uint32_t size, bool throwIfShort,
                       TextEncoding encoding) const
{
    if (!bytes)
        throw VoErrException(VoErrException::kBufferTooSmall);
    bool fits = false;
    if (size)
    {
        bytes[0] = 0;
        const std::uint32_t capacity = std::min(size - 1, kLongestPascal);
        bytes[0] = static_cast<unsigned char>(hollin_private::ToBytes(
            Data(), Length(), reinterpret_cast<char*>(bytes + 1), capacity, encoding, &fits));
    }
    if (!fits && throwIfShort)
        throw VoErrException(VoErrException::kBufferTooSmall);
}

std::uint32_t ZString::MultibyteLength(TextEncoding encoding) const
{
    return hollin_private::CountBytes(Data(), Length(), encoding);
}

std::int32_t ZString::Compare(const ZString& other) const
{
    if (mText == other.mText)
        return 0;
    return hollin_private::CompareUnits(Data(), Length(), other.Data(), other.Length());
}
} // namespace hollin
