#include <win32/locale.h>

#include <cstddef>
#include <cstring>
#include <iterator>

#include <platform/base/immortal.h>
#include <platform/base/locks.h>
#include <win32/text.h>

#include "../private/switches.h"
#include "locale.h"

namespace win32
{
namespace
{
static_assert(kLocaleUserDefault == LOCALE_USER_DEFAULT);
static_assert(kLocaleDecimalMark == LOCALE_SDECIMAL);
static_assert(kLocaleThousandsMark == LOCALE_STHOUSAND);

struct HostLocale
{
    platform::Mutex mLock;
    LocaleName mName PLATFORM_GUARDED_BY(mLock) = {};
};

// Static destructors may write numbers and dates.
HostLocale& TheHostLocale()
{
    static platform::Immortal<HostLocale> sHostLocale;
    return *sHostLocale;
}

// Stores the system's form of an id such as "de_DE", without the encoding and the variant of an id
// such as "de_DE.UTF-8@euro". Returns false for an id that can't be a name.
bool ToName(const char* localeId, LocaleName* name)
{
    const std::size_t length = std::strcspn(localeId, ".@");
    if (length >= std::size(name->mText))
        return false;
    for (std::size_t i = 0; i < length; ++i)
    {
        const unsigned char byte = static_cast<unsigned char>(localeId[i]);
        if (byte >= 0x80)
            return false;
        name->mText[i] = byte == '_' ? L'-' : static_cast<wchar_t>(byte);
    }
    return true;
}

// Returns the locale of an id, or the nearest locale that the system has; the system's own for
// null, and for an id without a near locale.
LocaleName FindLocale(const char* localeId)
{
    LocaleName name = {};
    LocaleName resolved = {};
    const bool isFound =
        localeId && ToName(localeId, &name) &&
        ::ResolveLocaleName(name.mText, resolved.mText, LOCALE_NAME_MAX_LENGTH) != 0;
    return isFound ? resolved : LocaleName();
}
} // namespace

void SetUserLocale(const char* localeId)
{
    const LocaleName name = FindLocale(localeId);
    const platform::ScLock lock(TheHostLocale().mLock);
    TheHostLocale().mName = name;
}

LocaleName UserLocale()
{
    const platform::ScLock lock(TheHostLocale().mLock);
    return TheHostLocale().mName;
}

int GetLocaleInfoW(unsigned int locale, unsigned int item, unsigned short* buffer, int size)
{
    if (locale != kLocaleUserDefault || !IsBuffer(buffer, size))
        return Fail(kErrorInvalidParameter);
    if (item != kLocaleDecimalMark && item != kLocaleThousandsMark)
        return Fail(kErrorInvalidFlags);
    return ::GetLocaleInfoEx(UserLocale().Get(), item, Wide(buffer), size);
}

int GetLocaleInfoA(unsigned int locale, unsigned int item, char* buffer, int size)
{
    const int kRoom = 16; // the system stores at most 4 units of a mark
    unsigned short text[kRoom];
    const int count = GetLocaleInfoW(locale, item, text, kRoom);
    if (!count)
        return 0;
    return WideCharToMultiByte(kCodePageActive, 0, text, count, buffer, size, nullptr, nullptr);
}
} // namespace win32
