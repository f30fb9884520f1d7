// Do texts, conversions, numbers, messages and dates agree with a plain model and with ICU, after
// any calls, in several code pages and on one thread or two?

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include <platform/control.h>

#include "U_Encoding.h"
#include "U_String.h"
#include "code_thrown.h"
#include "format_model.h"
#include "library.h"
#include "model.h"
#include "page_model.h"
#include "second_thread.h"

namespace
{
const Page kUTF8(65001);
const std::size_t kRoom = 64; // bytes of a buffer

// The bytes of some characters of each code page.
const std::vector<std::string> kCharacters[] = {
    {"\xE9", "\x99", "\xA9", "\xB0", "\xB7", "\xBC", "\x80"},
    {"\x82\xA0", "\x83\x5C", "\x95\x5C", "\x82\x60", "\xB1", "\xB0", "\x81\x61"},
    {"\xC3\xA9", "\xE3\x81\x82", "\xF0\x9F\x98\x80", "\xC2\xBC", "\xE2\x88\x86", "\xC2\xA9",
     "\xEF\xBF\xBD"}};
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
                mCharacters.push_back(std::string(1, kASCII[choice]));
        }
    }

    std::string Bytes() const
    {
        std::string bytes;
        for (const std::string& character : mCharacters)
            bytes += character;
        return bytes;
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
        for (const std::string& character : mCharacters)
        {
            const std::size_t size = character.size();
            types.push_back(size == 1 ? 0 : -1);
            for (std::size_t i = 1; i < size; ++i)
                types.push_back(i + 1 == size ? 1 : 2);
        }
        types.push_back(0); // the terminator
        return types;
    }

    template <typename Change> void ChangeCase(const Change& change)
    {
        for (std::string& character : mCharacters)
        {
            if (static_cast<unsigned char>(character[0]) < 0x80)
                character[0] = static_cast<char>(change(character[0]));
        }
    }

    std::vector<std::string> mCharacters;
};

int Sign(int value)
{
    return (value > 0) - (value < 0);
}

class Texts : public Formats
{
public:
    Texts(std::size_t page, const Page& codePage, const Locale& locale, std::size_t thread)
        : Formats(locale, codePage, thread), mPage(page)
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
        int expected = Sign(mCodePage.Decode(left).compare(mCodePage.Decode(right)));
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
        for (const std::string& character : mSample.mCharacters)
        {
            if (expected.size() + 1 >= size)
                break;
            const std::string clean = CleanOf(character, replacement);
            isChanged |= clean != character;
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
        static const U_u16 kUnits[] = {'a',    'B',    '1',    ',',    0xE9,   0xBC,
                                       0x2206, 0x20AC, 0x3042, 0xD83D, 0xDE00, 0xDC00,
                                       0xFFFD, 0xA5,   0x2260, 0x7F,   0xFF21, 0x221E};
        for (std::size_t count = choices.Below(4) + 1; count && mText.size() < 32; --count)
        {
            const std::size_t choice = choices.Below(2 * std::size(kUnits));
            mText += choice < std::size(kUnits) ? kUnits[choice]
                                                : static_cast<U_u16>(choices.Below(65535) + 1);
        }
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
        std::string bytes;
        for (std::size_t count = choices.Below(12); count; --count)
            bytes += static_cast<char>(choices.Of(kBytes));
        mText = U_UTF8To16String(U_UTF8String(bytes.begin(), bytes.end()));
        Require(mText == kUTF8.Decode(bytes));
    }

    // Any bytes of the active code page, and the text, to the code page.
    void ToPage(Choices& choices)
    {
        std::string bytes;
        for (std::size_t count = choices.Below(6); count; --count)
            bytes += static_cast<char>(choices.Byte());
        Require(U_MBToUTF16String(bytes) == mCodePage.Decode(bytes));
        const Page::Encoded encoded = mCodePage.Encode(mText);
        const auto encode = [&](bool exact) {
            Require(U_UTF16ToMBString(encoded.mText, exact) == encoded.mBytes);
        };
        encode(false);
        Require(CodeThrown([&] { encode(true); }) == (encoded.mIsExact ? 0 : 10));
        const Text sample = mCodePage.Decode(mSample.Bytes());
        Require(U_MBToUTF16String(mBuffer) == sample);
        Require(U_UTF16ToMBString(sample, true) == mSample.Bytes());
    }

    void Split(Choices& choices)
    {
        const Text separator = choices.Flag() ? Wide(",") : mText.substr(0, choices.Below(3) + 1);
        if (separator.empty())
            return;
        std::vector<Text> parts(1, mText);
        std::vector<Text> expected = parts;
        std::size_t from = 0;
        for (std::size_t at = 0; (at = mText.find(separator, from)) != Text::npos;)
        {
            expected.push_back(mText.substr(from, at - from));
            from = at + separator.size();
        }
        expected.push_back(mText.substr(from));
        U_SplitUTF16String(choices.Flag() ? parts[0] : mText, separator, parts);
        Require(parts == expected);
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
        const auto order = [](std::string bytes) {
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

    static std::string CleanOf(const std::string& character, char replacement)
    {
        static const struct
        {
            char mByte;
            const char* mSpelling;
        } kSpellings[] = {
            {'\x99', "TM"}, {'\xA9', "(C)"}, {'\xB0', "dgr"}, {'\xB7', "*"}, {'\xBC', "d"}};
        for (const auto& [byte, spelling] : kSpellings)
        {
            if (character.size() == 1 && character[0] == byte)
                return spelling;
        }
        const bool isPlain = static_cast<unsigned char>(character[0]) < 0x80;
        return isPlain || !replacement ? character : std::string(1, replacement);
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
    static const Page sOfPages[][std::size(kPages)] = {{Page(1252), Page(932), Page(65001)},
                                                       {Page(1252), Page(932), Page(65001)}};
    Texts texts(page, sOfPages[thread][page], locale, thread);
    RunCalls(choices, texts, kCalls);
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    setenv("TZ", ("FUZ-" + std::to_string(kZoneHours)).c_str(), 1);
    tzset();
    BeBorn();
    RequireMarks();
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
