#include "code_page_builder.h"

#include <memory>
#include <new>

#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>

#include "best_fit.h"

namespace win32
{
namespace
{
// A character of one page that ICU's converter lacks or has otherwise. The
// bytes are a lead byte and its second, or one byte.
struct Assignment
{
    unsigned int mCodePage;
    Unit mBytes;
    Unit mUnit;
};

// Bytes that the pages leave undefined have units for private use, so that
// they come back. ICU has no converter for Macintosh Japanese: it is Shift JIS
// with these single bytes and, for some signs, the standard's own characters in
// place of Windows's.
const Assignment kAssignments[] = {
    {932, 0xA0, 0x00A0},
    {932, 0xFD, 0xF8F1},
    {932, 0xFE, 0xF8F2},
    {932, 0xFF, 0xF8F3},
    {1253, 0xD2, 0xF8FA},
    {1253, 0xFF, 0xF8FB},
    {1255, 0xCA, 0x05BA},
    {1255, 0xD9, 0xF88D},
    {1255, 0xDA, 0xF88E},
    {1255, 0xDB, 0xF88F},
    {1255, 0xDC, 0xF890},
    {1255, 0xDD, 0xF891},
    {1255, 0xDE, 0xF892},
    {1255, 0xDF, 0xF893},
    {1255, 0xFB, 0xF894},
    {1255, 0xFC, 0xF895},
    {1255, 0xFF, 0xF896},
    {1257, 0xA1, 0xF8FC},
    {1257, 0xA5, 0xF8FD},
    {kMacJapanese, 0x5C, 0x00A5},   // yen
    {kMacJapanese, 0x80, 0x005C},   // backslash
    {kMacJapanese, 0xA0, 0x00A0},   // no-break space
    {kMacJapanese, 0xFD, 0x00A9},   // copyright
    {kMacJapanese, 0xFE, 0x2122},   // trade mark
    {kMacJapanese, 0xFF, 0x2026},   // ellipsis
    {kMacJapanese, 0x8160, 0x301C}, // wave dash
    {kMacJapanese, 0x8161, 0x2016}, // double vertical line
    {kMacJapanese, 0x817C, 0x2212}, // minus
    {kMacJapanese, 0x8191, 0x00A2}, // cent
    {kMacJapanese, 0x8192, 0x00A3}, // pound
    {kMacJapanese, 0x81CA, 0x00AC}, // not
};

struct CloseConverter
{
    void operator()(UConverter* converter) const { ucnv_close(converter); }
};
typedef std::unique_ptr<UConverter, CloseConverter> Converter;

// A converter that stops at what it can't convert and takes fallbacks.
Converter OpenConverter(const char* name)
{
    UErrorCode error = U_ZERO_ERROR;
    Converter converter(ucnv_open(name, &error));
    if (!converter)
        return converter;
    ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                        &error);
    ucnv_setFromUCallBack(converter.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                          &error);
    ucnv_setFallback(converter.get(), true);
    if (U_FAILURE(error))
        converter.reset();
    return converter;
}

// 0 if the bytes are no character.
Unit Decode(UConverter* converter, const char* bytes, int count)
{
    UErrorCode error = U_ZERO_ERROR;
    UChar units[4];
    const int32_t length = ucnv_toUChars(converter, units, 4, bytes, count, &error);
    return U_SUCCESS(error) && length == 1 ? units[0] : Unit(0);
}

// 0 if the unit has no equivalent.
Unit Encode(UConverter* converter, Unit unit)
{
    UErrorCode error = U_ZERO_ERROR;
    const UChar source = unit;
    Byte bytes[8];
    const int32_t length =
        ucnv_fromUChars(converter, reinterpret_cast<char*>(bytes), 8, &source, 1, &error);
    if (U_FAILURE(error) || length < 1 || length > 2)
        return 0;
    return length == 1 ? Unit(bytes[0]) : static_cast<Unit>(bytes[0] << 8 | bytes[1]);
}

// What of a Shift JIS converter holds in Macintosh Japanese: the rows of
// JIS X 0208. Behind the other lead bytes the two makers' extensions differ.
bool IsCommonJapanese(Byte lead)
{
    return lead <= 0x84 || (lead >= 0x88 && lead <= 0xEA);
}

class Builder
{
public:
    Builder(const PageSource& source, UConverter* converter, CodePage& page)
        : mSource(source), mConverter(converter), mPage(page)
    {
    }

    void Build()
    {
        for (unsigned int byte = 0; byte < 0x100; ++byte)
            DecodeByte(static_cast<Byte>(byte));
        AssignUnits();
        for (unsigned int unit = 1; unit < 0x10000; ++unit)
            EncodeUnit(static_cast<Unit>(unit));
        AssignBytes();
        for (unsigned int unit = 1; unit < 0x10000; ++unit)
        {
            if (!mPage.mBytes[unit])
                mPage.mBytes[unit] = BestFit(static_cast<Unit>(unit));
        }
        SetDefaults();
    }

private:
    Unit& UnitOf(Unit bytes)
    {
        return bytes > 0xFF ? mPage.mPairs[(bytes >> 8) - 0x80][bytes & 0xFF]
                            : mPage.mSingles[bytes];
    }

    // Bytes below 0x80 are ASCII whatever the converter says, and up to 0x9F
    // what isn't defined is a control character.
    void DecodeByte(Byte byte)
    {
        const char bytes[] = {static_cast<char>(byte), 0};
        mPage.mIsLead[byte] = IsLeadByte(mSource.mLeadBytes, byte);
        if (mPage.mIsLead[byte])
        {
            DecodePairs(byte);
            return;
        }
        const Unit unit = byte < 0x80 ? byte : Decode(mConverter, bytes, 1);
        if (unit || byte < 0xA0)
            mPage.mSingles[byte] = unit ? unit : byte;
    }

    void DecodePairs(Byte lead)
    {
        if (mSource.mCodePage == kMacJapanese && !IsCommonJapanese(lead))
            return;
        for (unsigned int second = 1; second < 0x100; ++second)
        {
            const char bytes[] = {static_cast<char>(lead), static_cast<char>(second)};
            mPage.mPairs[lead - 0x80][second] = Decode(mConverter, bytes, 2);
        }
    }

    void AssignUnits()
    {
        for (const Assignment& row : kAssignments)
        {
            if (row.mCodePage == mSource.mCodePage)
                UnitOf(row.mBytes) = row.mUnit;
        }
    }

    void AssignBytes()
    {
        for (unsigned int byte = 0x80; byte < 0x100; ++byte)
        {
            const Unit unit = mPage.mSingles[byte];
            if (unit && !mPage.mBytes[unit])
                mPage.mBytes[unit] = static_cast<Unit>(byte);
        }
        for (const Assignment& row : kAssignments)
        {
            if (row.mCodePage == mSource.mCodePage)
                mPage.mBytes[row.mUnit] = row.mBytes;
        }
    }

    void EncodeUnit(Unit unit)
    {
        const Unit bytes = unit < 0x80 ? unit : Encode(mConverter, unit);
        const bool isCharacter = bytes <= 0xFF || mPage.mIsLead[bytes >> 8];
        if (isCharacter && UnitOf(bytes))
            mPage.mBytes[unit] = bytes;
    }

    // Beyond the converter's own fallbacks, which are the fullwidth forms for
    // the most part, the nearest simpler character that the page has.
    Unit BestFit(Unit unit) const
    {
        while ((unit = SimplerUnit(unit)) != 0)
        {
            if (mPage.mBytes[unit])
                return mPage.mBytes[unit];
        }
        return 0;
    }

    void SetDefaults()
    {
        mPage.mDefaultUnit = mSource.mDefaultUnit;
        mPage.mIsAscii = true;
        for (unsigned int byte = 0; byte < 0x80; ++byte)
            mPage.mIsAscii &= mPage.mSingles[byte] == byte && mPage.mBytes[byte] == byte;
        for (unsigned int byte = 0x80; byte < 0x100; ++byte)
        {
            if (!mPage.mSingles[byte])
                mPage.mSingles[byte] = mSource.mDefaultUnit;
            for (unsigned int second = 0; mPage.mPairs && second < 0x100; ++second)
            {
                Unit& unit = mPage.mPairs[byte - 0x80][second];
                if (!unit)
                    unit = mSource.mDefaultUnit;
            }
        }
    }

    const PageSource& mSource;
    UConverter* const mConverter;
    CodePage& mPage;
};
} // namespace

std::unique_ptr<const CodePage> BuildCodePage(const PageSource& source)
{
    const Converter converter = OpenConverter(source.mConverter);
    std::unique_ptr<CodePage> page(new (std::nothrow) CodePage);
    if (!converter || !page)
        return nullptr;
    if (source.mLeadBytes != LeadBytes::kNone)
    {
        page->mPairs.reset(new (std::nothrow) Unit[0x80][0x100]());
        if (!page->mPairs)
            return nullptr;
    }
    Builder(source, converter.get(), *page).Build();
    return page;
}
} // namespace win32
