// Conversions between UTF-16, UTF-8 and multibyte text.

#include "U_Encoding.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include <platform/base/code_units.h>
#include <win32/text.h>

#include "U_Report.h"
#include "U_ZString.h"
#include "indep/frame/Guard.h"
#include "indep/frame/ReentrancyGuard.h"

namespace
{
const U_u16 kIncrement = 0x2206;
const unsigned int kWindowsLatin1 = 1252;
const unsigned int kWindowsCyrillic = 1251;
const U_u32 kConversionLocation = kModule | 0x2E;
const char kFailed[] =
    "$$$/QX/U/error_bad_unicode_conversion=could not convert Unicode characters.";

// The report converts its own text. A failure of that conversion throws without another report.
[[noreturn]] void ReportAndThrow(unsigned int error)
{
    const ReentrancyGuard<struct InConversionReport> entered;
    if (entered.IsFirst())
        GuardedNoexcept([] {
            U_ReportError(kConversionLocation, U_Sev_PROBLEM, U_ZStringToUTF16String(kFailed));
        });
    throw error ? static_cast<int>(error) : 1;
}

// The system takes counts of signed 32 bits.
int SystemCount(std::size_t count)
{
    if (count > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        ReportAndThrow(win32::kErrorInvalidParameter);
    return static_cast<int>(count);
}

// Returns the substitute for U+2206 in multibyte text. Not stored: the host may change the
// active code page, and GetACP is one load.
U_u16 DeltaSubstitute()
{
    return win32::GetACP() == kWindowsCyrillic ? 0x2020 : 0x00BC;
}

// A string grows only with a value in each new element, which takes as long as a conversion. So
// text is converted in pieces of so many elements, into a buffer from which it is appended.
const std::size_t kPiece = 4096;

// Return the end of the piece that starts at `from`. No character spans the end of a piece, and
// in UTF-8 no head of one.
std::size_t EndOfPiece(const char* bytes, std::size_t from, std::size_t length)
{
    if (length - from <= kPiece)
        return length;
    const std::size_t end = from + kPiece;
    std::size_t start = end; // of a character with at most three continuation bytes
    while (end - start < 4)
    {
        if (!platform::IsUTF8Continuation(static_cast<unsigned char>(bytes[start])))
            return start;
        --start;
    }
    return end;
}

std::size_t EndOfPiece(const U_u16* units, std::size_t from, std::size_t length)
{
    if (length - from <= kPiece)
        return length;
    const std::size_t end = from + kPiece;
    const bool isInsidePair =
        platform::IsHighSurrogate(units[end - 1]) && platform::IsLowSurrogate(units[end]);
    return isInsidePair ? end - 1 : end;
}

// An upper bound.
const std::size_t kMostBytesPerUnit = 3;
std::size_t BytesPerUnit(unsigned int codePage)
{
    return codePage == win32::kCodePageUTF8 ? kMostBytesPerUnit : 2;
}

U_UTF16String ToUnits(unsigned int codePage, const char* bytes, std::size_t length)
{
    U_UTF16String units;
    if (!length)
        return units;
    const int byteCount = SystemCount(length);
    units.resize(length); // no character has more units than bytes
    const int count =
        win32::MultiByteToWideChar(codePage, 0, bytes, byteCount, &units[0], byteCount);
    if (count == 0)
        ReportAndThrow(win32::GetLastError());
    units.resize(static_cast<std::size_t>(count));
    return units;
}

U_UTF16String FromUTF8(const char* bytes, std::size_t length)
{
    SystemCount(length);
    U_UTF16String units;
    if (length > kPiece)
        units.reserve(length); // no character has more units than bytes
    U_u16 piece[kPiece];
    for (std::size_t from = 0; from < length;)
    {
        const std::size_t end = EndOfPiece(bytes, from, length);
        const int count = win32::MultiByteToWideChar(win32::kCodePageUTF8, 0, bytes + from,
                                                     static_cast<int>(end - from), piece, kPiece);
        if (count == 0)
            ReportAndThrow(win32::GetLastError());
        if (length <= kPiece)
            return U_UTF16String(piece, static_cast<std::size_t>(count));
        units.append(piece, static_cast<std::size_t>(count));
        from = end;
    }
    return units;
}

// Returns the bytes of a text whose first `units` units of `length` have so many bytes, and a
// sixteenth more. Room for the longest text of that many units would be memory of the system that
// is taken and given back for each large text.
std::size_t GuessedLength(std::size_t bytes, std::size_t units, std::size_t length)
{
    const double guess = static_cast<double>(bytes) / static_cast<double>(units) *
                         static_cast<double>(length) * 17 / 16;
    return static_cast<std::size_t>(guess);
}

// Sets *usedDefault if the code page lacks a character, also if that character has a best fit.
// `usedDefault` may be null.
//
// REQUIRES: `usedDefault` is null for UTF-8.
template <class String>
String ToBytes(unsigned int codePage, const U_u16* units, std::size_t length, int* usedDefault)
{
    const std::size_t capacity = length * BytesPerUnit(codePage);
    SystemCount(capacity);
    String bytes;
    const unsigned int flags = usedDefault ? win32::kNoBestFitChars : 0;
    char piece[kPiece * kMostBytesPerUnit];
    for (std::size_t from = 0; from < length;)
    {
        const std::size_t end = EndOfPiece(units, from, length);
        int usedInPiece = 0;
        const int count = win32::WideCharToMultiByte(
            codePage, flags, units + from, static_cast<int>(end - from), piece, sizeof(piece),
            nullptr, usedDefault ? &usedInPiece : nullptr);
        if (count == 0)
            ReportAndThrow(win32::GetLastError());
        if (usedInPiece)
            *usedDefault = usedInPiece;
        const auto* const converted = reinterpret_cast<const typename String::value_type*>(piece);
        if (length <= kPiece)
            return String(converted, static_cast<std::size_t>(count));
        if (from == 0)
            bytes.reserve(
                std::min(capacity, GuessedLength(static_cast<std::size_t>(count), end, length)));
        bytes.append(converted, static_cast<std::size_t>(count));
        from = end;
    }
    return bytes;
}

// A text of so many units is checked and copied faster than it is converted.
const std::size_t kShort = 256;

bool IsShortAscii(const U_UTF16String& text)
{
    if (text.size() > kShort)
        return false;
    unsigned int bits = 0;
    for (const U_u16 unit : text)
        bits |= unit;
    return bits < 0x80;
}

// Converts to UTF-16 and replaces the substitute by U+2206, except from UTF-8, which has U+2206.
U_UTF16String FromCodePage(unsigned int codePage, const char* bytes, std::size_t length)
{
    if (codePage == win32::kCodePageActive)
        codePage = win32::GetACP();
    if (codePage == win32::kCodePageUTF8)
        return FromUTF8(bytes, length);
    U_UTF16String units = ToUnits(codePage, bytes, length);
    std::replace(units.begin(), units.end(), DeltaSubstitute(), kIncrement);
    return units;
}

std::string ConvertToActive(unsigned int codePage, const U_u16* units, std::size_t length,
                            bool exact)
{
    int usedDefault = 0;
    int* const asked = exact && codePage != win32::kCodePageUTF8 ? &usedDefault : nullptr;
    std::string bytes = ToBytes<std::string>(codePage, units, length, asked);
    if (usedDefault)
        ReportAndThrow(U_Err_OutOfRange);
    return bytes;
}

std::string ToActive(const U_u16* units, std::size_t length, bool exact)
{
    const unsigned int codePage = win32::GetACP();
    const U_u16* const end = units + length;
    if (codePage == win32::kCodePageUTF8 || std::find(units, end, kIncrement) == end)
        return ConvertToActive(codePage, units, length, exact);
    U_UTF16String substituted(units, length);
    std::replace(substituted.begin(), substituted.end(), kIncrement, DeltaSubstitute());
    return ConvertToActive(codePage, substituted.data(), length, exact);
}

// Returns 0 for an unknown encoding.
unsigned int CodePageOfMacEncoding(unsigned int encoding)
{
    switch (encoding)
    {
    case 0:
        return 10000;
    case 1:
        return 10001;
    case 7:
        return 10007;
    case 1056:
        return 932;
    case 1280:
        return kWindowsLatin1;
    case 1282:
        return kWindowsCyrillic;
    default:
        return 0;
    }
}
} // namespace

U_UTF16String U_MBToUTF16String(const std::string& text)
{
    return FromCodePage(win32::kCodePageActive, text.data(), text.size());
}

U_UTF16String U_MBToUTF16String(const char* text)
{
    return FromCodePage(win32::kCodePageActive, text, std::strlen(text));
}

std::string U_UTF16ToMBString(const U_UTF16String& text, bool exact)
{
    return ToActive(text.data(), text.size(), exact);
}

std::string U_UTF16ToMBString(const U_u16* text, bool exact)
{
    return ToActive(text, std::char_traits<U_u16>::length(text), exact);
}

U_UTF16String U_UTF8To16String(const U_UTF8String& text)
{
    return FromUTF8(reinterpret_cast<const char*>(text.data()), text.size());
}

U_UTF8String U_UTF16To8String(const U_UTF16String& text)
{
    if (IsShortAscii(text))
        return U_UTF8String(text.begin(), text.end());
    return ToBytes<U_UTF8String>(win32::kCodePageUTF8, text.data(), text.size(), nullptr);
}

U_UTF16String U_AsciiToUTF16String(const char* text)
{
    U_UTF16String units(std::strlen(text), 0);
    std::transform(text, text + units.size(), units.begin(),
                   [](char byte) { return static_cast<U_u16>(static_cast<signed char>(byte)); });
    return units;
}

std::string U_ConvertEnglishEncodedTextToCurrentEncoding(const std::string& text)
{
    return U_UTF16ToMBString(FromCodePage(kWindowsLatin1, text.data(), text.size()), false);
}

U_UTF16String U_ConvertEncodedStringToUnicode(unsigned char isCodePage, unsigned int encoding,
                                              const char* text)
{
    if (isCodePage)
        return FromCodePage(encoding, text, std::strlen(text));
    const unsigned int codePage = CodePageOfMacEncoding(encoding);
    return codePage ? FromCodePage(codePage, text, std::strlen(text)) : U_UTF16String();
}

unsigned int U_GetPlatformSpecificCurrentTextEncodingForSerialization()
{
    return win32::GetACP();
}
