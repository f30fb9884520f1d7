// Do texts, conversions, numbers, messages and dates agree with a plain model and with ICU, after
// any calls, in several code pages and on one thread or two?

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include <platform/control.h>
#include <unicode/ustring.h>

#include "U_Encoding.h"
#include "U_String.h"
#include "format_model.h"
#include "library.h"
#include "model.h"
#include "second_thread.h"

namespace
{
const unsigned int kPages[] = {1252, 932, 65001};
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

class Texts : public Formats
{
public:
    Texts(std::size_t page, const Locale& locale, std::size_t thread)
        : Formats(locale, thread), mPage(page)
    {
    }

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
        const std::string own = BytesOf(mText);
        const U_UTF8String expected(own.begin(), own.end());
        const U_UTF8String bytes = U_UTF16To8String(mText);
        Require(bytes == expected);

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
            expected = Mended(mText);
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

    void Check()
    {
        const std::string bytes = mSample.Bytes();
        Require(std::strlen(mBuffer) == bytes.size() && mBuffer == bytes);
    }

private:
    Sample TakeSample(Choices& choices) const { return Sample(choices, mPage); }

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

    const std::size_t mPage;
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

void Run(Choices choices, std::size_t page, const Locale& locale, std::size_t thread)
{
    Texts texts(page, locale, thread);
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
    const Locale& locale = kLocales[mode / 4 % std::size(kLocales)];
    platform::SetActiveCodePage(kPages[page]);
    platform::SetUserLocale(locale.mName);
    if (mode >= 0xE0)
    {
        static SecondThread sSecond;
        const Choices own = choices.Half();
        sSecond.RunBoth([&] { Run(own, page, locale, 0); }, [&] { Run(choices, page, locale, 1); });
        return 0;
    }
    Run(choices, page, locale, 0);
    return 0;
}
