#include <win32/locale.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <locale>
#include <map>
#include <new>
#include <string>

#include <boost/algorithm/string/predicate.hpp>
#include <boost/date_time/gregorian_calendar.hpp>
#include <boost/date_time/year_month_day.hpp>
#include <unicode/ucal.h>
#include <unicode/udat.h>

#include <platform/base/per_thread.h>
#include <platform/base/quiet_new.h>

#include "../private/date_arguments.h"
#include "locale.h"

namespace win32
{
namespace
{
typedef boost::date_time::year_month_day_base<int, int, int> YearMonthDay;
typedef boost::date_time::gregorian_calendar_base<YearMonthDay, int> Calendar;

const unsigned int kGregorian = 1; // the number of the calendar
const unsigned long long kTicksPerMillisecond = 10000;
const long long kMillisecondsPerDay = 86400000;
const int kFirstYear = 1601;
const int kLastYear = 30827;
const int kFirstDay = 2305814; // 1 January 1601, as a day number of the calendar
const int kFirstDayOf1970 = 2440588;
const char16_t kNarrowNoBreakSpace = 0x202F;

// Calls write(buffer, room, &error), which returns the length, until the room suffices. Returns
// an empty text if `write` fails.
template <class Write> std::u16string Grown(Write write)
{
    std::u16string text(128, u'\0');
    for (;;)
    {
        UErrorCode error = U_ZERO_ERROR;
        const int room = static_cast<int>(text.size());
        const int length = write(&text[0], room, &error);
        if (U_FAILURE(error) && error != U_BUFFER_OVERFLOW_ERROR)
            return {};
        text.resize(static_cast<std::size_t>(std::max(length, 0)));
        if (length <= room)
            return text;
    }
}

// Returns whether there is memory to open a form: ICU crashes if an allocation fails meanwhile.
// Another thread may take the memory before ICU does.
bool HasRoomToOpen()
{
    const std::size_t kRoom = 1 << 20;        // bytes, several times what a locale takes
    void* volatile room = std::malloc(kRoom); // volatile: else compilers leave the block out
    const bool isThere = room != nullptr;
    std::free(room);
    return isThere;
}

// Returns null without memory.
icu::LocalUDateFormatPointer Open(const std::string& locale, UDateFormatStyle time,
                                  UDateFormatStyle date, const std::u16string& pattern = {})
{
    if (!HasRoomToOpen())
        return icu::LocalUDateFormatPointer();
    UErrorCode error = U_ZERO_ERROR;
    return icu::LocalUDateFormatPointer(udat_open(time, date, locale.c_str(), u"UTC", -1,
                                                  pattern.data(), static_cast<int>(pattern.size()),
                                                  &error));
}

// Returns the pattern of the locale; an empty pattern if ICU has no memory or no data.
std::u16string StylePattern(const std::string& locale, UDateFormatStyle time, UDateFormatStyle date)
{
    const icu::LocalUDateFormatPointer format = Open(locale, time, date);
    if (format.isNull())
        return {};
    return Grown([&](char16_t* out, int room, UErrorCode* error) {
        return udat_toPattern(format.getAlias(), false, out, room, error);
    });
}

// Writes the year in full: the dates of this library span more than a century, so two digits
// are ambiguous.
std::u16string WithFullYear(std::u16string picture)
{
    const std::size_t year = picture.find(u"yy");
    if (year != std::u16string::npos && picture.compare(year, 4, u"yyyy") != 0)
        picture.insert(year, u"yy");
    return picture;
}

// The forms of dates and times in the user's locale. One object per thread: an ICU format may be
// used by one thread at a time, and takes a hundred times longer to open than to use.
class UserFormats
{
public:
    // Returns the forms of the calling thread; null without memory. Throws std::bad_alloc.
    static UserFormats* Current()
    {
        UserFormats* const formats = platform::PerThread<UserFormats>::Make();
        const std::string locale = UserLocaleId();
        if (formats && locale != formats->mLocale && !formats->Load(locale))
            return nullptr;
        return formats;
    }

    // Returns the text with a terminator; an empty text if ICU has no memory. Throws
    // std::bad_alloc.
    std::u16string Write(const std::u16string& pattern, UDate date)
    {
        if (mOpen.size() > kMostOpen)
            mOpen.clear();
        icu::LocalUDateFormatPointer& format = mOpen[pattern];
        if (format.isNull())
            format = Open(mLocale, UDAT_PATTERN, UDAT_PATTERN, pattern);
        if (format.isNull())
            return {};
        // udat_format would copy the calendar of the format, and without memory use a copy that
        // has no time zone.
        std::u16string text = Grown([&](char16_t* out, int room, UErrorCode* error) {
            ucal_setMillis(mCalendar.getAlias(), date, error);
            return udat_formatCalendar(format.getAlias(), mCalendar.getAlias(), out, room, nullptr,
                                       error);
        });
        // No code page has this space, and the system's own data has a plain one.
        std::replace(text.begin(), text.end(), kNarrowNoBreakSpace, u' ');
        return text + u'\0';
    }

    const std::u16string& Picture(unsigned int flags) const
    {
        return flags == kDateLongDate ? mLongPicture : mShortPicture;
    }

    const std::u16string& TimePattern(unsigned int flags) const
    {
        return flags == kTimeNoSeconds ? mTimeWithoutSeconds : mTime;
    }

private:
    static const std::size_t kMostOpen = 8;

    // Returns false, or throws std::bad_alloc, without memory. Then the next use loads again.
    bool Load(const std::string& locale)
    {
        mLocale.clear();
        mOpen.clear();
        UErrorCode error = U_ZERO_ERROR;
        mCalendar.adoptInstead(ucal_open(u"UTC", -1, locale.c_str(), UCAL_DEFAULT, &error));
        mShortPicture = WithFullYear(PictureOf(StylePattern(locale, UDAT_NONE, UDAT_SHORT)));
        mLongPicture = PictureOf(StylePattern(locale, UDAT_NONE, UDAT_FULL));
        mTime = StylePattern(locale, UDAT_MEDIUM, UDAT_NONE);
        mTimeWithoutSeconds = StylePattern(locale, UDAT_SHORT, UDAT_NONE);
        if (U_FAILURE(error) || mShortPicture.empty() || mLongPicture.empty() || mTime.empty() ||
            mTimeWithoutSeconds.empty())
            return false;
        mLocale = locale;
        return true;
    }

    std::string mLocale; // empty unless the members below are complete
    std::u16string mShortPicture;
    std::u16string mLongPicture;
    std::u16string mTime;
    std::u16string mTimeWithoutSeconds;
    icu::LocalUCalendarPointer mCalendar;
    std::map<std::u16string, icu::LocalUDateFormatPointer> mOpen; // by pattern
};

// Returns false for a time that does not exist.
bool ToDate(const SYSTEMTIME* time, UDate* date)
{
    if (time->wYear < kFirstYear || time->wYear > kLastYear || time->wMonth < 1 ||
        time->wMonth > 12 || time->wDay < 1 ||
        time->wDay > Calendar::end_of_month_day(time->wYear, time->wMonth) || time->wHour > 23 ||
        time->wMinute > 59 || time->wSecond > 59 || time->wMilliseconds > 999)
        return false;
    const YearMonthDay fields(time->wYear, time->wMonth, time->wDay);
    const long long days = Calendar::day_number(fields) - kFirstDayOf1970;
    const long long seconds = (time->wHour * 60 + time->wMinute) * 60 + time->wSecond;
    *date = static_cast<double>(days * kMillisecondsPerDay + seconds * 1000 + time->wMilliseconds);
    return true;
}

int StoreText(const std::u16string& text, unsigned short* buffer, int size)
{
    if (text.empty())
        return Fail(kErrorNotEnoughMemory);
    return StoreUnits(reinterpret_cast<const unsigned short*>(text.data()),
                      static_cast<int>(text.size()), buffer, size);
}

// Returns the result of body(formats), or fails without memory.
template <class Body> int WithFormats(Body body)
{
    try
    {
        if (UserFormats* const formats = UserFormats::Current())
            return body(*formats);
    }
    catch (const std::bad_alloc&)
    {
    }
    return Fail(kErrorNotEnoughMemory);
}

char sKernel; // its address represents the module
} // namespace

int FileTimeToSystemTime(const FILETIME* fileTime, SYSTEMTIME* time)
{
    const unsigned long long ticks =
        static_cast<unsigned long long>(fileTime->dwHighDateTime) << 32 | fileTime->dwLowDateTime;
    if (ticks >> 63)
        return Fail(kErrorInvalidParameter);
    const long long milliseconds = static_cast<long long>(ticks / kTicksPerMillisecond);
    const int ofDay = static_cast<int>(milliseconds % kMillisecondsPerDay);
    const YearMonthDay date =
        Calendar::from_day_number(kFirstDay + static_cast<int>(milliseconds / kMillisecondsPerDay));
    const auto field = [](int value) { return static_cast<unsigned short>(value); };
    *time = {field(date.year),         field(date.month),      field(Calendar::day_of_week(date)),
             field(date.day),          field(ofDay / 3600000), field(ofDay / 60000 % 60),
             field(ofDay / 1000 % 60), field(ofDay % 1000)};
    return 1;
}

int GetDateFormatW(unsigned int locale, unsigned int flags, const SYSTEMTIME* time,
                   const unsigned short* picture, unsigned short* buffer, int size)
{
    UDate date = 0;
    if (const unsigned int error = RefuseDate(locale, flags, time, picture))
        return Fail(error);
    if (!ToDate(time, &date))
        return Fail(kErrorInvalidParameter);
    return WithFormats([=](UserFormats& formats) {
        const std::u16string pattern = PatternOf(
            picture ? reinterpret_cast<const char16_t*>(picture) : formats.Picture(flags));
        return StoreText(formats.Write(pattern, date), buffer, size);
    });
}

int GetTimeFormatW(unsigned int locale, unsigned int flags, const SYSTEMTIME* time,
                   const unsigned short* picture, unsigned short* buffer, int size)
{
    UDate date = 0;
    if (const unsigned int error = RefuseTime(locale, flags, time, picture))
        return Fail(error);
    if (!ToDate(time, &date))
        return Fail(kErrorInvalidParameter);
    return WithFormats([=](UserFormats& formats) {
        return StoreText(formats.Write(formats.TimePattern(flags), date), buffer, size);
    });
}

int EnumDateFormatsExEx(DateFormatCallback callback, const unsigned short* localeName,
                        unsigned int flags, long long param)
{
    if (const unsigned int error = RefuseEnumeration(callback, localeName, flags))
        return Fail(error);
    std::u16string picture;
    const auto copyPicture = [&](const UserFormats& formats) {
        picture = formats.Picture(flags);
        return 1;
    };
    if (!WithFormats(copyPicture))
        return 0;
    // Outside the handler of std::bad_alloc: the callback's exceptions reach the caller.
    callback(reinterpret_cast<unsigned short*>(&picture[0]), kGregorian, param);
    return 1;
}

void* GetModuleHandleA(const char* name)
{
    return name && boost::iequals(name, "kernel32.dll", std::locale::classic()) ? &sKernel
                                                                                : nullptr;
}

ModuleFunction GetProcAddress(void* module, const char* name)
{
    const char kEnumDateFormats[] = "EnumDateFormatsExEx";
    if (module != &sKernel || !name || std::strcmp(name, kEnumDateFormats) != 0 || IsMissing(name))
        return nullptr;
    return reinterpret_cast<ModuleFunction>(&EnumDateFormatsExEx);
}
} // namespace win32
