// Text in a code page as ICU converts it, apart from the characters for which the system's tables
// differ.

#ifndef FUZZ_PAGE_MODEL_H
#define FUZZ_PAGE_MODEL_H

#include <algorithm>
#include <string>

#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include "library.h"

typedef U_UTF16String Text;

const unsigned int kPages[] = {1252, 932, 65001};

// A unit that ICU lacks, or that has other bytes in ICU. A unit that is not exact has a best fit or
// the default character.
struct PageException
{
    unsigned int mPage;
    U_u16 mUnit;
    const char* mBytes;
    bool mIsExact;
};
const PageException kPageExceptions[] = {
    {932, 0x80, "\x80", true},   {1252, 0x394, "?", false},   {932, 0xF8F0, "\xA0", true},
    {932, 0xF8F1, "\xFD", true}, {932, 0xF8F2, "\xFE", true}, {932, 0xF8F3, "\xFF", true},
    {932, 0xE9, "e", false},     {932, 0xA5, "\\", false},    {932, 0xBC, "?", false},
    {932, 0x20AC, "?", false},   {932, 0xFFFD, "?", false},   {1252, 0xFF21, "A", false},
    {1252, 0x221E, "8", false},  {1252, 0x2260, "?", false},  {1252, 0x3042, "?", false},
    {1252, 0xFFFD, "?", false}};

// Of one thread.
class Page
{
public:
    explicit Page(unsigned int number) : mNumber(number)
    {
        UErrorCode error = U_ZERO_ERROR;
        mConverter.adoptInstead(ucnv_open(number == 932 ? "windows-31j" : "windows-1252", &error));
        Require(U_SUCCESS(error));
    }

    Text Decode(const std::string& bytes) const
    {
        if (mNumber == 65001)
            return DecodeUTF8(bytes);
        Text text;
        for (std::size_t i = 0; i < bytes.size(); ++i)
        {
            const bool isPair = IsLead(bytes[i]) && i + 1 < bytes.size() && bytes[i + 1];
            text += UnitOf(bytes.substr(i, isPair ? 2 : 1));
            i += isPair;
        }
        std::replace(text.begin(), text.end(), U_u16(0xBC), U_u16(0x2206)); // the substitute
        return text;
    }

    struct Encoded
    {
        std::string mBytes;
        Text mText;           // without the units that neither ICU nor the exceptions have
        bool mIsExact = true; // the page has all units of mText
    };

    Encoded Encode(const Text& text) const
    {
        if (mNumber == 65001)
            return {BytesOf(text), text};
        Encoded result;
        for (const U_u16 unit : text)
        {
            const U_u16 source = unit == 0x2206 ? 0xBC : unit;
            const auto* const found = std::find_if(
                std::begin(kPageExceptions), std::end(kPageExceptions),
                [&](const auto& each) { return each.mPage == mNumber && each.mUnit == source; });
            const bool isKnown = found != std::end(kPageExceptions);
            const std::string bytes = isKnown                    ? found->mBytes
                                      : U16_IS_SURROGATE(source) ? "?"
                                                                 : BytesOfUnit(source);
            if (bytes.empty())
                continue;
            result.mBytes += bytes;
            result.mText += unit;
            result.mIsExact &= isKnown ? found->mIsExact : !U16_IS_SURROGATE(source);
        }
        return result;
    }

private:
    static Text DecodeUTF8(const std::string& bytes)
    {
        UErrorCode error = U_ZERO_ERROR;
        std::u16string units(bytes.size(), u' ');
        int32_t length = 0;
        u_strFromUTF8WithSub(&units[0], static_cast<int32_t>(units.size()), &length, bytes.data(),
                             static_cast<int32_t>(bytes.size()), 0xFFFD, nullptr, &error);
        Require(U_SUCCESS(error));
        return Text(units.data(), units.data() + length);
    }

    bool IsLead(char byte) const
    {
        const unsigned char lead = static_cast<unsigned char>(byte);
        return mNumber == 932 && ((lead >= 0x81 && lead <= 0x9F) || (lead >= 0xE0 && lead <= 0xFC));
    }

    // The default unit for bytes that are no character, and for half of one. Bytes below 0x80 are
    // ASCII.
    U_u16 UnitOf(const std::string& bytes) const
    {
        if (static_cast<unsigned char>(bytes[0]) < 0x80)
            return static_cast<U_u16>(bytes[0]);
        for (const PageException& exception : kPageExceptions)
        {
            if (exception.mPage == mNumber && exception.mIsExact && bytes == exception.mBytes)
                return exception.mUnit;
        }
        UErrorCode error = U_ZERO_ERROR;
        UChar units[4];
        const int32_t length = ucnv_toUChars(mConverter.getAlias(), units, 4, bytes.data(),
                                             static_cast<int32_t>(bytes.size()), &error);
        const bool isCharacter =
            U_SUCCESS(error) && length == 1 && units[0] >= 0x80 && units[0] != 0xFFFD;
        return isCharacter ? units[0] : mNumber == 932 ? 0x30FB : '?';
    }

    // Returns no bytes for a unit that ICU lacks.
    std::string BytesOfUnit(UChar unit) const
    {
        if (unit < 0x80)
            return std::string(1, static_cast<char>(unit));
        UErrorCode error = U_ZERO_ERROR;
        char buffer[8];
        const int32_t length =
            ucnv_fromUChars(mConverter.getAlias(), buffer, sizeof buffer, &unit, 1, &error);
        const std::string bytes(buffer, static_cast<std::size_t>(U_SUCCESS(error) ? length : 0));
        return !bytes.empty() && UnitOf(bytes) == unit ? bytes : std::string();
    }

    const unsigned int mNumber;
    icu::LocalUConverterPointer mConverter;
};

#endif
