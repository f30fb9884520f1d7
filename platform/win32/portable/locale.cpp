#include <win32/locale.h>

#include <atomic>
#include <cstring>

#include <unicode/uloc.h>
#include <unicode/unum.h>

#include <platform/base/immortal.h>
#include <platform/base/locks.h>
#include <platform/base/quiet_new.h>
#include <win32/text.h>

#include "../private/switches.h"
#include "locale.h"

namespace win32
{
namespace
{
const unsigned short kNoBreakSpace = 0xA0;
const unsigned short kNarrowNoBreakSpace = 0x202F;

// A mark of 0 is a mark that is not one UTF-16 unit long. The alignment lets each compiler load
// both marks as one word.
struct alignas(4) NumberMarks
{
    unsigned short mDecimal;
    unsigned short mThousands;
};

const NumberMarks kAmericanMarks = {'.', ','};

// The marks of the user's locale, kept so that a reader needs one load and no lock.
std::atomic<NumberMarks> sMarks(kAmericanMarks);

struct UserLocale
{
    platform::Mutex mLock;
    std::string mId PLATFORM_GUARDED_BY(mLock) = "en_US";
};

UserLocale& TheUserLocale()
{
    static platform::Immortal<UserLocale> sUserLocale;
    return *sUserLocale;
}

// Replaces the narrow no-break space, which ICU has for some languages: no code page has it,
// and the system's own data has the plain no-break space.
unsigned short Mark(const UNumberFormat* format, UNumberFormatSymbol symbol)
{
    const int kRoom = 8;
    UChar text[kRoom];
    UErrorCode error = U_ZERO_ERROR;
    const int length = unum_getSymbol(format, symbol, text, kRoom, &error);
    if (U_FAILURE(error) || length != 1)
        return 0;
    return text[0] == kNarrowNoBreakSpace ? kNoBreakSpace : text[0];
}

// Returns true if ICU knows the language of an id. For an unknown language ICU itself would use
// the locale of the environment.
bool IsKnownLanguage(const char* localeId)
{
    char language[ULOC_LANG_CAPACITY + 1] = {}; // the head of a name that is too long
    UErrorCode error = U_ZERO_ERROR;
    uloc_getLanguage(localeId, language, ULOC_LANG_CAPACITY, &error);
    for (int i = 0; i < unum_countAvailable(); ++i)
    {
        if (std::strcmp(language, unum_getAvailable(i)) == 0)
            return true;
    }
    return false;
}

// Stores the marks for ASCII digits, since numbers are written with no other digits. Returns false
// for an id that is too long for ICU, or without memory.
bool FindMarks(const char* localeId, NumberMarks* marks)
{
    char id[ULOC_FULLNAME_CAPACITY];
    UErrorCode error = U_ZERO_ERROR;
    uloc_canonicalize(localeId, id, ULOC_FULLNAME_CAPACITY, &error); // "@euro" is no keyword
    uloc_setKeywordValue("numbers", "latn", id, ULOC_FULLNAME_CAPACITY, &error);
    const icu::LocalUNumberFormatPointer format(
        unum_open(UNUM_DECIMAL, nullptr, 0, id, nullptr, &error));
    if (U_FAILURE(error))
        return false;
    *marks = {Mark(format.getAlias(), UNUM_DECIMAL_SEPARATOR_SYMBOL),
              Mark(format.getAlias(), UNUM_GROUPING_SEPARATOR_SYMBOL)};
    return true;
}

// The text of an item: one unit or none.
struct ItemText
{
    unsigned short mUnits[2]; // with the terminator

    int Size() const { return mUnits[0] ? 2 : 1; }
};

// Stores the text of an item. Returns 0 or an error code.
unsigned int FindItem(unsigned int locale, unsigned int item, ItemText* text)
{
    if (locale != kLocaleUserDefault)
        return kErrorInvalidParameter;
    const NumberMarks marks = sMarks.load(std::memory_order_relaxed);
    if (item != kLocaleDecimalMark && item != kLocaleThousandsMark)
        return kErrorInvalidFlags;
    *text = {{item == kLocaleDecimalMark ? marks.mDecimal : marks.mThousands, 0}};
    return 0;
}
} // namespace

void SetUserLocale(const char* localeId)
{
    NumberMarks marks = kAmericanMarks;
    const bool isKnown = localeId && IsKnownLanguage(localeId) && FindMarks(localeId, &marks);
    const char* const id = isKnown ? localeId : "en_US";
    sMarks.store(marks, std::memory_order_relaxed);
    const platform::ScLock lock(TheUserLocale().mLock);
    TheUserLocale().mId = id;
}

std::string UserLocaleId()
{
    const platform::ScLock lock(TheUserLocale().mLock);
    return TheUserLocale().mId;
}

int GetLocaleInfoW(unsigned int locale, unsigned int item, unsigned short* buffer, int size)
{
    ItemText text;
    if (const unsigned int error = FindItem(locale, item, &text))
        return Fail(error);
    return StoreUnits(text.mUnits, text.Size(), buffer, size);
}

int GetLocaleInfoA(unsigned int locale, unsigned int item, char* buffer, int size)
{
    ItemText text;
    if (const unsigned int error = FindItem(locale, item, &text))
        return Fail(error);
    return WideCharToMultiByte(kCodePageActive, 0, text.mUnits, text.Size(), buffer, size, nullptr,
                               nullptr);
}
} // namespace win32
