#include "code_page.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <memory>
#include <new>

#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>

namespace win32
{
namespace
{
enum class LeadBytes
{
    kNone,
    kJapanese,
    kUpperHalf
};

const Unit kMiddleDot = 0x30FB; // katakana, the default unit of the Japanese pages

struct PageSource
{
    unsigned int mCodePage;
    const char* mConverter; // ICU's name
    LeadBytes mLeadBytes = LeadBytes::kNone;
    Unit mDefaultUnit = '?'; // for a sequence of bytes that is no character
};

const PageSource kPages[] = {
    {932, "ibm-943_P15A-2003", LeadBytes::kJapanese, kMiddleDot},
    {936, "windows-936-2000", LeadBytes::kUpperHalf},
    {949, "windows-949-2000", LeadBytes::kUpperHalf},
    {950, "windows-950-2000", LeadBytes::kUpperHalf},
    {1250, "ibm-5346_P100-1998"},
    {1251, "ibm-5347_P100-1998"},
    {1252, "ibm-5348_P100-1997"},
    {1253, "ibm-5349_P100-1998"},
    {1254, "ibm-5350_P100-1998"},
    {1255, "ibm-9447_P100-2002"},
    {1256, "ibm-9448_X100-2005"},
    {1257, "ibm-9449_P100-2002"},
    {1258, "ibm-5354_P100-1998"},
    {10000, "macos-0_2-10.2"},
    {10001, "ibm-943_P15A-2003", LeadBytes::kJapanese, kMiddleDot},
    {10007, "macos-7_3-10.2"},
};

std::atomic<const CodePage*> sBuilt[std::size(kPages)];

const PageSource* FindSource(unsigned int codePage)
{
    for (const PageSource& source : kPages)
    {
        if (source.mCodePage == codePage)
            return &source;
    }
    return nullptr;
}
bool IsLead(LeadBytes kind, Byte byte)
{
    switch (kind)
    {
    case LeadBytes::kJapanese:
        return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
    case LeadBytes::kUpperHalf:
        return byte >= 0x81 && byte <= 0xFE;
    default:
        return false;
    }
}

// A character of one code page that ICU's converter lacks or converts differently. Bytes above
// 0xFF are a lead byte and its second byte.
struct Character
{
    Unit mPage;
    Unit mBytes;
    Unit mUnit;
};

// A unit that code pages lack, and the bytes of the nearest character that they have.
struct BestFit
{
    Unit mUnit;
    Unit mBytes;
    Unit mPages; // a bit for each element of kFitPages
};

#include "code_page_tables.inc"

struct CloseConverter
{
    void operator()(UConverter* converter) const { ucnv_close(converter); }
};
typedef std::unique_ptr<UConverter, CloseConverter> Converter;

// Returns a converter that stops at characters that it lacks; null without memory or data.
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
    if (U_FAILURE(error))
        converter.reset();
    return converter;
}

// Returns 0 if the bytes are no character.
Unit Decode(UConverter* converter, const char* bytes, int count)
{
    UErrorCode error = U_ZERO_ERROR;
    UChar units[4];
    const int32_t length = ucnv_toUChars(converter, units, 4, bytes, count, &error);
    return U_SUCCESS(error) && length == 1 ? units[0] : Unit(0);
}

// Returns 0 if the unit has no equivalent.
Unit Encode(UConverter* converter, Unit unit)
{
    UErrorCode error = U_ZERO_ERROR;
    const UChar source = unit;
    Byte bytes[8] = {};
    const int32_t length =
        ucnv_fromUChars(converter, reinterpret_cast<char*>(bytes), 8, &source, 1, &error);
    if (U_FAILURE(error))
        return 0;
    return length == 2 ? static_cast<Unit>(bytes[0] << 8 | bytes[1]) : Unit(bytes[0]);
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
        SetUnits(kReadCharacters);
        SetUnits(kCharacters);
        for (unsigned int bytes = 1; bytes < 0x10000; ++bytes)
            SetBytes(static_cast<Unit>(bytes));
        for (const Character& character : kCharacters)
        {
            if (character.mPage == mSource.mCodePage)
                mPage.mBytes[character.mUnit] = character.mBytes;
        }
        AddBestFits();
        SetDefaults();
    }

private:
    // Bytes below 0x80 are ASCII, whatever characters the converter has for them. Undefined bytes
    // up to 0x9F are control characters.
    void DecodeByte(Byte byte)
    {
        const char bytes[] = {static_cast<char>(byte), 0};
        mPage.mIsLead[byte] = IsLead(mSource.mLeadBytes, byte);
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
        for (unsigned int second = 1; second < 0x100; ++second)
        {
            const char bytes[] = {static_cast<char>(lead), static_cast<char>(second)};
            mPage.mPairs[lead - 0x80][second] = Decode(mConverter, bytes, 2);
        }
    }

    template <std::size_t kCount> void SetUnits(const Character (&characters)[kCount])
    {
        for (const Character& character : characters)
        {
            if (character.mPage == mSource.mCodePage)
                mPage.UnitOf(character.mBytes) = character.mUnit;
        }
    }

    // If several bytes have one unit, the unit has the bytes that the converter chooses.
    void SetBytes(Unit bytes)
    {
        const bool isCharacter = bytes <= 0xFF || mPage.mIsLead[bytes >> 8];
        const Unit unit = isCharacter ? mPage.UnitOf(bytes) : Unit(0);
        if (unit && (!mPage.mBytes[unit] || Encode(mConverter, unit) == bytes))
            mPage.mBytes[unit] = bytes;
    }

    void AddBestFits()
    {
        const std::ptrdiff_t bit =
            std::find(std::begin(kFitPages), std::end(kFitPages), mSource.mCodePage) - kFitPages;
        for (const BestFit& fit : kBestFits)
        {
            if (fit.mPages >> bit & 1)
                mPage.mBytes[fit.mUnit] = fit.mBytes;
        }
    }

    void SetDefaults()
    {
        mPage.mDefaultUnit = mSource.mDefaultUnit;
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
// Returns null without memory, or without ICU's data.
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
} // namespace

bool IsKnownCodePage(unsigned int codePage)
{
    return FindSource(codePage) != nullptr;
}

bool IsLeadByte(unsigned int codePage, Byte byte)
{
    const PageSource* source = FindSource(codePage);
    return source && IsLead(source->mLeadBytes, byte);
}

const CodePage* FindCodePage(unsigned int codePage)
{
    const PageSource* source = FindSource(codePage);
    std::atomic<const CodePage*>& built = sBuilt[source - kPages];
    if (const CodePage* page = built.load(std::memory_order_acquire))
        return page;
    // No lock is held: an operator new that fails in here may call a handler that converts text
    // itself. If several threads make the tables, the first tables are kept.
    std::unique_ptr<const CodePage> page = BuildCodePage(*source);
    const CodePage* present = nullptr;
    if (!page)
        return built.load(std::memory_order_acquire);
    if (!built.compare_exchange_strong(present, page.get(), std::memory_order_acq_rel,
                                       std::memory_order_acquire))
        return present;
    return page.release();
}
} // namespace win32
