#include "lint/text_scanner.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include <platform/base/code_units.h>
#include <win32/text.h>

#include "lint/plain_line.h"

namespace
{
const std::u16string_view kPrefix = u"$$$";

bool EndsLine(char16_t unit)
{
    return unit == '\n' || unit == '\r' || unit == 0x2028 || unit == 0x2029;
}

bool EndsByteLine(unsigned char byte)
{
    return byte == '\n' || byte == '\r' || byte == 0;
}

// Returns the first double quote from `from` on without a backslash before it, or npos. The unit
// at `from` has none.
std::size_t FindQuote(const std::u16string& units, std::size_t from)
{
    std::size_t at = units.find(u'"', from);
    while (at != std::u16string::npos && at != from && units[at - 1] == '\\')
        at = units.find(u'"', at + 1);
    return at;
}

// Returns how many bytes at the head are well-formed UTF-8.
std::size_t WellFormedHead(std::string_view text)
{
    std::size_t at = 0;
    while (at != text.size())
    {
        const std::size_t length = platform::WellFormedLength(text.substr(at));
        if (!length)
            break;
        at += length;
    }
    return at;
}

std::size_t CountUnits(std::string_view wellFormed)
{
    std::size_t count = 0;
    for (const char byte : wellFormed)
    {
        const auto lead = static_cast<unsigned char>(byte);
        count += platform::IsUTF8Continuation(lead) ? 0 : lead < 0xF0 ? 1 : 2;
    }
    return count;
}

// Each of the functions returns the offset in units of the first bytes that are no character, or
// npos.
std::size_t FindMalformedUTF8(std::string_view text)
{
    const std::size_t head = WellFormedHead(text);
    return head == text.size() ? std::u16string::npos : CountUnits(text.substr(0, head));
}

std::size_t FindLoneSurrogate(std::u16string_view units)
{
    for (std::size_t i = 0; i < units.size(); ++i)
    {
        const bool isPair = platform::IsHighSurrogate(units[i]) && i + 1 < units.size() &&
                            platform::IsLowSurrogate(units[i + 1]);
        if (!isPair && (platform::IsHighSurrogate(units[i]) || platform::IsLowSurrogate(units[i])))
            return i;
        i += isPair ? 1 : 0;
    }
    return std::u16string::npos;
}

// Returns the bytes of the units in the active code page.
std::string InCodePage(std::u16string_view units)
{
    const std::size_t kMostBytes = 2; // of a unit
    const std::vector<unsigned short> copy(units.begin(), units.end());
    std::string bytes(units.size() * kMostBytes, '\0');
    const int size =
        win32::WideCharToMultiByte(win32::GetACP(), 0, copy.data(), static_cast<int>(copy.size()),
                                   bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr);
    bytes.resize(static_cast<std::size_t>(size));
    return bytes;
}

// Bytes that are no character of the code page have become its default character. Some
// characters have several forms in bytes.
std::size_t FindLostBytes(std::string_view text, std::u16string_view units)
{
    const std::u16string_view kDefaults(u"\u30FB?\uFFFD\0", 4);
    std::size_t at = 0;
    for (std::size_t i = 0; i < units.size() && at < text.size(); ++i)
    {
        const auto lead = static_cast<unsigned char>(text[at]);
        const std::size_t length = win32::IsDBCSLeadByteEx(win32::GetACP(), lead) ? 2 : 1;
        if (lead >= 0x80 && kDefaults.find(units[i]) != std::u16string::npos &&
            InCodePage(units.substr(i, 1)) != text.substr(at, length))
            return i;
        at += length;
    }
    return std::u16string::npos;
}
} // namespace

std::string RawLine::Key() const
{
    std::string key(mKeyEnd - mKey, '\0');
    std::transform(mUnits.begin() + static_cast<std::ptrdiff_t>(mKey),
                   mUnits.begin() + static_cast<std::ptrdiff_t>(mKeyEnd), key.begin(),
                   [](char16_t unit) { return static_cast<char>(unit & 0xFF); });
    return key;
}

std::uint64_t RawLine::ColumnOf(std::size_t offset) const
{
    std::uint64_t column = mColumnsBefore + 1;
    for (std::size_t i = 0; i < offset; ++i)
    {
        const bool isSecond =
            i && platform::IsLowSurrogate(mUnits[i]) && platform::IsHighSurrogate(mUnits[i - 1]);
        column += isSecond ? 0 : 1;
    }
    return column;
}

void ParseParts(RawLine* line)
{
    const std::u16string& units = line->mUnits;
    line->mEntryEnd = units.size();
    const std::size_t opening = FindQuote(units, 0);
    if (opening != std::u16string::npos)
    {
        line->mOpens = true;
        line->mEntry = opening + 1;
        const std::size_t closing = FindQuote(units, line->mEntry);
        line->mCloses = closing != std::u16string::npos;
        line->mEntryEnd = std::min(closing, units.size());
    }
    const std::u16string_view entry = line->View(line->mEntry, line->mEntryEnd);
    line->mHasPrefix = entry.substr(0, kPrefix.size()) == kPrefix;
    line->mHasBadPrefix = !line->mHasPrefix && !entry.empty() && entry[0] == '$';
    line->mKey = line->mEntry + (line->mHasPrefix ? kPrefix.size() : 0);
    const std::size_t equals = line->View(line->mKey, line->mEntryEnd).find(u'=');
    line->mHasEquals = equals != std::u16string_view::npos;
    line->mKeyEnd = line->mHasEquals ? line->mKey + equals : line->mEntryEnd;
    line->mText = line->mHasEquals ? line->mKeyEnd + 1 : line->mEntryEnd;
}

TextScanner::TextScanner(const unsigned char* bytes, std::size_t size)
    : mBegin(bytes), mEnd(bytes + size), mCursor(bytes)
{
    const auto begins = [&](unsigned char first, unsigned char second) {
        return size >= 2 && bytes[0] == first && bytes[1] == second;
    };
    mBigEndian = begins(0xFE, 0xFF);
    if (mBigEndian || begins(0xFF, 0xFE))
    {
        mUnitSize = 2;
        mCursor += mUnitSize;
    }
    mIsUTF8 = mUnitSize == 1 && win32::GetACP() == win32::kCodePageUTF8;
}

bool TextScanner::Next(RawLine* line)
{
    char16_t ender = 0;
    do
    {
        std::u16string units = std::move(line->mUnits);
        units.clear();
        *line = RawLine();
        line->mUnits = std::move(units);
        line->mIsUTF16 = mUnitSize == 2;
        line->mColumnsBefore = mLastEnder ? 0 : mCutColumns;
        if (!(mUnitSize == 2 ? ReadUnits(line, &ender) : ReadBytes(line, &ender)))
            return false;
        CountLine(line, ender);
    } while (line->mUnits.empty());
    ParseParts(line);
    return true;
}

void TextScanner::NoteNul(const RawLine& line)
{
    mNulEndsText |= line.mUnits.empty();
    if (mNulLine)
        return;
    mNulLine = mLine + 1;
    mNulColumn = line.ColumnOf(line.mUnits.size());
}

bool TextScanner::ReadUnits(RawLine* line, char16_t* ender)
{
    for (; mEnd - mCursor >= 2; mCursor += 2)
    {
        const unsigned char high = mCursor[mBigEndian ? 0 : 1];
        const unsigned char low = mCursor[mBigEndian ? 1 : 0];
        const auto unit = static_cast<char16_t>(high << 8 | low);
        if (!unit || EndsLine(unit))
        {
            *ender = unit;
            mCursor = unit || !line->mUnits.empty() ? mCursor + 2 : mEnd;
            if (!unit)
                NoteNul(*line);
            return unit || !line->mUnits.empty();
        }
        line->mUnits.push_back(unit);
    }
    *ender = 0;
    return !line->mUnits.empty();
}

bool TextScanner::ReadBytes(RawLine* line, char16_t* ender)
{
    const unsigned char* const end = std::find_if(mCursor, mEnd, EndsByteLine);
    const auto size = static_cast<std::size_t>(end - mCursor);
    *ender = end == mEnd ? 0 : *end;
    Convert(mCursor, size, line);
    if (end != mEnd && !*end)
        NoteNul(*line);
    if (!size && !*ender)
    {
        mCursor = mEnd;
        return false;
    }
    mCursor = end == mEnd ? end : end + 1;
    return true;
}

std::size_t TextScanner::SkipPlainLines()
{
    std::size_t count = 0;
    while (mUnitSize == 1 && mCursor != mEnd)
    {
        const auto* const end = static_cast<const unsigned char*>(
            std::memchr(mCursor, '\n', static_cast<std::size_t>(mEnd - mCursor)));
        if (!end)
            break;
        const auto size = static_cast<std::size_t>(end - mCursor);
        const bool hasReturn = size && end[-1] == '\r';
        const std::string_view line(reinterpret_cast<const char*>(mCursor),
                                    size - (hasReturn ? 1 : 0));
        if (!IsPlainLine(line))
            break;
        mCursor = end + 1;
        mLastEnder = '\n';
        ++mLine;
        ++count;
    }
    return count;
}

void TextScanner::Convert(const unsigned char* bytes, std::size_t size, RawLine* line)
{
    const std::string_view text(reinterpret_cast<const char*>(bytes), size);
    if (std::all_of(bytes, bytes + size, [](unsigned char byte) { return byte < 0x80; }))
    {
        line->mUnits.assign(text.begin(), text.end());
        return;
    }
    if (size > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        return; // files are smaller
    mConverted.resize(size);
    const int count =
        win32::MultiByteToWideChar(win32::GetACP(), 0, text.data(), static_cast<int>(size),
                                   mConverted.data(), static_cast<int>(size));
    line->mUnits.assign(mConverted.begin(), mConverted.begin() + count);
    line->mMalformed = mIsUTF8 ? FindMalformedUTF8(text) : FindLostBytes(text, line->mUnits);
}

void TextScanner::CountLine(RawLine* line, char16_t ender)
{
    const bool isSecondHalf = line->mUnits.empty() && ender == '\n' && mLastEnder == '\r';
    if (!isSecondHalf && mLastEnder)
        ++mLine;
    mLastEnder = ender;
    mCutColumns = ender ? 0 : line->ColumnOf(line->mUnits.size());
    line->mNumber = mLine;
    if (line->mIsUTF16)
        line->mMalformed = FindLoneSurrogate(line->mUnits);
}
