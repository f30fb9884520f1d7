#include "hollin_private/DictionaryReader.h"

#include <limits>

#include "hollin/ConversionHooks.h"
#include "hollin_private/Conversion.h"
#include "hollin_private/ImageCursor.h"

namespace hollin_private
{
namespace
{
const std::size_t kFirstCapacity = 256;

bool EndsByteLine(unsigned char byte)
{
    return byte == '\n' || byte == '\r' || byte == 0;
}

bool EndsUnitLine(std::uint16_t unit)
{
    return unit == '\n' || unit == '\r' || unit == 0x2028 || unit == 0x2029;
}
} // namespace

TextCoding CodingOfText(const unsigned char* bytes, std::size_t size)
{
    if (size < sizeof kByteOrderMark)
        return TextCoding::kMultibyte;
    const std::uint16_t mark = LoadInteger<std::uint16_t>(bytes, false);
    if (mark == kByteOrderMark)
        return TextCoding::kUTF16;
    if (mark == boost::endian::endian_reverse(kByteOrderMark))
        return TextCoding::kSwappedUTF16;
    return TextCoding::kMultibyte;
}

DictionaryReader::DictionaryReader(const unsigned char* bytes, std::size_t size)
    : mCursor(bytes), mEnd(bytes + size)
{
    mLine.reserve(kFirstCapacity);
}

std::unique_ptr<DictionaryReader> DictionaryReader::Make(const unsigned char* bytes,
                                                         std::size_t size)
{
    const std::size_t mark = sizeof kByteOrderMark;
    const TextCoding coding = CodingOfText(bytes, size);
    if (coding == TextCoding::kMultibyte)
        return std::make_unique<MultibyteReader>(bytes, size);
    if (coding == TextCoding::kUTF16)
        return std::make_unique<UnicodeReader>(bytes + mark, size - mark);
    return std::make_unique<ByteSwapUnicodeReader>(bytes + mark, size - mark);
}

void DictionaryReader::CountLine(bool empty, std::uint16_t ender)
{
    if (!empty || ender != '\n' || mLastEnder != '\r')
        ++mLineNumber;
    mLastEnder = ender;
}

UnicodeReader::UnicodeReader(const unsigned char* bytes, std::size_t size)
    : DictionaryReader(bytes, size)
{
}

const std::uint16_t* UnicodeReader::ReadLine()
{
    mLine.clear();
    std::uint16_t unit = 0;
    bool ended = ReadUnit(&unit);
    while (!ended && !EndsUnitLine(unit))
    {
        mLine.push_back(unit);
        ended = ReadUnit(&unit);
    }
    if (ended && mLine.empty())
    {
        mCursor = mEnd;
        return nullptr;
    }
    CountLine(mLine.empty(), unit);
    mLine.push_back(0);
    return mLine.data();
}

bool UnicodeReader::ReadUnit(std::uint16_t* unit)
{
    *unit = 0;
    if (mEnd - mCursor < static_cast<std::ptrdiff_t>(sizeof *unit))
        return true;
    *unit = LoadInteger<std::uint16_t>(mCursor, false);
    mCursor += sizeof *unit;
    return *unit == 0;
}

bool ByteSwapUnicodeReader::ReadUnit(std::uint16_t* unit)
{
    const bool ended = UnicodeReader::ReadUnit(unit);
    *unit = boost::endian::endian_reverse(*unit);
    return ended;
}

MultibyteReader::MultibyteReader(const unsigned char* bytes, std::size_t size)
    : DictionaryReader(bytes, size)
{
}

const std::uint16_t* MultibyteReader::ReadLine()
{
    const unsigned char* const line = mCursor;
    while (mCursor != mEnd && !EndsByteLine(*mCursor))
        ++mCursor;
    const std::size_t length = static_cast<std::size_t>(mCursor - line);
    const unsigned char ender = mCursor == mEnd ? 0 : *mCursor;
    if (!length && !ender)
        return nullptr;
    if (mCursor != mEnd)
        ++mCursor;
    CountLine(!length, ender);

    if (length > std::numeric_limits<std::int32_t>::max())
        throw hollin::VoErrException(hollin::VoErrException::kConversionRefused);
    const UnitBuffer units =
        ToUnits(reinterpret_cast<const char*>(line), static_cast<std::uint32_t>(length), nullptr);
    mLine.assign(units.data(), units.data() + units.size());
    mLine.push_back(0);
    return mLine.data();
}
} // namespace hollin_private
