#include <win32/locale.h>

#include <cstring>
#include <exception>

#include "../private/date_arguments.h"
#include "locale.h"

namespace win32
{
namespace
{
static_assert(sizeof(FILETIME) == sizeof(::FILETIME) &&
              offsetof(FILETIME, dwHighDateTime) == offsetof(::FILETIME, dwHighDateTime));
static_assert(sizeof(SYSTEMTIME) == sizeof(::SYSTEMTIME) &&
              offsetof(SYSTEMTIME, wDayOfWeek) == offsetof(::SYSTEMTIME, wDayOfWeek) &&
              offsetof(SYSTEMTIME, wDay) == offsetof(::SYSTEMTIME, wDay) &&
              offsetof(SYSTEMTIME, wMilliseconds) == offsetof(::SYSTEMTIME, wMilliseconds));
static_assert(kDateShortDate == DATE_SHORTDATE && kDateLongDate == DATE_LONGDATE);
static_assert(kTimeNoSeconds == TIME_NOSECONDS);

const char kEnumDateFormats[] = "EnumDateFormatsExEx";

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
