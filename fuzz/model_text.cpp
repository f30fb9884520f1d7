// Do texts, conversions, numbers, messages and dates agree with a plain model and with ICU, after
// any calls, in several code pages and on one thread or two?

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include <platform/control.h>
#include <unicode/udat.h>
#include <unicode/ustring.h>

#include "U_Date.h"
#include "U_Encoding.h"
#include "U_Format.h"
#include "U_String.h"
#include "library.h"
#include "model.h"
#include "second_thread.h"

namespace
{
typedef U_UTF16String Text;

const unsigned int kPages[] = {1252, 932, 65001};
const char* const kLocales[] = {"en_US", "de_DE"};
const std::size_t kRoom = 64; // bytes of a buffer

// A character in a code page.
struct Character
{
    std::string mBytes;
    std::u16string mText;
};
const std::vector<Character> kCharacters[] = {{{"\xE9", u"\xE9"},
                                               {"\x99", u"\u2122"},
                                               {"\xA9", u"\xA9"},
                                               {"\xB0", u"\xB0"},
                                               {"\xB7", u"\xB7"},
                                               {"\xBC", u"\u2206"},
                                               {"\x80", u"\u20AC"}},
                                              {{"\x82\xA0", u"\u3042"},
                                               {"\x83\x5C", u"\u30BD"},
                                               {"\x95\x5C", u"\u8868"},
                                               {"\x82\x60", u"\uFF21"},
                                               {"\xB1", u"\uFF71"},
                                               {"\xB0", u"\uFF70"},
                                               {"\x81\x61", u"\u2225"}},
                                              {{"\xC3\xA9", u"\xE9"},
                                               {"\xE3\x81\x82", u"\u3042"},
                                               {"\xF0\x9F\x98\x80", u"\xD83D\xDE00"},
                                               {"\xC2\xBC", u"\xBC"},
                                               {"\xE2\x88\x86", u"\u2206"},
                                               {"\xC2\xA9", u"\xA9"},
                                               {"\xEF\xBF\xBD", u"\uFFFD"}}};
const char kASCII[] = {'a', 'b', 'A', 'Z', '1', '7', '\\', '.'};

bool IsHigh(U_u16 unit)
{
    return U16_IS_LEAD(unit);
}

// Multibyte text as characters.
class Sample
{
public:
    Sample() = default;
    Sample(Choices& choices, std::size_t page)
    {
        for (std::size_t count = choices.Below(8); count; --count)
        {
            const std::size_t choice = choices.Below(std::size(kASCII) + kCharacters[page].size());
            if (choice >= std::size(kASCII))
                mCharacters.push_back(kCharacters[page][choice - std::size(kASCII)]);
            else
                mCharacters.push_back({std::string(1, kASCII[choice]),
                                       std::u16string(1, static_cast<char16_t>(kASCII[choice]))});
        }
    }

    std::string Bytes() const
    {
        std::string bytes;
        for (const Character& character : mCharacters)
            bytes += character.mBytes;
        return bytes;
    }

    Text Units() const
    {
        Text text;
        for (const Character& character : mCharacters)
            text.append(character.mText.begin(), character.mText.end());
        return text;
    }

    // Drops the characters that do not fit.
    Sample Cut(std::size_t bytes) const
    {
        Sample cut = *this;
        while (cut.Bytes().size() > bytes)
            cut.mCharacters.pop_back();
        return cut;
    }

    void Add(const Sample& other)
    {
        mCharacters.insert(mCharacters.end(), other.mCharacters.begin(), other.mCharacters.end());
    }

    // The type of each byte.
    std::vector<int> Types() const
    {
        std::vector<int> types;
        for (const Character& character : mCharacters)
        {
            const std::size_t size = character.mBytes.size();
            types.push_back(size == 1 ? 0 : -1);
            for (std::size_t i = 1; i < size; ++i)
                types.push_back(i + 1 == size ? 1 : 2);
        }
        types.push_back(0); // the terminator
        return types;
    }

    template <typename Change> void ChangeCase(const Change& change)
    {
        for (Character& character : mCharacters)
        {
            if (character.mBytes.size() == 1 && character.mText[0] < 0x80)
            {
                character.mBytes[0] = static_cast<char>(change(character.mBytes[0]));
                character.mText[0] = static_cast<char16_t>(character.mBytes[0]);
            }
        }
    }

    std::vector<Character> mCharacters;
};

int Sign(int value)
{
    return (value > 0) - (value < 0);
}

// Numbers as text, with the marks "." and ",".
std::string FormatPlain(double value, unsigned int flags, int integerDigits, unsigned int decimals)
{
    char digits[400];
    const bool isNegative = value < 0;
    value = isNegative ? -value : value + 0.0;
    std::snprintf(digits, sizeof digits, "%1.*f", static_cast<int>(decimals), value);
    std::string number = digits;
    const bool isLong = number.size() >= 23;
    if (isLong)
    {
        std::snprintf(digits, sizeof digits, "%e", value);
        number = digits;
    }
    const std::string sign = isNegative ? "-" : flags & 16 ? "+" : flags & 32 ? " " : "";
    if (isLong)
        return sign + number;
    const std::size_t point = std::min(number.find('.'), number.size());
    std::string integer = number.substr(0, point);
    std::string fraction = number.substr(point);
    if (static_cast<int>(integer.size()) < integerDigits)
        integer.insert(0, static_cast<std::size_t>(integerDigits) - integer.size(),
                       flags & 2 ? ' ' : '0');
    for (std::size_t i = integer.size(); flags & 8 && i > 3; i -= 3)
        integer.insert(i - 3, ",");
    if (flags & 4 && !fraction.empty())
    {
        fraction.erase(fraction.find_last_not_of('0') + 1);
        if (fraction == ".")
            fraction.clear();
    }
    return sign + integer + fraction;
}

// A message's number specification.
struct Specification
{
    const char* mText;
    unsigned int mFlags;
    int mIntegerDigits;
    unsigned int mDecimals;
};
const Specification kSpecifications[] = {{"@2.1zs@", 12, 2, 1},
                                         {"@.3@", 0, 1, 2},
                                         {"@3@", 0, 3, 2},
                                         {"@1.0+@", 16, 1, 0},
                                         {"@1.2n@", 1, 1, 2}};
const Specification kDefault = {"", 4, 1, 2};

class Texts
{
public:
    Texts(std::size_t page, std::size_t locale) : mPage(page), mLocale(locale) {}

    void Copy(Choices& choices)
    {
        const Sample source = TakeSample(choices);
        const std::string bytes = source.Bytes();
        const std::size_t size = choices.Below(kRoom);
        Require((choices.Flag() ? U_CopyString(bytes.c_str(), size, mBuffer)
                                : U_CopyStringLen(bytes.data(), bytes.size(), size, mBuffer)) == 0);
        if (size)
            mSample = source.Cut(size - 1);
    }

    void Concat(Choices& choices)
    {
        const Sample source = TakeSample(choices);
        const std::size_t used = mSample.Bytes().size();
        const std::size_t size = used + 1 + choices.Below(kRoom - used);
        Require(U_ConcatString(source.Bytes().c_str(), size, mBuffer) == 0);
        mSample.Add(source.Cut(size - 1 - used));
    }

    void Truncate(Choices& choices)
    {
        const int length = static_cast<int>(choices.Below(24)) - 1;
        Require(U_TruncateString(length, mBuffer) == 0);
        mSample = mSample.Cut(static_cast<std::size_t>(std::max(length, 0)));
    }

    void ChangeCase(Choices& choices)
    {
        if (choices.Flag())
        {
            U_StringToLower(mBuffer);
            mSample.ChangeCase(
                [](int byte) { return byte >= 'A' && byte <= 'Z' ? byte + 32 : byte; });
            return;
        }
        U_StringToUpper(mBuffer);
        mSample.ChangeCase([](int byte) { return byte >= 'a' && byte <= 'z' ? byte - 32 : byte; });
    }

    void Find(Choices& choices)
    {
        std::string needle = TakeSample(choices).Bytes();
        const bool isByte = choices.Flag();
        if (isByte)
            needle.resize(1); // the terminator, or a byte that may be in another character
        const std::string bytes = mSample.Bytes() + '\0';
        const std::vector<int> types = mSample.Types();
        const char* first = nullptr;
        const char* last = nullptr;
        for (std::size_t at = 0; at + needle.size() <= bytes.size() - !isByte;)
        {
            const bool isFound = types[at] <= 0 && bytes.compare(at, needle.size(), needle) == 0;
            last = isFound ? mBuffer + at : last;
            first = first ? first : last;
            at += isFound && !needle.empty() ? needle.size() : 1;
        }
        if (isByte)
        {
            Require(U_strchr(mBuffer, needle[0]) == first);
            Require(U_strrchr(mBuffer, needle[0]) == last);
            return;
        }
        Require(U_strstr(mBuffer, needle.c_str()) == first);
        Require(U_strrstr(mBuffer, needle.c_str()) == last);
    }

    void Compare(Choices& choices)
    {
        const Sample other = TakeSample(choices);
        const std::string left = mSample.Bytes();
        const std::string right = other.Bytes();
        int expected = Sign(mSample.Units().compare(other.Units()));
        if (!left.empty() && !right.empty())
        {
            const auto areBoth = [&](char low, char high) {
                return std::min(left[0], right[0]) >= low && std::max(left[0], right[0]) <= high;
            };
            if (left[0] != right[0] &&
                (areBoth('A', 'Z') || areBoth('a', 'z') || areBoth('0', '9')))
                expected = left[0] - right[0];
        }
        const int result = U_strcmp(left.c_str(), right.c_str());
        Require(std::abs(expected) > 1 ? result == expected : Sign(result) == expected);
        Require(U_stricmp(mBuffer, right.c_str()) == CompareCharacters(mSample, other));
    }

    void LookAtBytes(Choices& choices)
    {
        const std::vector<int> types = mSample.Types();
        const std::size_t at = choices.Below(types.size());
        Require(U_CharByte(mBuffer, static_cast<int>(at)) == types[at]);
        if (at + 1 == types.size())
            return;
        std::size_t expected = at + 1;
        while (types[expected] > 0)
            ++expected;
        unsigned int next = 0;
        Require(U_CharNextByte(mBuffer, static_cast<unsigned int>(at), &next) == 0);
        Require(next == expected);
    }

    void Clean(Choices& choices)
    {
        const char replacement = choices.Flag() ? '?' : '\0';
        const std::size_t size = choices.Below(32) + 1;
        if (!replacement && mPage)
            return; // takes the text as single bytes
        std::string expected;
        bool isChanged = false;
        for (const Character& character : mSample.mCharacters)
        {
            if (expected.size() + 1 >= size)
                break;
            const std::string clean = CleanOf(character, replacement);
            isChanged |= clean != character.mBytes;
            expected += clean;
        }
        expected.resize(std::min(expected.size(), size - 1));
        char out[kRoom] = "old";
        bool changed = !isChanged;
        if (replacement)
            U_CleanTo7BitOnly(mBuffer, replacement, static_cast<unsigned int>(size), out, &changed);
        else
            U_MakeDBCSSafeStr(mBuffer, static_cast<unsigned int>(size), out, &changed);
        Require(out == expected && changed == isChanged);
    }

    void ToPascal(Choices&)
    {
        const std::string bytes = mSample.Bytes();
        unsigned char pascal[kRoom + 1];
        char out[kRoom];
        Require(U_CopyCtoPString(mBuffer, sizeof pascal, pascal) == 0);
        Require(pascal[0] == bytes.size() && !std::memcmp(pascal + 1, bytes.data(), bytes.size()));
        Require(U_CopyPtoCString(pascal, static_cast<U_i32>(bytes.size() + 1), out) == 0);
        Require(out == bytes);
    }

    void AddUnits(Choices& choices)
    {
        static const U_u16 kUnits[] = {'a',    'B',    '1',    ',',    0xE9,   0xBC, 0x2206, 0x20AC,
                                       0x3042, 0xD83D, 0xDE00, 0xDC00, 0xFFFD, 0xA5, 0x2260, 0x7F};
        for (std::size_t count = choices.Below(4) + 1; count && mText.size() < 32; --count)
            mText += choices.Of(kUnits);
    }

    void CutUnits(Choices& choices)
    {
        const std::size_t count = choices.Below(16);
        Text cut = mText;
        if (choices.Flag())
            U_TruncateStringToNumChars(&cut, static_cast<unsigned int>(count));
        else
            U_TruncateStringToByteSize(&cut,
                                       static_cast<unsigned int>(2 * count + choices.Below(2)));
        if (mText.size() > count)
            mText.resize(count && IsHigh(mText[count - 1]) && U16_IS_TRAIL(mText[count]) ? count - 1
                                                                                         : count);
        Require(cut == mText);
    }

    void ToUTF8(Choices& choices)
    {
        UErrorCode error = U_ZERO_ERROR;
        char buffer[4 * kRoom];
        int32_t length = 0;
        u_strToUTF8WithSub(buffer, sizeof buffer, &length, Units(mText),
                           static_cast<int32_t>(mText.size()), 0xFFFD, nullptr, &error);
        const U_UTF8String expected(buffer, buffer + length);
        const U_UTF8String bytes = U_UTF16To8String(mText);
        Require(U_SUCCESS(error) && bytes == expected);

        const std::size_t size = choices.Below(kRoom);
        std::size_t kept = std::min(size, expected.size());
        while (kept < expected.size() && kept && U8_IS_TRAIL(expected[kept]))
            --kept;
        U_UTF8String cut = bytes;
        U_TruncateStringToByteSize(&cut, static_cast<unsigned int>(size));
        Require(cut == expected.substr(0, kept));
        unsigned char out[kRoom + 1] = "old";
        U_CopyToUTF8Buf(mText, size + 1, out);
        Require(U_UTF8String(out) == cut);
    }

    void FromUTF8(Choices& choices)
    {
        static const unsigned char kBytes[] = {'a',  0xC3, 0xA9, 0xE2, 0x82, 0xAC, 0xF0, 0x9F,
                                               0x98, 0x80, 0xFF, 0xC0, 0xED, 0xA0, 0xF4, 0x90};
        U_UTF8String bytes;
        for (std::size_t count = choices.Below(12); count; --count)
            bytes += choices.Of(kBytes);
        UErrorCode error = U_ZERO_ERROR;
        UChar buffer[kRoom];
        int32_t length = 0;
        u_strFromUTF8WithSub(buffer, kRoom, &length, reinterpret_cast<const char*>(bytes.data()),
                             static_cast<int32_t>(bytes.size()), 0xFFFD, nullptr, &error);
        Require(U_SUCCESS(error));
        mText = U_UTF8To16String(bytes);
        Require(mText == Text(buffer, buffer + length));
    }

    // Through the active code page and back.
    void ToPage(Choices&)
    {
        const std::string bytes = U_UTF16ToMBString(mText, false);
        const Text again = U_MBToUTF16String(bytes);
        Text expected = mText;
        if (kPages[mPage] != 65001)
            std::replace(expected.begin(), expected.end(), U_u16(0xBC), U_u16(0x2206));
        else
            expected = U_UTF8To16String(U_UTF16To8String(mText));
        bool isExact = true;
        try
        {
            Require(U_UTF16ToMBString(mText, true) == bytes);
        }
        catch (int code)
        {
            Require(code == 10 && kPages[mPage] != 65001);
            isExact = false;
        }
        Require(isExact == (again == expected));
        Require(U_MBToUTF16String(mBuffer) == mSample.Units());
        Require(U_UTF16ToMBString(mSample.Units(), true) == mSample.Bytes());
    }

    void Split(Choices& choices)
    {
        const Text separator = choices.Flag() ? Wide(",") : mText.substr(0, choices.Below(3) + 1);
        if (separator.empty())
            return;
        std::vector<Text> parts(1, mText);
        U_SplitUTF16String(choices.Flag() ? parts[0] : mText, separator, parts);
        Text joined = parts[1];
        for (std::size_t i = 1; i < parts.size(); ++i)
        {
            Require(parts[i].find(separator) == Text::npos);
            if (i > 1)
                joined += separator + parts[i];
        }
        Require(joined == mText && parts[0] == mText);
    }

    void FormatNumber(Choices& choices)
    {
        const double value = TakeNumber(choices);
        const unsigned int flags = choices.Byte() & 63;
        const int integerDigits = static_cast<int>(choices.Below(9));
        const unsigned int decimals = static_cast<unsigned int>(choices.Below(7));
        char out[32] = "old";
        Require(U_FormatNum(value, flags, integerDigits, decimals, out) == 0);
        const std::string plain = FormatPlain(value, flags, integerDigits, decimals);
        Require(out == (flags & 1 ? plain : WithMarks(plain)));

        double read = 0;
        Require(U_ScanNum(out, static_cast<char>(flags & 1), &read) == 0);
        Require(read == std::strtod(plain.c_str(), nullptr));
        Require(U_DeInternationalizeNum(out) == 0);
        Require(out == (flags & 1 ? WithMarks(plain) : plain));
    }

    void FormatSize(Choices& choices)
    {
        const unsigned int shift = static_cast<unsigned int>(choices.Below(50));
        const unsigned long long size =
            (static_cast<unsigned long long>(choices.Below(65536)) << shift) - choices.Below(2);
        char expected[64];
        const auto write = [&](bool isWhole, unsigned long long whole, const char* unit) {
            if (isWhole)
                return std::snprintf(expected, sizeof expected, "%llu %s", whole, unit);
            // Tenths of the value in single precision.
            return std::snprintf(expected, sizeof expected, "%.1f %s",
                                 static_cast<double>(static_cast<float>(whole) / 1024), unit);
        };
        if (size >> 30)
            write(size >> 30 >= 100, size >> 30 >= 100 ? size >> 30 : size >> 20, "GB");
        else if (size >> 20)
            write(size >> 20 >= 100, size >> 20 >= 100 ? size >> 20 : size >> 10, "MB");
        else if (size >> 10 || !size)
            write(true, size >> 10, "KB");
        else
            write(true, size, "bytes");
        char out[256];
        Require(U_LongFormatBytes(size, out) == out && out == WithMarks(expected));
        Require(U_LongFormatBytes(size) == Wide(out));
    }

    void FillMessage(Choices& choices)
    {
        static const char* const kPieces[] = {"^1",  "^2",  "^3",  "^L1", "^L2", "^B1", "^B3",
                                              "^F1", "^F2", "^F3", "x",   "^",   " "};
        Text format;
        for (std::size_t count = choices.Below(6); count; --count)
        {
            const std::string piece = choices.Of(kPieces);
            format += Wide(piece);
            const std::size_t specification = choices.Below(2 * std::size(kSpecifications));
            if (piece[1] == 'F' && specification < std::size(kSpecifications))
                format += Wide(kSpecifications[specification].mText);
        }
        std::vector<Argument> arguments;
        std::vector<U_FormatArgument> passed;
        for (std::size_t count = choices.Below(4); count; --count)
            passed.push_back(TakeArgument(choices, arguments));
        Text expected = Wide("old");
        const U_Status status = Fill(format, arguments, &expected);
        Text out = Wide("old");
        Require(Up_SubString(out, format, passed.data(), passed.size()) == status);
        Require(out == expected);
        char narrow[1024] = "old"; // messages in ASCII take another path
        Require(Up_SubString(narrow, 0, U_UTF16ToMBString(format, false).c_str(), passed.data(),
                             passed.size()) == status);
        Require(narrow == (status ? "" : U_UTF16ToMBString(expected, false)));
    }

    void FormatDate(Choices& choices)
    {
        // A count of 1970 to January 2038, days of any year.
        const U_u32 seconds = 2082844800u + static_cast<U_u32>(choices.Below(24855)) * 86400u +
                              static_cast<U_u32>(choices.Below(65536));
        const boost::posix_time::ptime time = U_SecondsToPtime(seconds, U_SecondsType_AsIs);
        Require(U_PtimeToSeconds(time, U_SecondsType_AsIs) == seconds);
        const UDate date = 1000.0 * (static_cast<double>(seconds) - 2082844800.0);
        Require((time - boost::posix_time::ptime(boost::gregorian::date(1970, 1, 1)))
                    .total_milliseconds() == static_cast<U_i64>(date));
        if (mLocale)
            return;
        const Text shown =
            U_SecondsToDateTimeString(seconds, U_DateType_Long, U_DateTimeDisplay_Date, false);
        UErrorCode error = U_ZERO_ERROR;
        static const icu::LocalUDateFormatPointer sFormat(
            udat_open(UDAT_NONE, UDAT_FULL, "en_US", u"UTC", -1, nullptr, 0, &error));
        UChar buffer[kRoom];
        const int32_t length =
            udat_format(sFormat.getAlias(), date, buffer, kRoom, nullptr, &error);
        Require(U_SUCCESS(error) && shown == Text(buffer, buffer + length));
    }

    void Check()
    {
        const std::string bytes = mSample.Bytes();
        Require(std::strlen(mBuffer) == bytes.size() && mBuffer == bytes);
    }

private:
    struct Argument
    {
        bool mIsText;
        bool mIsInteger;
        Text mText; // as ^1, ^L1 and ^B1 write the argument
        double mNumber;
    };

    Sample TakeSample(Choices& choices) const { return Sample(choices, mPage); }

    static const UChar* Units(const Text& text)
    {
        return reinterpret_cast<const UChar*>(text.data());
    }

    static int CompareCharacters(const Sample& left, const Sample& right)
    {
        const auto order = [](const Character& character) {
            std::string bytes = character.mBytes;
            if (bytes.size() == 1 && bytes[0] >= 'A' && bytes[0] <= 'Z')
                bytes[0] = static_cast<char>(bytes[0] + 32);
            return std::make_pair(bytes.size() > 1, bytes); // compares unsigned bytes
        };
        for (std::size_t i = 0;; ++i)
        {
            const bool hasLeft = i < left.mCharacters.size();
            const bool hasRight = i < right.mCharacters.size();
            if (!hasLeft || !hasRight)
                return hasLeft - hasRight;
            const auto of = order(left.mCharacters[i]);
            const auto with = order(right.mCharacters[i]);
            if (of != with)
                return of < with ? -1 : 1;
        }
    }

    static std::string CleanOf(const Character& character, char replacement)
    {
        static const struct
        {
            char mByte;
            const char* mSpelling;
        } kSpellings[] = {
            {'\x99', "TM"}, {'\xA9', "(C)"}, {'\xB0', "dgr"}, {'\xB7', "*"}, {'\xBC', "d"}};
        for (const auto& [byte, spelling] : kSpellings)
        {
            if (character.mBytes.size() == 1 && character.mBytes[0] == byte)
                return spelling;
        }
        const bool isPlain = static_cast<unsigned char>(character.mBytes[0]) < 0x80;
        return isPlain || !replacement ? character.mBytes : std::string(1, replacement);
    }

    // With the marks of the user.
    std::string WithMarks(std::string text) const
    {
        for (char& character : text)
        {
            if (mLocale && (character == '.' || character == ','))
                character = character == '.' ? ',' : '.';
        }
        return text;
    }

    static double TakeNumber(Choices& choices)
    {
        static const double kNumbers[] = {0.0,  -0.0, 0.5,    2.5,  0.125,   1e15,  1e21,
                                          1e22, 1e30, -1e300, 1e-7, 999.995, 1234.5};
        const std::size_t choice = choices.Below(2 * std::size(kNumbers));
        if (choice < std::size(kNumbers))
            return kNumbers[choice];
        return (static_cast<double>(choices.Below(65536)) - 32768) / (choices.Flag() ? 64 : 1000);
    }

    static U_FormatArgument TakeArgument(Choices& choices, std::vector<Argument>& arguments)
    {
        static const char* const kTexts[] = {"", "text", "^2", "^L2", "^3", "1^"};
        static const U_u16 kWide[] = {0x3042, 'w', 0};
        const std::size_t sort = choices.Below(5);
        if (sort == 0)
        {
            const char* const text = choices.Of(kTexts);
            arguments.push_back({true, false, Wide(text), 0});
            return text;
        }
        if (sort == 1)
        {
            arguments.push_back({true, false, kWide, 0});
            return kWide;
        }
        if (sort == 2)
        {
            const double number = TakeNumber(choices);
            arguments.push_back({false, false, {}, number});
            return number;
        }
        const U_i64 wide =
            (static_cast<U_i64>(choices.Below(65536)) - 32768) * (choices.Flag() ? 1ll << 40 : 1);
        const int narrow = static_cast<int>(wide);
        const U_i64 value = sort == 3 ? narrow : wide;
        arguments.push_back({false, true, Wide(std::to_string(value)), static_cast<double>(value)});
        return sort == 3 ? U_FormatArgument(narrow) : U_FormatArgument(wide);
    }

    U_Status Fill(const Text& format, const std::vector<Argument>& arguments, Text* out) const
    {
        Text work = format;
        for (std::size_t digit = 1; digit <= arguments.size(); ++digit)
        {
            const Argument& argument = arguments[digit - 1];
            Text form;
            for (const char* const type : {"", "L", "F", "B"})
            {
                const Text tried = Wide("^" + std::string(type) + std::to_string(digit));
                if (form.empty() && format.find(tried) != Text::npos &&
                    work.find(tried) != Text::npos)
                    form = tried;
            }
            if (form.empty())
                break;
            const std::size_t at = work.find(form);
            Text rest = work.substr(at + form.size());
            Text filled = argument.mText;
            if (argument.mIsText != (form.size() == 2))
                return 3;
            if (form[1] == 'F')
                filled = Wide(FormatFor(rest, argument.mNumber));
            else if (!argument.mIsText && !argument.mIsInteger)
                return 3;
            work = work.substr(0, at) + filled + rest;
        }
        *out = work;
        return 0;
    }

    // Takes a specification from the head of `rest`.
    std::string FormatFor(Text& rest, double number) const
    {
        const Specification* found = &kDefault;
        for (const Specification& specification : kSpecifications)
        {
            if (rest.compare(0, std::strlen(specification.mText), Wide(specification.mText)) == 0)
                found = &specification;
        }
        rest.erase(0, std::strlen(found->mText));
        const std::string plain =
            FormatPlain(number, found->mFlags, found->mIntegerDigits, found->mDecimals);
        return found->mFlags & 1 ? plain : WithMarks(plain);
    }

    const std::size_t mPage;
    const std::size_t mLocale;
    char mBuffer[kRoom] = "";
    Sample mSample; // in mBuffer
    Text mText;
};

void (Texts::*const kCalls[])(Choices&) = {
    &Texts::Copy,       &Texts::Concat,      &Texts::Truncate,    &Texts::ChangeCase,
    &Texts::Find,       &Texts::Compare,     &Texts::LookAtBytes, &Texts::Clean,
    &Texts::ToPascal,   &Texts::AddUnits,    &Texts::CutUnits,    &Texts::ToUTF8,
    &Texts::FromUTF8,   &Texts::ToPage,      &Texts::Split,       &Texts::FormatNumber,
    &Texts::FormatSize, &Texts::FillMessage, &Texts::FormatDate};

void Run(Choices choices, std::size_t page, std::size_t locale)
{
    Texts texts(page, locale);
    RunCalls(choices, texts, kCalls);
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    BeBorn();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Choices choices(data, size);
    const std::size_t mode = choices.Byte();
    const std::size_t page = mode % std::size(kPages);
    const std::size_t locale = mode / 4 % std::size(kLocales);
    platform::SetActiveCodePage(kPages[page]);
    platform::SetUserLocale(kLocales[locale]);
    if (mode >= 0xE0)
    {
        static SecondThread sSecond;
        const Choices own = choices.Half();
        sSecond.RunBoth([&] { Run(own, page, locale); }, [&] { Run(choices, page, locale); });
        return 0;
    }
    Run(choices, page, locale);
    return 0;
}
