#include <win32/locale.h>

#include <cstddef>
#include <cstring>
#include <exception>
#include <iterator>

#include <platform/base/immortal.h>
#include <platform/base/locks.h>
#include <win32/text.h>

#include "../private/date_arguments.h"
#include "../private/switches.h"
#include "windows_api.h"

namespace win32
{
namespace
{
static_assert(kLocaleUserDefault == LOCALE_USER_DEFAULT);
static_assert(kLocaleDecimalMark == LOCALE_SDECIMAL);
static_assert(kLocaleThousandsMark == LOCALE_STHOUSAND);
static_assert(sizeof(FILETIME) == sizeof(::FILETIME) &&
              offsetof(FILETIME, dwHighDateTime) == offsetof(::FILETIME, dwHighDateTime));
static_assert(sizeof(SYSTEMTIME) == sizeof(::SYSTEMTIME) &&
              offsetof(SYSTEMTIME, wDayOfWeek) == offsetof(::SYSTEMTIME, wDayOfWeek) &&
              offsetof(SYSTEMTIME, wDay) == offsetof(::SYSTEMTIME, wDay) &&
              offsetof(SYSTEMTIME, wMilliseconds) == offsetof(::SYSTEMTIME, wMilliseconds));
static_assert(kDateShortDate == DATE_SHORTDATE && kDateLongDate == DATE_LONGDATE);
static_assert(kTimeNoSeconds == TIME_NOSECONDS);

const char kEnumDateFormats[] = "EnumDateFormatsExEx";

// A locale by the system's name, such as "de-DE".
struct LocaleName
{
    wchar_t mText[LOCALE_NAME_MAX_LENGTH]; // empty for the system's own locale of the user

    const wchar_t* Get() const { return *mText ? mText : LOCALE_NAME_USER_DEFAULT; }
};

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

// Returns the locale that the host has set, or the system's own.
LocaleName UserLocale()
{
    const platform::ScLock lock(TheHostLocale().mLock);
    return TheHostLocale().mName;
}

// Returns true for a buffer that can store a text, or for none with a size of 0.
bool IsBuffer(const void* buffer, int size)
{
    return size == 0 || (size > 0 && buffer);
}

const ::SYSTEMTIME* Native(const SYSTEMTIME* time)
{
    return reinterpret_cast<const ::SYSTEMTIME*>(time);
}

struct Enumeration
{
    DateFormatCallback mCallback;
    long long mParam;
    std::exception_ptr mThrown; // an exception must not cross the system's frames
};

BOOL CALLBACK PassPicture(wchar_t* picture, CALID calendar, LPARAM param)
{
    Enumeration& enumeration = *reinterpret_cast<Enumeration*>(param);
    try
    {
        return enumeration.mCallback(Units(picture), calendar, enumeration.mParam);
    }
    catch (...)
    {
        enumeration.mThrown = std::current_exception();
        return FALSE;
    }
}
} // namespace

void SetUserLocale(const char* localeId)
{
    const LocaleName name = FindLocale(localeId);
    const platform::ScLock lock(TheHostLocale().mLock);
    TheHostLocale().mName = name;
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

int FileTimeToSystemTime(const FILETIME* fileTime, SYSTEMTIME* time)
{
    return ::FileTimeToSystemTime(reinterpret_cast<const ::FILETIME*>(fileTime),
                                  reinterpret_cast<::SYSTEMTIME*>(time));
}

int GetDateFormatW(unsigned int locale, unsigned int flags, const SYSTEMTIME* time,
                   const unsigned short* picture, unsigned short* buffer, int size)
{
    if (const unsigned int error = RefuseDate(locale, flags, time, picture))
        return Fail(error);
    return ::GetDateFormatEx(UserLocale().Get(), flags, Native(time), Wide(picture), Wide(buffer),
                             size, nullptr);
}

int GetTimeFormatW(unsigned int locale, unsigned int flags, const SYSTEMTIME* time,
                   const unsigned short* picture, unsigned short* buffer, int size)
{
    if (const unsigned int error = RefuseTime(locale, flags, time, picture))
        return Fail(error);
    return ::GetTimeFormatEx(UserLocale().Get(), flags, Native(time), nullptr, Wide(buffer), size);
}

int EnumDateFormatsExEx(DateFormatCallback callback, const unsigned short* localeName,
                        unsigned int flags, long long param)
{
    if (const unsigned int error = RefuseEnumeration(callback, localeName, flags))
        return Fail(error);
    const LocaleName locale = UserLocale();
    Enumeration enumeration = {callback, param, nullptr};
    const int result = ::EnumDateFormatsExEx(&PassPicture, locale.Get(), flags,
                                             reinterpret_cast<LPARAM>(&enumeration));
    if (enumeration.mThrown)
        std::rethrow_exception(enumeration.mThrown);
    return result;
}

void* GetModuleHandleA(const char* name)
{
    return name ? ::GetModuleHandleA(name) : nullptr;
}

ModuleFunction GetProcAddress(void* module, const char* name)
{
    if (!module || !name || std::strcmp(name, kEnumDateFormats) != 0 || IsMissing(name) ||
        !::GetProcAddress(static_cast<HMODULE>(module), name))
        return nullptr;
    return reinterpret_cast<ModuleFunction>(&EnumDateFormatsExEx);
}
} // namespace win32
